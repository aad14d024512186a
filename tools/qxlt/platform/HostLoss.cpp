// The host's control keeps account of every call.
#include <qx/control.h>

#include "LossCounts.h"

namespace qxlt {

// What was gone before the first dump was nobody's to deliver.
std::optional<LossCounts> LossOfLastDump(const std::string& process) {
    qx::host::Loss last;
    if (!qx::host::GetLoss(process, nullptr, &last)) return std::nullopt;
    LossCounts counts;
    counts.recorded = last.recorded - last.beforeFirst;
    counts.delivered = last.delivered;
    counts.open = last.held;
    counts.overwritten = last.overwritten;
    counts.refused = last.refused;
    counts.dropped = last.dropped;
    counts.exitsDropped = last.exitsOverwritten + last.exitsRefused + last.exitsDropped;
    return counts;
}

}  // namespace qxlt
