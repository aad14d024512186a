#include "TraceRepair.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>
#include <vector>

#include "Failure.h"

namespace qxlt {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMostPackets = 16;  // that are tried without, from the end of a stream on
constexpr std::uintmax_t kMostCopied = std::uintmax_t{1} << 30;

// What packets begin with, in both orders of bytes.
constexpr std::string_view kMagics[] = {"\xC1\x1F\xFC\xC1", "\xC1\xFC\x1F\xC1"};
constexpr std::size_t kMagicSize = 4;

bool IsMagic(std::string_view bytes) {
    return bytes == kMagics[0] || bytes == kMagics[1];
}

std::string MakeFolder() {
    std::error_code error;
    std::string path = (fs::temp_directory_path(error) / "qxlt-import-XXXXXX").string();
    if (!error && mkdtemp(path.data()) != nullptr) return path;
    throw Failure(kCannotStart,
                  path + ": " + std::strerror(errno) + "; name a directory for temporary files in TMPDIR");
}

// Where the last packets of a stream may begin, the last one first.
std::vector<std::uintmax_t> LastPackets(const std::string& file) {
    std::vector<std::uintmax_t> places;
    std::ifstream stream(file, std::ios::binary);
    std::string part(1 << 20, '\0');
    std::uintmax_t begin = 0;
    std::string kept;  // of the part before: the magic may lie across the two
    while (stream.read(part.data(), static_cast<std::streamsize>(part.size())) || stream.gcount() > 0) {
        const std::string bytes = kept + part.substr(0, static_cast<std::size_t>(stream.gcount()));
        for (std::size_t i = 0; i + kMagicSize <= bytes.size(); ++i) {
            if (!IsMagic(std::string_view(bytes).substr(i, kMagicSize))) continue;
            places.push_back(begin + i);
            if (places.size() > kMostPackets) places.erase(places.begin());
        }
        const std::size_t keep = std::min(bytes.size(), kMagicSize - 1);
        begin += bytes.size() - keep;
        kept = bytes.substr(bytes.size() - keep);
    }
    std::reverse(places.begin(), places.end());
    return places;
}

}  // namespace

TraceRepair::TraceRepair(const std::string& trace, const Reads& reads)
    : m_trace(fs::absolute(trace).string()), m_directory(MakeFolder()) {
    std::error_code error;
    fs::create_directory(Path(), error);
    fs::create_symlink(m_trace + "/metadata", Path() + "/metadata", error);
    for (fs::directory_iterator place(m_trace, error); !error && place != fs::end(place); place.increment(error)) {
        const std::string name = place->path().filename().string();
        std::error_code ignored;
        if (name != "metadata" && name.front() != '.' && place->is_regular_file(ignored)) TakeStream(name, reads);
    }
}

TraceRepair::~TraceRepair() {
    std::error_code ignored;
    fs::remove_all(m_directory, ignored);
}

// A folder with the trace's description and nothing else.
std::string TraceRepair::TrialWith(const std::string& name) const {
    const std::string trial = m_directory + "/trial";
    std::error_code error;
    fs::remove_all(trial, error);
    fs::create_directory(trial, error);
    fs::create_symlink(m_trace + "/metadata", trial + "/metadata", error);
    return trial + "/" + name;
}

void TraceRepair::TakeStream(const std::string& name, const Reads& reads) {
    const std::string file = m_trace + "/" + name;
    const std::string trial = TrialWith(name);
    std::error_code error;
    fs::create_symlink(file, trial, error);
    if (!error && reads(fs::path(trial).parent_path().string())) {
        fs::create_symlink(file, Path() + "/" + name, error);
        m_hasStreams = true;
        return;
    }
    if (TakeWholePackets(file, name, reads)) m_hasStreams = true;
}

// Without the last packet, or the last few: what lies behind damage cannot be told apart.
bool TraceRepair::TakeWholePackets(const std::string& file, const std::string& name, const Reads& reads) {
    std::error_code error;
    if (fs::file_size(file, error) > kMostCopied || error) return false;
    const std::string trial = TrialWith(name);
    fs::copy_file(file, trial, error);
    for (const std::uintmax_t end : LastPackets(file)) {
        if (error || end == 0) return false;
        fs::resize_file(trial, end, error);
        if (error || !reads(fs::path(trial).parent_path().string())) continue;
        fs::rename(trial, Path() + "/" + name, error);
        return !error;
    }
    return false;
}

}  // namespace qxlt
