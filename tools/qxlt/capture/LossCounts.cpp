#include "LossCounts.h"

#include <algorithm>
#include <utility>

#include "Json.h"
#include "JsonLine.h"

namespace qxlt {

void LossCounts::LoseDump() {
    dropped += std::exchange(delivered, 0);
}

void LossCounts::Add(const LossCounts& next) {
    for (const LossField& field : kLossFields) this->*field.value += next.*field.value;
    open = next.open;
}

// A call that was open before the run may have been counted as recorded with an earlier dump.
LossCounts LossCounts::Without(std::uint64_t history) const {
    LossCounts counts = *this;
    counts.recorded -= std::min(counts.recorded, history);
    counts.delivered -= std::min(counts.delivered, history);
    return counts;
}

void AddLoss(JsonLine& line, const LossCounts& loss) {
    for (const LossField& field : kLossFields) line.Add(field.key, loss.*field.value);
}

std::optional<LossCounts> ReadLoss(const JsonObject& object) {
    LossCounts loss;
    for (const LossField& field : kLossFields) {
        if (!object.contains(field.key) || !object[field.key].is_number_unsigned()) return std::nullopt;
        loss.*field.value = object[field.key].get<std::uint64_t>();
    }
    return loss;
}

}  // namespace qxlt
