// The host's control knows all recordings, and can read them without taking anything from anybody.
#include <qx/control.h>

#include <algorithm>

#include "Failure.h"
#include "IQxLogTracker.h"
#include "Messages.h"
#include "Nearest.h"
#include "QxDebugPrint.h"
#include "RecordingChoice.h"
#include "RecordingFiles.h"

namespace qxlt {

namespace {

// A packet that no dump has: whoever decodes it reports damage there.
constexpr char kDamage = '\0';

std::optional<std::uint64_t> Since(std::uint64_t time, std::uint64_t now) {
    // A time that lies ahead is one of an earlier run of the system.
    if (time == 0 || time > now) return std::nullopt;
    return now - time;
}

RecordingFile FileOf(const qx::host::RecordingInfo& info, std::uint64_t now) {
    RecordingFile file;
    file.process = info.process;
    file.pid = static_cast<unsigned long>(info.pid);
    file.uid = info.uid;
    file.bytes = info.bytes;
    file.isRunning = info.isRunning;
    file.idleNs = Since(info.lastTime, now);
    file.path = info.path;
    file.problem = info.problem;
    return file;
}

// Of those that cannot be read the directory already tells: whoever has no descriptors, say, is helped by no dump.
std::vector<char> TakeDump(const std::vector<RecordingFile>& files) {
    std::vector<std::string> paths;
    paths.reserve(files.size());
    for (const RecordingFile& file : files) paths.push_back(file.path);
    return DumpRecordings(paths);
}

std::string StateText(const std::string& process, const qx::host::ProcessState& state) {
    const std::string name = process + "[" + std::to_string(state.pid) + "]";
    if (state.visibility == qx::host::Visibility::NothingYet) {
        return name + " runs: " + state.problem + "; " + state.advice;
    }
    return name + " runs, and nothing of it can be read: " + state.problem + "; " + state.advice;
}

// Of the processes that run; of those that can be read nothing.
std::vector<std::string> UnreadTexts(const std::string& process) {
    std::vector<std::string> texts;
    for (const qx::host::ProcessState& state : qx::host::GetProcesses(process)) {
        if (state.isRunning && !state.isRead) texts.push_back(StateText(process, state));
    }
    return texts;
}

// What was left by one that has ended helps, too.
std::string EndedText(const std::vector<RecordingFile>& files) {
    if (files.empty()) return std::string();
    return "; what an ended one left shows with --recording " + RecordingText(files.back());
}

[[noreturn]] void NothingThere(const std::string& process, const std::vector<RecordingFile>& all) {
    std::vector<std::string> names;
    names.reserve(all.size());
    for (const RecordingFile& file : all) names.push_back(file.process);
    const std::string meant = Suggestion(process, names);
    throw Failure(kCannotStart, "-p " + process + ": nothing is recorded under that name; start it" +
                                    (meant.empty() ? "" : ", or did you mean " + meant));
}

}  // namespace

std::vector<RecordingFile> RecordingFiles() {
    std::string problem;
    const std::vector<qx::host::RecordingInfo> all = qx::host::GetRecordings(&problem);
    const std::uint64_t now = qx::host::GetRecordingTime();
    std::vector<RecordingFile> files;
    files.reserve(all.size());
    for (const qx::host::RecordingInfo& info : all) files.push_back(FileOf(info, now));
    if (!problem.empty()) {
        throw Failure(kCannotStart, problem + "; name another one with QX_RUNTIME_DIR");
    }
    return files;
}

std::string RecordingDirectory() {
    return qx::host::GetRuntimeDirectory();
}

bool IsRecording(const std::string& file) {
    return qx::host::IsRecording(file);
}

std::vector<char> DumpRecordings(const std::vector<std::string>& paths) {
    std::string dump;
    std::string problem;
    if (!qx::host::DumpRecordings(paths, dump, problem)) throw Failure(kCannotStart, problem);
    if (!problem.empty()) {
        QxDebugPrint::GetInstance()->Print("DumpRecordings", __LINE__, Major, "[DumpRecordings] Damaged recording %s",
                                           problem.c_str());
        dump += kDamage;
    }
    return {dump.begin(), dump.end()};
}

std::string RemoveRecording(const std::string& path) {
    std::string problem;
    qx::host::RemoveRecording(path, problem);
    return problem;
}

CurrentDump TakeCurrentDump(const std::string& process) {
    const std::vector<RecordingFile> all = RecordingFiles();
    std::vector<RecordingFile> running;
    std::vector<RecordingFile> ended;
    for (const RecordingFile& file : all) {
        if (IsRecordedAs(file.process, process)) (file.isRunning ? running : ended).push_back(file);
    }
    std::stable_sort(ended.begin(), ended.end(), RecordedBefore);
    const std::vector<std::string> unread = UnreadTexts(process);
    if (running.empty() && !unread.empty()) {
        throw Failure(kCannotStart, "-p " + process + ": " + unread.front() + EndedText(ended));
    }
    if (running.empty() && ended.empty()) NothingThere(process, all);
    for (const std::string& text : unread) PrintWarning(text);
    if (!running.empty()) return {running.front().pid, TakeDump(running), std::string()};
    return {ended.back().pid, TakeDump({ended.back()}), LastRecordedText(ended.back())};
}

}  // namespace qxlt
