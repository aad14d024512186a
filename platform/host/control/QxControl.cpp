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

#include "QxDirectory.h"
#include "QxDumpWriter.h"
#include "QxLeftovers.h"
#include "QxLossMath.h"
#include "QxProcessInfo.h"
#include "QxRuntimeDir.h"
#include "QxVisibility.h"

namespace qxhost {

using qx::host::Loss;
using qx::host::ProcessState;
using qx::host::Visibility;

namespace {

constexpr std::size_t kShortNameSize = 15;  // what the system keeps of a command name
constexpr std::size_t kMaxReported = 1000;
constexpr std::size_t kEndedKept = 64;

// Whether a recorded name is the one asked for, or as much of it as the system keeps.
bool IsWhole(const std::string& recorded, const std::string& asked) {
    return !recorded.empty() && (recorded == asked || recorded == asked.substr(0, kShortNameSize));
}

// The best that a recorded name may fit.
std::size_t WholeFit(const std::string& asked) {
    return asked.size() + 1;
}

// Whether a process runs that has just that name.
bool IsRunning(const std::string& asked) {
    const std::set<pid_t> all = QxProcessInfo::All();
    return std::any_of(all.begin(), all.end(),
                       [&asked](pid_t pid) { return IsWhole(QxProcessInfo::CommandName(pid), asked); });
}

// How well a recorded name fits the one asked for; 0 when it does not.
std::size_t Fit(const std::string& recorded, const std::string& asked) {
    if (recorded.empty() || asked.compare(0, recorded.size(), recorded) != 0) return 0;
    return IsWhole(recorded, asked) ? WholeFit(asked) : recorded.size();
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

// Whether the name is that file's, and no other one's by now.
bool IsNamed(int directoryFd, const std::string& fileName, QxRecordingFile::Id id) {
    QxRecordingFile::Id found;
    return FindId(directoryFd, fileName, found) && found == id;
}

bool IsRecording(const std::string& fileName) {
    QxFileName name;
    return QxFileName::Parse(fileName, name) && name.suffix == QxFileName::kRecording;
}

ProcessState EndedState(pid_t pid) {
    ProcessState state;
    state.pid = pid;
    state.isRead = true;
    return state;
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

QxControl::Listing QxControl::List() {
    Listing listing;
    listing.directory = QxRuntimeDir::Open(m_directory, false, listing.problem);
    std::vector<std::string> fileNames;
    if (listing.directory && !QxDirectory::List(listing.directory.Get(), fileNames)) {
        listing.problem = "directory " + m_directory + " cannot be listed: " + std::strerror(errno);
        listing.directory = QxFd();
    }
    if (!listing.problem.empty()) ReportOnce(listing.problem);
    std::copy_if(fileNames.begin(), fileNames.end(), std::back_inserter(listing.fileNames), IsRecording);
    return listing;
}

void QxControl::Watch(const std::string& process) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    BeginWatch(List(), m_programs[process]);
}

// Notes the recordings of all names: which one fits best depends on those that come. Where the directory cannot be
// read, the watch begins with the next attempt.
void QxControl::BeginWatch(const Listing& listing, Program& program) {
    if (program.isWatched || !listing.problem.empty()) return;
    program.isWatched = true;
    QxOwners owners;
    for (const std::string& fileName : listing.fileNames) {
        QxRecordingFile::Id id;
        if (!FindId(listing.directory.Get(), fileName, id) || owners.Find(NameOf(fileName), id.second) != 0) continue;
        Recording& recording = program.recordings[id];
        recording.fileName = fileName;
        recording.isDone = true;
    }
}

bool QxControl::Dump(std::vector<char>& path, const std::string& process, bool first) {
    const Listing listing = List();
    const QxFd& directory = listing.directory;
    Program& program = m_programs[process];
    BeginWatch(listing, program);
    if (!directory) return false;
    if (!std::exchange(m_hasCleaned, true)) QxLeftovers::RemoveDumps(directory.Get());
    program.wasDumped = true;
    if (first) program.Restart();
    FindRecordings(listing, process, first, program);
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
    DropRead(directory.Get(), program);
    return isWritten;
}

// Those of which nothing is read any more are as good as not there. A shorter name does not step in for a better one
// that was there before, nor for that of a process which runs and records nothing.
void QxControl::FindRecordings(const Listing& listing, const std::string& process, bool first, Program& program) {
    std::size_t& best = program.bestFit;
    std::vector<std::pair<std::size_t, std::string>> found;
    for (const std::string& fileName : listing.fileNames) {
        const std::size_t fit = Fit(NameOf(fileName).name, process);
        QxRecordingFile::Id id;
        if (fit == 0 || !FindId(listing.directory.Get(), fileName, id)) continue;
        const auto known = program.recordings.find(id);
        if (known != program.recordings.end() && known->second.isDone && known->second.fileName == fileName) continue;
        found.emplace_back(fit, fileName);
        best = std::max(best, fit);
    }
    if (!found.empty() && best < WholeFit(process) && IsRunning(process)) best = WholeFit(process);
    for (const auto& [fit, fileName] : found) {
        if (fit == best) TakeUp(listing.directory.Get(), fileName, first, program);
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
                         (known->second.reader != nullptr || known->second.fileName == fileName ||
                          ReplacedName(known->second.fileName) == fileName);
    if (isKnown) return;
    for (auto& [otherId, other] : program.recordings) {
        if (other.fileName == fileName) other.fileName = ReplacedName(fileName);
    }
    OpenRecording(directoryFd, fileName, first, program, id);
}

void QxControl::OpenRecording(int directoryFd, const std::string& fileName, bool first, Program& program,
                              QxRecordingFile::Id id) {
    Recording recording;
    recording.fileName = fileName;
    try {
        QxRecordingFile file(directoryFd, fileName, NameOf(fileName));
        // Replaced meanwhile: both files are found the next time.
        if (file.GetId() != id) return;
        recording.owner = QxOwners().Find(file.Name(), id.second);
        if (recording.owner != 0) file.SetPid(recording.owner);
        recording.reader = std::make_unique<QxRecordingReader>(std::move(file), m_tids, first);
    } catch (const QxDamage& damage) {
        GiveUp(recording, damage.what());
    } catch (const QxOpenFailure& failure) {
        const std::string where = fileName + " in " + m_directory;
        if (failure.error != ENOENT) {
            ReportOnce("recording " + where + " cannot be opened for now: " + std::strerror(failure.error));
        }
        return;
    }
    program.recordings[id] = std::move(recording);
}

void QxControl::ReadRecordings(Program& program, QxDumpBuilder& builder) {
    QxOwners owners;
    for (auto& [id, recording] : program.recordings) {
        if (recording.reader == nullptr) continue;
        recording.owner = owners.Find(NameOf(recording.fileName), id.second, recording.owner);
        recording.reader->Read(program.catalog, builder, m_openCallLimitNs, recording.owner != 0);
        const std::string& damage = recording.reader->Damage();
        if (!damage.empty()) GiveUp(recording, damage);
    }
}

void QxControl::GiveUp(Recording& recording, const std::string& reason) {
    recording.damage = reason;
    ReportOnce("recording " + recording.fileName + " in " + m_directory + " is given up: " + reason);
}

// Compressing takes longer than all the rest, and the items seldom change.
const std::string& QxControl::Describe(Program& program) {
    std::string items = program.catalog.Items();
    if (items != program.describedItems || program.description.empty()) {
        program.description = QxDumpBuilder::Describe(items);
        program.describedItems = std::move(items);
    }
    return program.description;
}

// A recording that was read to its end, or given up, is remembered as long as its file is there: it is not to be read
// again.
void QxControl::DropRead(int directoryFd, Program& program) {
    for (auto place = program.recordings.begin(); place != program.recordings.end();) {
        auto& [id, recording] = *place;
        std::unique_ptr<QxRecordingReader>& reader = recording.reader;
        const bool isThere = IsNamed(directoryFd, recording.fileName, id);
        // One that has got another name is still there, and would be read again if it was forgotten.
        const bool isDrained = reader != nullptr && reader->IsDrained() && (isThere || !reader->File().HasName());
        if (reader != nullptr && (isDrained || !reader->Damage().empty())) {
            recording.isDone = recording.owner == 0;
            if (recording.isDone) program.NoteEnd(reader->File().Name().pid);
            program.ended = Sum(program.ended, reader->GetLoss());
            reader.reset();
        }
        place = reader == nullptr && !isThere ? program.recordings.erase(place) : std::next(place);
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

void QxControl::Program::Restart() {
    Program fresh;
    fresh.isWatched = isWatched;
    fresh.wasDumped = wasDumped;
    fresh.bestFit = bestFit;
    fresh.endedPids = std::move(endedPids);
    for (auto& [id, recording] : recordings) {
        if (recording.isDone) fresh.recordings[id] = std::move(recording);
    }
    *this = std::move(fresh);
}

void QxControl::Program::NoteEnd(pid_t pid) {
    if (std::find(endedPids.begin(), endedPids.end(), pid) != endedPids.end()) return;
    endedPids.push_back(pid);
    if (endedPids.size() > kEndedKept) endedPids.pop_front();
}

bool QxControl::Program::HasReaders() const {
    return std::any_of(recordings.begin(), recordings.end(), [](const auto& entry) {
        const QxRecordingReader* reader = entry.second.reader.get();
        return reader != nullptr && reader->Damage().empty();
    });
}

std::vector<qx::host::ProcessState> QxControl::GetProcesses(const std::string& process) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const Listing listing = List();
    const auto known = m_programs.find(process);
    const Program* program = known != m_programs.end() ? &known->second : nullptr;
    std::vector<ProcessState> states;
    for (const pid_t pid : Ended(program)) states.push_back(EndedState(pid));
    for (const pid_t pid : Running(process, listing)) states.push_back(StateOf(pid, process, listing, program));
    std::stable_sort(states.begin(), states.end(),
                     [](const ProcessState& left, const ProcessState& right) { return left.pid < right.pid; });
    return states;
}

// Those that ended since the last dump included.
std::set<pid_t> QxControl::Ended(const Program* program) {
    if (program == nullptr) return {};
    std::set<pid_t> pids(program->endedPids.begin(), program->endedPids.end());
    QxOwners owners;
    for (const auto& [id, recording] : program->recordings) {
        if (recording.reader == nullptr) continue;
        const pid_t owner = owners.Find(NameOf(recording.fileName), id.second, recording.owner);
        if (owner == 0) pids.insert(recording.reader->File().Name().pid);
    }
    return pids;
}

// Those that go by the name, and those that did when they began to record.
std::set<pid_t> QxControl::Running(const std::string& process, const Listing& listing) {
    std::set<pid_t> pids;
    for (const pid_t pid : QxProcessInfo::All()) {
        if (IsWhole(QxProcessInfo::CommandName(pid), process) && QxProcessInfo::StartTime(pid) != 0) pids.insert(pid);
    }
    QxOwners owners;
    for (const std::string& fileName : listing.fileNames) {
        QxRecordingFile::Id id;
        const QxFileName name = NameOf(fileName);
        if (!IsWhole(name.name, process) || !FindId(listing.directory.Get(), fileName, id)) continue;
        const pid_t owner = owners.Find(name, id.second);
        if (owner != 0) pids.insert(owner);
    }
    return pids;
}

ProcessState QxControl::StateOf(pid_t pid, const std::string& process, const Listing& listing,
                                const Program* program) const {
    const pid_t innerPid = QxProcessInfo::InnerPid(pid);
    const std::uint64_t startTime = QxProcessInfo::StartTime(pid);
    for (const std::string& fileName : listing.fileNames) {
        const QxFileName name = NameOf(fileName);
        const bool isOwn = (name.pid == pid || name.pid == innerPid) && name.startTime == startTime;
        if (isOwn && IsWhole(name.name, process)) return StateOfRecording(pid, listing, fileName, program);
    }
    ProcessState state = QxVisibility::Diagnose(pid, m_directory);
    const bool isElsewhere = state.visibility == Visibility::OtherUser || state.visibility == Visibility::NoRecorder;
    return listing.problem.empty() || isElsewhere ? state : QxVisibility::Unreadable(pid, listing.problem);
}

ProcessState QxControl::StateOfRecording(pid_t pid, const Listing& listing, const std::string& fileName,
                                         const Program* program) {
    const int directoryFd = listing.directory.Get();
    std::string problem;
    try {
        const QxRecordingFile file(directoryFd, fileName, NameOf(fileName));
        if (program != nullptr) {
            const auto known = program->recordings.find(file.GetId());
            if (known != program->recordings.end()) problem = known->second.damage;
        }
    } catch (const QxDamage& damage) {
        problem = damage.what();
    } catch (const QxOpenFailure& failure) {
        problem = std::strerror(failure.error);
    }
    if (!problem.empty()) return QxVisibility::Unreadable(pid, "its recording cannot be read: " + problem);
    ProcessState state;
    state.pid = pid;
    state.isRunning = true;
    state.isRead = true;
    return state;
}

bool QxControl::GetLoss(const std::string& process, Loss* total, Loss* lastDump) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto program = m_programs.find(process);
    if (program == m_programs.end() || !program->second.wasDumped) return false;
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
