#include "QxControl.h"

#include <dlog.h>
#include <unistd.h>

#include <algorithm>
#include <exception>
#include <utility>

#include "QxDumpWriter.h"
#include "QxLeftovers.h"
#include "QxLossMath.h"
#include "QxProcessInfo.h"
#include "QxRuntimeDir.h"

namespace qxhost {

using qx::host::Loss;

namespace {

constexpr std::size_t kShortNameSize = 15;  // what the system keeps of a command name
constexpr std::size_t kMaxReported = 1000;

// How well a recorded name fits the one asked for; 0 when it does not.
std::size_t Fit(const std::string& recorded, const std::string& asked) {
    if (recorded.empty() || asked.compare(0, recorded.size(), recorded) != 0) return 0;
    const bool isWhole = recorded.size() == std::min(asked.size(), kShortNameSize) || recorded == asked;
    return isWhole ? asked.size() + 1 : recorded.size();
}

}  // namespace

QxControl::QxControl(std::string directory) : m_directory(std::move(directory)) {}

bool QxControl::getQxBufferDump(std::vector<char>& path, const std::string& process, bool first) {
    path.clear();
    const std::lock_guard<std::mutex> lock(m_mutex);
    try {
        return Dump(path, process, first);
    } catch (const std::exception& error) {
        ReportOnce("no dump of " + process + ": " + error.what());
    }
    return false;
}

bool QxControl::Dump(std::vector<char>& path, const std::string& process, bool first) {
    std::string error;
    const QxFd directory = QxRuntimeDir::Open(m_directory, false, error);
    if (!error.empty()) ReportOnce(error);
    if (!directory) return false;
    if (!std::exchange(m_hasCleaned, true)) QxLeftovers::RemoveDumps(directory.Get());
    if (first) m_programs.erase(process);
    Program& program = m_programs[process];
    FindRecordings(directory.Get(), process, first, program);
    const Loss before = program.Total();
    QxDumpBuilder builder;
    ReadRecordings(program, builder);
    const bool isWanted = builder.HasCalls() || (first && program.HasReaders());
    bool isWritten = false;
    if (isWanted) {
        QxDumpWriter writer(directory.Get(), process);
        isWritten = writer.Write(builder.Finish(Describe(program)));
        if (isWritten) {
            const std::string file = m_directory + "/" + writer.FileName();
            path.assign(file.begin(), file.end());
        } else {
            ReportOnce("dump " + writer.FileName() + " in " + m_directory + " cannot be written: " + writer.Error());
        }
    }
    for (const auto& [name, reader] : program.readers) {
        if (reader == nullptr) continue;
        if (isWritten || !isWanted)
            reader->Commit();
        else
            reader->Rollback();
    }
    const std::uint64_t held = program.Total().held;
    program.lastDump = Difference(program.Total(), before);
    program.lastDump.held = held;
    DropDrained(directory.Get(), program);
    return isWritten;
}

void QxControl::FindRecordings(int directoryFd, const std::string& process, bool first, Program& program) {
    std::size_t best = 1;
    std::vector<std::pair<std::size_t, std::string>> found;
    for (const std::string& fileName : QxLeftovers::List(directoryFd)) {
        QxFileName name;
        if (!QxFileName::Parse(fileName, name) || name.suffix != QxFileName::kRecording) continue;
        found.emplace_back(Fit(name.name, process), fileName);
        best = std::max(best, found.back().first);
    }
    for (const auto& [fit, fileName] : found) {
        if (fit == best && program.readers.count(fileName) == 0) {
            OpenRecording(directoryFd, fileName, first, program);
        }
    }
}

void QxControl::OpenRecording(int directoryFd, const std::string& fileName, bool first, Program& program) {
    std::unique_ptr<QxRecordingReader>& reader = program.readers[fileName];
    try {
        QxFileName name;
        QxFileName::Parse(fileName, name);
        reader = std::make_unique<QxRecordingReader>(QxRecordingFile(directoryFd, fileName, name), m_tids, first);
    } catch (const QxDamage& damage) {
        GiveUp(fileName, damage.what());
    }
}

void QxControl::ReadRecordings(Program& program, QxDumpBuilder& builder) {
    for (auto& [fileName, reader] : program.readers) {
        if (reader == nullptr) continue;
        try {
            reader->Read(program.catalog, builder, m_openCallLimitNs);
        } catch (const QxDamage& damage) {
            GiveUp(fileName, damage.what());
            program.ended = Sum(program.ended, reader->GetLoss());
            reader.reset();
        }
    }
}

void QxControl::GiveUp(const std::string& fileName, const std::string& reason) {
    ReportOnce("recording " + fileName + " in " + m_directory + " is given up: " + reason);
}

// Compressing takes longer than all the rest, and the items seldom change.
const std::string& QxControl::Describe(Program& program) const {
    std::string items;
    for (const auto& [fileName, reader] : program.readers) {
        if (reader != nullptr) items += reader->HeaderItem();
    }
    items += program.catalog.Items();
    if (items != program.describedItems || program.description.empty()) {
        program.description = QxDumpBuilder::Describe(items);
        program.describedItems = std::move(items);
    }
    return program.description;
}

// The recording of a process that has ended is needed until all of it was written into a dump; one that was given up
// until its process has ended.
void QxControl::DropDrained(int directoryFd, Program& program) {
    for (auto place = program.readers.begin(); place != program.readers.end();) {
        const std::unique_ptr<QxRecordingReader>& reader = place->second;
        QxFileName name;
        QxFileName::Parse(place->first, name);
        const bool isDone = reader != nullptr ? reader->IsDrained() : !QxProcessInfo::IsAlive(name.pid, name.startTime);
        if (!isDone) {
            ++place;
            continue;
        }
        if (reader != nullptr) program.ended = Sum(program.ended, reader->GetLoss());
        ::unlinkat(directoryFd, place->first.c_str(), 0);
        place = program.readers.erase(place);
    }
}

void QxControl::ReportOnce(const std::string& message) {
    if (m_reported.size() >= kMaxReported) m_reported.clear();
    if (!m_reported.insert(message).second) return;
    __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QXCTL", "%s", message.c_str());
}

Loss QxControl::Program::Total() const {
    Loss total = ended;
    for (const auto& [fileName, reader] : readers) {
        if (reader != nullptr) total = Sum(total, reader->GetLoss());
    }
    return total;
}

bool QxControl::Program::HasReaders() const {
    return std::any_of(readers.begin(), readers.end(), [](const auto& entry) { return entry.second != nullptr; });
}

bool QxControl::GetLoss(const std::string& process, Loss* total, Loss* lastDump) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto program = m_programs.find(process);
    if (program == m_programs.end()) return false;
    if (total != nullptr) *total = program->second.Total();
    if (lastDump != nullptr) *lastDump = program->second.lastDump;
    return true;
}

std::vector<qx::host::ThreadLoss> QxControl::GetThreadLoss(const std::string& process) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<qx::host::ThreadLoss> all;
    const auto program = m_programs.find(process);
    if (program == m_programs.end()) return all;
    for (const auto& [fileName, reader] : program->second.readers) {
        if (reader == nullptr) continue;
        const std::vector<qx::host::ThreadLoss> threads = reader->GetThreadLoss();
        all.insert(all.end(), threads.begin(), threads.end());
    }
    return all;
}

void QxControl::SetOpenCallLimit(unsigned milliseconds) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_openCallLimitNs = std::uint64_t{milliseconds} * 1000000u;
}

}  // namespace qxhost
