// Tells that the bounds of a command's line hold nothing back.
#pragma once

#include "CallFilter.h"

namespace qxlt {

class UntoldTimes final {
public:
    // Tells it with a warning, once, when a bound of the filter cannot be told for the call.
    void Look(const CallFilter& filter, const CallTime& call);

private:
    bool m_told = false;
};

}  // namespace qxlt
