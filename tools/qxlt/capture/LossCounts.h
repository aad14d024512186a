// What became of the calls of a watched process between two dumps, and from there on of those of a whole run.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "JsonFwd.h"

namespace qxlt {

class JsonLine;

// Counted exactly by the recorder and the control:
//
//     recorded = delivered + overwritten + refused + dropped + what `open` has grown by
//
// What the program recorded before the run and had overwritten by then is in none of them.
struct LossCounts {
    std::uint64_t recorded = 0;      // calls and log items that the program made
    std::uint64_t delivered = 0;     // handed over in dumps
    std::uint64_t open = 0;          // calls that have not returned, held back until they do
    std::uint64_t overwritten = 0;   // made room for later ones before a dump was taken
    std::uint64_t refused = 0;       // had no room at all
    std::uint64_t dropped = 0;       // had no place in the dump
    std::uint64_t exitsDropped = 0;  // returns that were lost, of whatever call

    // Whether anything was lost.
    bool Any() const { return overwritten + refused + dropped + exitsDropped > 0; }

    // The dump that held the delivered calls did not come.
    void LoseDump();

    // Goes on with what came next.
    void Add(const LossCounts& next);

    // The same without that many calls which were delivered and had been made before the run.
    LossCounts Without(std::uint64_t history) const;
};

// The counts, with their names and in their order.
struct LossField {
    const char* key;   // in JSON
    const char* text;  // for a person
    std::uint64_t LossCounts::*value;
    bool isLoss;
};
inline constexpr LossField kLossFields[] = {
    {"recorded", "recorded", &LossCounts::recorded, false},
    {"delivered", "delivered", &LossCounts::delivered, false},
    {"open", "open", &LossCounts::open, false},
    {"overwritten", "overwritten", &LossCounts::overwritten, true},
    {"refused", "refused", &LossCounts::refused, true},
    {"dropped", "dropped", &LossCounts::dropped, true},
    {"exitsDropped", "exits dropped", &LossCounts::exitsDropped, true},
};

// Adds the counts to the object that the line is in.
void AddLoss(JsonLine& line, const LossCounts& loss);

// The line that tells what was lost with one dump; counts that are not known are left out.
std::string LossLine(std::uint64_t cycle, const std::string& process, const std::optional<LossCounts>& counts,
                     std::uint64_t bytesNotDecoded);

// "overwritten 3, bytes not decoded 12": the same for a person. Empty: nothing was.
std::string LossText(const LossCounts& counts, std::uint64_t bytesNotDecoded);

// Reads what AddLoss wrote; nothing when a count is missing or no number.
std::optional<LossCounts> ReadLoss(const JsonObject& object);

// The counts of the process's last dump; nothing on a platform whose control keeps no account.
std::optional<LossCounts> LossOfLastDump(const std::string& process);

}  // namespace qxlt
