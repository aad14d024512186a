#include "QxControl.h"

#include <dlog.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <exception>
#include <iterator>
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

QxFileName NameOf(const std::string& fileName) {
    QxFileName name;
    QxFileName::Parse(fileName, name);
    return name;
}

// Where the recorder keeps the recording that had this name, of a program that ran another one in its place.
std::string ReplacedName(const std::string& fileName) {
    QxFileName name = NameOf(fileName);
    name.startTime = QxFileName::kReplaced;
    return name.ToString();
}

// Which file has that name; false when none has.
bool FindId(int directoryFd, const std::string& fileName, QxRecordingFile::Id& id) {
    struct stat status {};
    if (::fstatat(directoryFd, fileName.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) return false;
    id = QxRecordingFile::IdOf(status);
    return true;
}

// Unless the name is another file's by now.
void RemoveFile(int directoryFd, const std::string& fileName, QxRecordingFile::Id id) {
    QxRecordingFile::Id found;
    if (FindId(directoryFd, fileName, found) && found == id) ::unlinkat(directoryFd, fileName.c_str(), 0);
}

}  // namespace

QxControl::QxControl(std::string directory) : m_directory(std::move(directory)) {}

bool QxControl::getQxBufferDump(std::vector<char>& path, const std::string& process, bool first) {
    path.clear();
    const std::lock_guard<std::mutex> lock(m_mutex);
    // Whatever keeps this dump from being made: the counts of the one before are not its own.
    const auto known = m_programs.find(process);
    if (known != m_programs.end()) {
        known->second.lastDump = {};
        known->second.lastDump.held = known->second.Total().held;
    }
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
    std::vector<std::string> fileNames;
    if (!QxLeftovers::List(directory.Get(), fileNames)) {
        ReportOnce("directory " + m_directory + " cannot be listed: " + std::strerror(errno));
        return false;
    }
    if (!std::exchange(m_hasCleaned, true)) QxLeftovers::RemoveDumps(directory.Get());
    if (first) m_programs.erase(process);
    Program& program = m_programs[process];
    FindRecordings(directory.Get(), fileNames, process, first, program);
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
    for (const auto& [id, recording] : program.recordings) {
        if (recording.reader == nullptr) continue;
        if (isWritten || !isWanted)
            recording.reader->Commit();
        else
            recording.reader->Rollback();
    }
    const std::uint64_t held = program.Total().held;
    program.lastDump = Difference(program.Total(), before);
    program.lastDump.held = held;
    DropDrained(directory.Get(), program);
    return isWritten;
}

void QxControl::FindRecordings(int directoryFd, const std::vector<std::string>& fileNames, const std::string& process,
                               bool first, Program& program) {
    std::size_t best = 1;
    std::vector<std::pair<std::size_t, std::string>> found;
    for (const std::string& fileName : fileNames) {
        QxFileName name;
        if (!QxFileName::Parse(fileName, name) || name.suffix != QxFileName::kRecording) continue;
        found.emplace_back(Fit(name.name, process), fileName);
        best = std::max(best, found.back().first);
    }
    for (const auto& [fit, fileName] : found) {
        if (fit == best) TakeUp(directoryFd, fileName, first, program);
    }
}

// What is known already stays. A known recording whose name this one took over lies where the recorder puts what it
// replaces.
void QxControl::TakeUp(int directoryFd, const std::string& fileName, bool first, Program& program) {
    QxRecordingFile::Id id;
    if (!FindId(directoryFd, fileName, id)) return;
    const auto known = program.recordings.find(id);
    const bool isKnown = known != program.recordings.end() &&
                         // A file that nobody holds open may be another one by now.
                         (known->second.reader != nullptr || known->second.fileName == fileName);
    if (isKnown) return;
    for (auto& [otherId, other] : program.recordings) {
        if (other.fileName == fileName) other.fileName = ReplacedName(fileName);
    }
    OpenRecording(directoryFd, fileName, first, program, id);
}

