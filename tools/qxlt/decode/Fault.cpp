#include "Fault.h"

#include <utility>

#include "Json.h"
#include "Messages.h"

namespace qxlt {

void PrintFault(const Fault& fault) {
    if (fault.isHarmless) return PrintWarning(fault.text);
    PrintError(fault.text);
}

Fault DamageFault(const std::string& place, const std::string& name, const QxCycle::Decoded& decoded) {
    const char* const where = decoded.parsed ? "damage in the joined streams of its threads" : "damage";
    JsonObject record = JsonObject::object();
    AddText(record, "damaged", name);
    record["offset"] = decoded.stoppedAt;
    return {Place(place, decoded.stoppedAt) + ": " + where +
                "; what came before it is used, --level major tells what is wrong",
            Shared(std::move(record))};
}

}  // namespace qxlt
