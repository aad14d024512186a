#include "CaptureReader.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <system_error>
#include <utility>

#include "CaptureLayout.h"
#include "Common.h"
#include "Json.h"

namespace qxlt {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMaxJsonSize = 16 << 20;  // in memory it takes many times that; a capture's files are short

[[noreturn]] void NoCapture(const std::string& path, const std::string& why) {
    throw Failure(kCannotStart, path + ": " + why + "; name a directory that run --keep wrote");
}

// A pipe would be waited for, a device read without end.
void RequireNoDevice(const std::string& path) {
    std::error_code ignored;
    if (fs::is_other(fs::status(path, ignored))) NoCapture(path, "is no regular file");
}

ProcessNames ReadProcesses(const std::string& path) {
    RequireNoDevice(path);
    const JsonObject description = ParseJson(path, ReadFile(path, kMaxJsonSize));
    try {
        if (description.at("version") != kCaptureVersion) NoCapture(path, "a version of captures that is not known");
        ProcessNames processes;
        for (const auto& [name, pid] : description.at("processes").get_ref<const JsonObject::object_t&>()) {
            // A number of another kind need not fit the type that it is asked for.
            const std::uint64_t number = pid.is_number_unsigned() ? pid.get<std::uint64_t>() : UINT64_MAX;
            if (number > UINT16_MAX) NoCapture(path, name + ": no process id of 16 bits");
            processes.Add(name, static_cast<unsigned short>(number));
        }
        return processes;
    } catch (const JsonObject::exception&) {
        NoCapture(path, "holds no \"version\", or no \"processes\" with their ids");
    }
}

// The number of a cycle's folder; 0 for other names.
std::uint64_t NumberOf(const std::string& name) {
    constexpr std::size_t kMostDigits = 18;
    if (name.empty() || name.size() > kMostDigits) return 0;
    if (name.find_first_not_of("0123456789") != std::string::npos) return 0;
    const std::uint64_t number = std::stoull(name);
    return CycleName(number) == name ? number : 0;
}

// Nothing when the text holds no counts.
std::optional<LossCounts> ParseLoss(const std::string& path, const std::string& text) {
    try {
        return ReadLoss(ParseJson(path, text));
    } catch (const Failure&) {
        return std::nullopt;
    }
}

fs::directory_iterator Open(const std::string& directory) {
    std::error_code error;
    fs::directory_iterator entries(directory, error);
    if (error) NoCapture(directory, error.message());
    return entries;
}

// The numbers of all cycles, in order.
std::vector<std::uint64_t> FindCycles(const std::string& directory) {
    std::vector<std::uint64_t> numbers;
    std::error_code ignored;
    for (const fs::directory_entry& entry : Open(directory)) {
        const std::uint64_t number = NumberOf(entry.path().filename().string());
        if (number != 0 && entry.is_directory(ignored)) numbers.push_back(number);
    }
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}

}  // namespace

CaptureReader::CaptureReader(std::string directory)
    : m_directory(std::move(directory)),
      m_processes(ReadProcesses(m_directory + "/" + kCaptureFile)),
      m_cycles(FindCycles(m_directory)) {}

std::string CaptureReader::CyclePath(std::uint64_t number) const {
    return m_directory + "/" + CycleName(number);
}

bool CaptureReader::Next() {
    const auto next = std::upper_bound(m_cycles.begin(), m_cycles.end(), m_cycle);
    if (next == m_cycles.end()) return false;
    m_cycle = *next;
    return true;
}

// The path of that file in this cycle; empty when it is not there.
std::string CaptureReader::FileOf(const std::string& name) const {
    std::string path = CyclePath(m_cycle) + "/" + name;
    std::error_code ignored;
    if (!fs::exists(fs::symlink_status(path, ignored))) return {};
    RequireNoDevice(path);
    return path;
}

std::string CaptureReader::DumpOf(const std::string& process) const {
    return FileOf(DumpName(process));
}

std::optional<LossCounts> CaptureReader::LossOf(const std::string& process, const FaultSink& sink) const {
    const std::string path = FileOf(LossName(process));
    if (path.empty()) return std::nullopt;
    std::optional<LossCounts> counts = ParseLoss(path, ReadFile(path, kMaxJsonSize));
    if (!counts) {
        JsonObject record = JsonObject::object();
        AddText(record, "uncounted", process);
        sink({path + ": no counts of recorded calls; they are left out", record});
    }
    return counts;
}

void CaptureReader::TellStrangers(const FaultSink& sink) const {
    std::set<std::string> known;
    for (const auto& process : m_processes.Pids()) {
        known.insert(DumpName(process.first));
        known.insert(LossName(process.first));
    }
    for (const fs::directory_entry& entry : Open(CyclePath(m_cycle))) {
        const std::string name = entry.path().filename().string();
        if (known.count(name) != 0) continue;
        JsonObject record = JsonObject::object();
        AddText(record, "stranger", name);
        sink({entry.path().string() + ": belongs to no process of " + kCaptureFile + "; it is not replayed", record});
    }
}

}  // namespace qxlt