void QxControl::OpenRecording(int directoryFd, const std::string& fileName, bool first, Program& program,
                              QxRecordingFile::Id id) {
    std::unique_ptr<QxRecordingReader> reader;
    try {
        QxRecordingFile file(directoryFd, fileName, NameOf(fileName));
        // Replaced meanwhile: both files are found the next time.
        if (file.GetId() != id) return;
        reader = std::make_unique<QxRecordingReader>(std::move(file), m_tids, first);
    } catch (const QxDamage& damage) {
        GiveUp(fileName, damage.what());
    } catch (const QxOpenFailure& failure) {
        const std::string where = fileName + " in " + m_directory;
        if (failure.error != ENOENT) {
            ReportOnce("recording " + where + " cannot be opened for now: " + std::strerror(failure.error));
        }
        return;
    }
    program.recordings[id] = {fileName, std::move(reader)};
}

void QxControl::ReadRecordings(Program& program, QxDumpBuilder& builder) {
    for (auto& [id, recording] : program.recordings) {
        const QxFileName name = NameOf(recording.fileName);
        recording.isAlive = QxProcessInfo::IsAlive(name.pid, name.startTime);
        if (recording.reader == nullptr) continue;
        recording.reader->Read(program.catalog, builder, m_openCallLimitNs, recording.isAlive);
        const std::string& damage = recording.reader->Damage();
        if (!damage.empty()) GiveUp(recording.fileName, damage);
    }
}

void QxControl::GiveUp(const std::string& fileName, const std::string& reason) {
    ReportOnce("recording " + fileName + " in " + m_directory + " is given up: " + reason);
}

// Compressing takes longer than all the rest, and the items seldom change.
const std::string& QxControl::Describe(Program& program) const {
    std::string items;
    for (const auto& [id, recording] : program.recordings) {
        if (recording.reader != nullptr) items += recording.reader->HeaderItem();
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
    for (auto place = program.recordings.begin(); place != program.recordings.end();) {
        auto& [id, recording] = *place;
        std::unique_ptr<QxRecordingReader>& reader = recording.reader;
        const bool isGivenUp = reader == nullptr || !reader->Damage().empty();
        const bool isDone = isGivenUp ? !recording.isAlive : reader->IsDrained();
        if (isDone) RemoveFile(directoryFd, recording.fileName, id);
        // One that has got another name is still there, and would be read again if it was forgotten.
        const bool isGone = isDone && (isGivenUp || !reader->File().HasName());
        if (reader != nullptr && (isGivenUp || isGone)) {
            program.ended = Sum(program.ended, reader->GetLoss());
            reader.reset();
        }
        place = isGone ? program.recordings.erase(place) : std::next(place);
    }
}

void QxControl::ReportOnce(const std::string& message) {
    if (m_reported.size() >= kMaxReported) m_reported.clear();
    if (!m_reported.insert(message).second) return;
    __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QXCTL", "%s", message.c_str());
}

Loss QxControl::Program::Total() const {
    Loss total = ended;
    for (const auto& [id, recording] : recordings) {
        if (recording.reader != nullptr) total = Sum(total, recording.reader->GetLoss());
    }
    return total;
}

bool QxControl::Program::HasReaders() const {
    return std::any_of(recordings.begin(), recordings.end(), [](const auto& entry) {
        const QxRecordingReader* reader = entry.second.reader.get();
        return reader != nullptr && reader->Damage().empty();
    });
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
    for (const auto& [id, recording] : program->second.recordings) {
        if (recording.reader == nullptr) continue;
        const std::vector<qx::host::ThreadLoss> threads = recording.reader->GetThreadLoss();
        all.insert(all.end(), threads.begin(), threads.end());
    }
    return all;
}

void QxControl::SetOpenCallLimit(unsigned milliseconds) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_openCallLimitNs = std::uint64_t{milliseconds} * 1000000u;
}

}  // namespace qxhost
