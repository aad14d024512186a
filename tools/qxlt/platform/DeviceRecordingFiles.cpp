// A device's control gives out dumps and nothing else.
#include "Failure.h"
#include "QxDumpFile.h"
#include "QxLogTracker.h"
#include "RecordingFiles.h"
#include "qx/api.h"

namespace qxlt {

namespace {

[[noreturn]] void NotHere() {
    throw Failure(kCannotStart, "recordings cannot be reached on this platform; take dumps with run --keep");
}

}  // namespace

std::vector<RecordingFile> RecordingFiles() {
    NotHere();
}

std::string RecordingDirectory() {
    return std::string();
}

bool IsRecording(const std::string&) {
    return false;
}

std::vector<char> DumpRecordings(const std::vector<std::string>&) {
    NotHere();
}

std::string RemoveRecording(const std::string&) {
    NotHere();
}

CurrentDump TakeCurrentDump(const std::string& process) {
    const boost::shared_ptr<qx::IControl> control = qx::api::GetControl();
    if (control == nullptr) throw Failure(kCannotStart, "the tracing framework gives no control interface");
    std::vector<char> path;
    if (!control->getQxBufferDump(path, process, true) || path.empty()) {
        throw Failure(kCannotStart, "-p " + process + ": nothing is recorded under that name; start it");
    }
    return {QxLogTracker::FindProcess(process.c_str()), QxDumpFile::Read(std::string(path.begin(), path.end())), ""};
}

}  // namespace qxlt
