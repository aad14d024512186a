#include "qx/control.h"

#include <qx/api.h>

#include "QxControl.h"
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
