#include "Fault.h"

#include <utility>

#include "JsonLine.h"
#include "Messages.h"

namespace qxlt {

void PrintFault(const Fault& fault) {
    if (fault.isHarmless) return PrintWarning(fault.text);
    PrintError(fault.text);
}

Fault DamageFault(const std::string& place, const std::string& name, const QxCycle::Decoded& decoded) {
    const char* const where = decoded.parsed ? "damage in the joined streams of its threads" : "damage";
    JsonLine record;
    record.AddText("damaged", name);
    record.Add("offset", decoded.stoppedAt);
    return {Place(place, decoded.stoppedAt) + ": " + where +
                "; what came before it is used, --level major tells what is wrong",
            std::move(record).Finish()};
}

}  // namespace qxlt
