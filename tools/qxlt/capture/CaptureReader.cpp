#include "CaptureReader.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <system_error>
#include <utility>

#include "CaptureLayout.h"
#include "Failure.h"
#include "Json.h"
#include "JsonLine.h"
#include "QxData.h"
#include "ReadFile.h"

namespace qxlt {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMaxJsonSize = 16 << 20;  // in memory it takes many times that; a capture's files are short
constexpr std::uint64_t kMaxTime = UINT64_MAX / QxData::kKeysPerTime;  // keys of calls have room for no more

[[noreturn]] void NoCapture(const std::string& path, const std::string& why) {
    throw Failure(kCannotStart, path + ": " + why + "; name a directory that run --keep wrote");
}

// A pipe would be waited for, a device read without end.
void RequireNoDevice(const std::string& path) {
    std::error_code ignored;
    if (fs::is_other(fs::status(path, ignored))) NoCapture(path, "is no regular file");
}

// The id of each process.
ProcessNames ReadProcesses(const std::string& path, const JsonObject& description) {
    ProcessNames processes;
    for (const auto& [name, pid] : description.at("processes").get_ref<const JsonObject::object_t&>()) {
        // A number of another kind need not fit the type that it is asked for.
        const std::uint64_t number = pid.is_number_unsigned() ? pid.get<std::uint64_t>() : UINT64_MAX;
        if (number > UINT16_MAX) NoCapture(path, name + ": no process id of 16 bits");
        processes.Add(name, static_cast<unsigned short>(number));
    }
    return processes;
}

std::optional<std::uint64_t> ReadTime(const std::string& path, const JsonObject& description, const char* key) {
    if (!description.contains(key)) return std::nullopt;
    const JsonObject& number = description[key];
    const std::uint64_t time = number.is_number_unsigned() ? number.get<std::uint64_t>() : UINT64_MAX;
    if (time >= kMaxTime) NoCapture(path, "\"" + std::string(key) + "\" is no time in nanoseconds");
    return time;
}

ClockOffset ReadClock(const std::string& path, const JsonObject& description) {
    constexpr char key[] = "clock_offset";
    if (!description.contains(key)) return std::nullopt;
    const JsonObject& number = description[key];
    const bool fits =
        number.is_number_integer() && (!number.is_number_unsigned() || number.get<std::uint64_t>() <= INT64_MAX);
    if (!fits) NoCapture(path, "\"" + std::string(key) + "\" is no number of nanoseconds");
    return number.get<std::int64_t>();
}

// Where only from when on calls are evaluated was written down, that was the start.
RunStart ReadStart(const std::string& path, const JsonObject& description) {
    RunStart start;
    start.since = ReadTime(path, description, "since");
    start.time = ReadTime(path, description, "start");
    if (!start.time) start.time = start.since;
    start.clock = ReadClock(path, description);
    return start;
}

std::vector<LateProcess> ReadLate(const std::string& path, const JsonObject& description,
                                  const ProcessNames& processes) {
    std::vector<LateProcess> late;
    if (!description.contains("late")) return late;
    for (const JsonObject& row : description["late"].get_ref<const JsonObject::array_t&>()) {
        LateProcess process;
        process.cycle = ReadTime(path, row, "cycle").value_or(0);
        process.name = row.at("process").get<std::string>();
        process.since = ReadTime(path, row, "since");
        const auto known = processes.Pids().find(process.name);
        if (known == processes.Pids().end()) NoCapture(path, "\"late\" has a process that is none of its own");
        process.pid = known->second;
        late.push_back(std::move(process));
    }
    return late;
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

// Tells of what lies in the directory under a name that is not known. That is somebody's own, and harmless.
void TellUnknown(const std::string& directory, const std::set<std::string>& known, const std::string& what,
                 const FaultSink& sink) {
    std::set<std::string> unknown;  // in the order of their names
    for (const fs::directory_entry& entry : Open(directory)) {
        const std::string name = entry.path().filename().string();
        if (known.count(name) == 0) unknown.insert(name);
    }
    for (const std::string& name : unknown) {
        JsonLine record;
        record.AddText("stranger", name);
        std::string text = directory;
        text.append("/").append(name).append(": ").append(what).append("; it is not replayed");
        sink({std::move(text), std::move(record).Finish(), true});
    }
}

}  // namespace

CaptureReader::CaptureReader(std::string directory)
    : m_directory(std::move(directory)),
      m_description(ReadDescription(m_directory + "/" + kCaptureFile)),
      m_cycles(FindCycles(m_directory)) {}

CaptureReader::Description CaptureReader::ReadDescription(const std::string& path) {
    RequireNoDevice(path);
    const JsonObject description = ParseJson(path, ReadFile(path, kMaxJsonSize));
    try {
        if (description.at("version") != kCaptureVersion) NoCapture(path, "a version of captures that is not known");
        const ProcessNames processes = ReadProcesses(path, description);
        return {processes, ReadStart(path, description), ReadLate(path, description, processes)};
    } catch (const JsonObject::exception&) {
        NoCapture(path, "holds no \"version\", or no \"processes\" with their ids");
    }
}

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

// What was kept in a file of that name in this cycle, if there is one.
template <typename Value>
std::optional<Value> CaptureReader::ReadBeside(const std::string& name, std::optional<Value> (*read)(const JsonObject&),
                                               const Fault& unreadable, const FaultSink& sink) const {
    try {
        const std::string path = FileOf(name);
        if (path.empty()) return std::nullopt;
        std::optional<Value> value = read(ParseJson(path, ReadFile(path, kMaxJsonSize)));
        if (value) return value;
    } catch (const Failure&) {
        // Told of below, as what is no JSON at all.
    }
    sink({CyclePath(m_cycle) + "/" + name + ": " + unreadable.text, unreadable.record});
    return std::nullopt;
}

std::optional<LossCounts> CaptureReader::LossOf(const std::string& process, const FaultSink& sink) const {
    JsonLine record;
    record.AddText("uncounted", process);
    return ReadBeside(LossName(process), ReadLoss,
                      {"no counts of recorded calls; they are left out", std::move(record).Finish()}, sink);
}

std::vector<ProcessChange> CaptureReader::ChangesOf(const std::string& process, const FaultSink& sink) const {
    JsonLine record;
    record.AddText("untold", process);
    return ReadBeside(ChangesName(process), ReadChanges,
                      {"not what became of the process; it is left out", std::move(record).Finish()}, sink)
        .value_or(std::vector<ProcessChange>());
}

void CaptureReader::TellUnknownFolders(const FaultSink& sink) const {
    std::set<std::string> known = {kCaptureFile};
    for (const std::uint64_t number : m_cycles) known.insert(CycleName(number));
    TellUnknown(m_directory, known, "belongs to no cycle", sink);
}

void CaptureReader::TellUnknownFiles(const FaultSink& sink) const {
    std::set<std::string> known;
    for (const auto& process : Processes().Pids()) {
        for (const auto& nameOf : {DumpName, LossName, ChangesName}) known.insert(nameOf(process.first));
    }
    TellUnknown(CyclePath(m_cycle), known, std::string("belongs to no process of ") + kCaptureFile, sink);
}

}  // namespace qxlt
