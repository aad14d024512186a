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

std::string LossLine(std::uint64_t cycle, const std::string& process, const std::optional<LossCounts>& counts,
                     std::uint64_t bytesNotDecoded) {
    JsonLine line;
    line.Add("cycle", cycle);
    line.BeginObject("loss");
    line.AddText("process", process);
    if (counts) AddLoss(line, *counts);
    line.Add("bytesNotDecoded", bytesNotDecoded);
    line.EndObject();
    return std::move(line).Finish();
}

std::string LossText(const LossCounts& counts, std::uint64_t bytesNotDecoded) {
    std::string text;
    const auto add = [&text](const char* name, std::uint64_t count) {
        if (count > 0) text += (text.empty() ? "" : ", ") + std::string(name) + " " + std::to_string(count);
    };
    for (const LossField& field : kLossFields) {
        if (field.isLoss) add(field.text, counts.*field.value);
    }
    add("bytes not decoded", bytesNotDecoded);
    return text;
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
