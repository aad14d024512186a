#include "CaptureFolder.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>

#include "CaptureLayout.h"
#include "Failure.h"
#include "Messages.h"

namespace qxlt {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kLongestName = 200;  // file systems take 255 bytes
constexpr std::size_t kLeastDigits = 6;

// The number behind the name of a capture.
std::optional<std::uint64_t> NumberOf(const std::string& name) {
    const std::size_t dash = name.rfind('-');
    if (dash == std::string::npos || dash == 0 || name.size() - dash - 1 < kLeastDigits) return std::nullopt;
    std::uint64_t number = 0;
    const char* const end = name.data() + name.size();
    const auto [rest, error] = std::from_chars(name.data() + dash + 1, end, number);
    return error == std::errc() && rest == end && number < UINT64_MAX ? std::make_optional(number) : std::nullopt;
}

std::uint64_t SizeOf(const fs::path& directory) {
    std::uint64_t size = 0;
    std::error_code error;
    for (fs::recursive_directory_iterator entry(directory, error), end; !error && entry != end;
         entry.increment(error)) {
        std::error_code ignored;
        const std::uintmax_t bytes = entry->is_regular_file(ignored) ? entry->file_size(ignored) : 0;
        if (bytes != static_cast<std::uintmax_t>(-1)) size += bytes;
    }
    return size;
}

// A directory of its own, not one that a link leads to.
bool HoldsCapture(const fs::directory_entry& entry) {
    std::error_code ignored;
    return entry.symlink_status(ignored).type() == fs::file_type::directory &&
           fs::exists(entry.path() / kCaptureFile, ignored);
}

}  // namespace

CaptureFolder::CaptureFolder(std::string path, const Bounds& bounds) : m_path(std::move(path)), m_bounds(bounds) {
    std::error_code error;
    fs::create_directories(m_path, error);
    if (!error) Look();
    if (error) throw Failure(kCannotStart, m_path + ": " + error.message() + "; name a directory that can be written");
}

void CaptureFolder::Look() {
    std::error_code error;
    for (fs::directory_iterator entry(m_path, error), end; !error && entry != end; entry.increment(error)) {
        const std::optional<std::uint64_t> number = NumberOf(entry->path().filename());
        if (!number) continue;
        m_next = std::max(m_next, *number + 1);  // also of what a run that was killed has left behind
        if (!HoldsCapture(*entry)) continue;
        m_captures.push_back({*number, entry->path(), SizeOf(entry->path()), false});
        m_bytes += m_captures.back().bytes;
    }
    if (error) throw Failure(kCannotStart, m_path + ": " + error.message() + "; name a directory that can be read");
    std::sort(m_captures.begin(), m_captures.end(),
              [](const Kept& left, const Kept& right) { return left.number < right.number; });
}

std::string CaptureFolder::Make(const std::string& event) {
    const std::string name = m_path + "/" + FileNameOf(event).substr(0, kLongestName) + "-";
    std::string path = name + CycleName(m_next);
    while (mkdir(path.c_str(), 0777) != 0) {
        if (errno != EEXIST) return std::string();
        path = name + CycleName(++m_next);  // another run keeps its captures here, too
    }
    m_captures.push_back({m_next++, path, 0, true});
    return path;
}

bool CaptureFolder::MakeRoomForOne() {
    while (m_captures.size() >= m_bounds.captures) {
        if (!DropOldest()) return false;
    }
    return true;
}

bool CaptureFolder::MakeRoomFor(std::uint64_t bytes) {
    while (bytes > m_bounds.bytes || m_bytes > m_bounds.bytes - bytes) {
        if (bytes > m_bounds.bytes || !DropOldest()) return false;
    }
    return true;
}

// One that cannot be removed is forgotten: it would be tried again without end.
bool CaptureFolder::DropOldest() {
    const auto oldest =
        std::find_if(m_captures.begin(), m_captures.end(), [](const Kept& capture) { return !capture.isOpen; });
    if (oldest == m_captures.end()) return false;
    Remove(std::string(oldest->path));
    return true;
}

void CaptureFolder::Remove(const std::string& path) {
    Kept* const capture = Find(path);
    if (capture == nullptr) return;
    m_bytes -= capture->bytes;
    m_captures.erase(m_captures.begin() + (capture - m_captures.data()));
    std::error_code error;
    fs::remove_all(path, error);
    if (error) PrintWarning(path + ": " + error.message() + "; it stays, and is not counted any more");
}

CaptureFolder::Kept* CaptureFolder::Find(const std::string& path) {
    const auto found = std::find_if(m_captures.begin(), m_captures.end(),
                                    [&path](const Kept& capture) { return capture.path == path; });
    return found == m_captures.end() ? nullptr : &*found;
}

void CaptureFolder::Grow(const std::string& path, std::uint64_t bytes) {
    Kept* const capture = Find(path);
    if (capture == nullptr) return;
    capture->bytes += bytes;
    m_bytes += bytes;
}

void CaptureFolder::Close(const std::string& path) {
    Kept* const capture = Find(path);
    if (capture != nullptr) capture->isOpen = false;
}

}  // namespace qxlt
