#include "qx/control.h"

#include <qx/api.h>

#include "QxControl.h"
#include "QxRecordingClock.h"
#include "QxRecordings.h"
#include "QxRuntimeDir.h"

namespace {

// Never destroyed: a tracker may still run while the program ends.
boost::shared_ptr<qxhost::QxControl> Control() {
    static auto& control =
        *new boost::shared_ptr<qxhost::QxControl>(new qxhost::QxControl(qxhost::QxRuntimeDir::DefaultPath()));
    return control;
}

}  // namespace

namespace qx {

boost::shared_ptr<IControl> api::GetControl() {
    return Control();
}

namespace host {

std::uint64_t GetRecordingTime() {
    return qxhost::NowNs();
}

std::int64_t GetWallClockOffset() {
    return qxhost::WallClockOffsetNs();
}

void Watch(const std::string& process) {
    Control()->Watch(process);
}

std::vector<ProcessState> GetProcesses(const std::string& process) {
    return Control()->GetProcesses(process);
}

std::vector<RecordingInfo> GetRecordings(std::string* problem) {
    std::string ignored;
    return qxhost::QxRecordings::List(Control()->Directory(), problem != nullptr ? *problem : ignored);
}

bool IsRecording(const std::string& path) {
    return qxhost::QxRecordings::IsOne(path);
}

bool DumpRecordings(const std::vector<std::string>& paths, std::string& dump, std::string& problem) {
    return qxhost::QxRecordings::Dump(paths, dump, problem);
}

bool RemoveRecording(const std::string& path, std::string& problem) {
    return qxhost::QxRecordings::Remove(path, problem);
}

bool GetLoss(const std::string& process, Loss* total, Loss* lastDump) {
    return Control()->GetLoss(process, total, lastDump);
}

std::vector<ThreadLoss> GetThreadLoss(const std::string& process) {
    return Control()->GetThreadLoss(process);
}

void SetOpenCallLimit(unsigned milliseconds) {
    Control()->SetOpenCallLimit(milliseconds);
}

std::string GetRuntimeDirectory() {
    return Control()->Directory();
}

}  // namespace host
}  // namespace qx
