#include "UntoldTimes.h"

#include "Messages.h"

namespace qxlt {

void UntoldTimes::Look(const CallFilter& filter, const CallTime& call) {
    if (m_told || !filter.LacksTime(call)) return;
    m_told = true;
    PrintWarning("--since and --until-time hold nothing back: these recordings do not tell their time, as captures do");
}

}  // namespace qxlt
