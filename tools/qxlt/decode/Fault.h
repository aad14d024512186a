// Something in the input that was wrong and did not stop the work: a damaged dump, an event in error.
#pragma once

#include <functional>
#include <string>

#include "QxCycle.h"

namespace qxlt {

struct Fault {
    std::string text;    // for a person: the place, what is wrong, what to do
    std::string record;  // a JSON line for the expectations of a test: what is wrong, without the place on this machine
    bool isHarmless = false;  // told, and no reason for the run to have failed
};

using FaultSink = std::function<void(const Fault&)>;

// Prints the fault as an error, or a harmless one as a warning.
void PrintFault(const Fault& fault);

// A dump that did not decode whole. `place` names it; the offset at which decoding stopped follows.
Fault DamageFault(const std::string& place, const std::string& name, const QxCycle::Decoded& decoded);

}  // namespace qxlt
