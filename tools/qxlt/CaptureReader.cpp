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

[[noreturn]] void NoCapture(const std::string& path, const std::string& why) {
    throw Failure(kCannotStart, path + ": " + why + "; name a directory that run --keep wrote");
}

// A pipe would be waited for, a device read without end.
void RequireNoDevice(const std::string& path) {
    std::error_code ignored;
    if (fs::is_other(fs::status(path, ignored))) NoCapture(path, "is no regular file");
}

JsonObject ReadDescription(const std::string& path) {
    RequireNoDevice(path);
    try {
        return JsonObject::parse(ReadFile(path));
    } catch (const JsonObject::parse_error& error) {
        NoCapture(Place(path, error.byte), "not JSON");
    } catch (const JsonObject::out_of_range&) {
        NoCapture(path, "holds a number out of range");
    }
}

ProcessNames ReadProcesses(const std::string& path) {
    const JsonObject description = ReadDescription(path);
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

fs::directory_iterator Open(const std::string& directory) {
    std::error_code error;
    fs::directory_iterator entries(directory, error);
    if (error) NoCapture(directory, error.message());
    return entries;
}

}  // namespace

CaptureReader::CaptureReader(std::string directory)
    : m_directory(std::move(directory)), m_processes(ReadProcesses(m_directory + "/" + kCaptureFile)) {}

std::string CaptureReader::CyclePath(std::uint64_t number) const {
    return m_directory + "/" + CycleName(number);
}

// The names are not kept: a capture may hold any number of cycles.
bool CaptureReader::Next() {
    std::error_code ignored;
    const std::uint64_t next = m_cycle + 1;
    const std::uint64_t found = fs::is_directory(CyclePath(next), ignored) ? next : FindAfter(next);
    if (found == 0) return false;
    m_cycle = found;
    return true;
}

// The smallest number of a cycle past that one; 0 when there is none.
std::uint64_t CaptureReader::FindAfter(std::uint64_t number) const {
    std::uint64_t smallest = 0;
    for (const fs::directory_entry& entry : Open(m_directory)) {
        const std::uint64_t candidate = NumberOf(entry.path().filename().string());
        if (candidate > number && (smallest == 0 || candidate < smallest) && entry.is_directory()) smallest = candidate;
    }
    return smallest;
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
    std::optional<LossCounts> counts = ReadLoss(JsonObject::parse(ReadFile(path), nullptr, false));
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
