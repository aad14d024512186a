// A traced call as it is printed: with its location and the name of its process.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "IQxData.h"
#include "ValueTypes.h"
#include "WallTime.h"

namespace qxlt {

class JsonLine;

struct CallView {
    const IQxData::HSCall& call;
    const IQxData::_HSCallLocation& location;
    const std::string& process;                         // empty when the process id is not registered
    std::optional<unsigned long long> key;              // where it is to be shown
    std::optional<std::uint32_t> maker = std::nullopt;  // the id of the process that made the call, where it is known
    std::string_view thread = {};                       // its name; empty when it is not known
    CallTypes types = {};
    ClockOffset clock = std::nullopt;                   // of the recordings that the call comes from
    std::optional<std::uint64_t> start = std::nullopt;  // when their run began, on their clock
};

// How long the call took; nothing when it has not returned, or its times are damaged.
std::optional<std::uint64_t> DurationOf(const IQxData::HSCall& call);

// Adds the call's keys to the object that the line is in.
void AddCall(JsonLine& line, const CallView& view);

// The process that made the call.
std::string MakerText(const CallView& view);

// The process as it is shown: its name and its id.
std::string ProcessText(const std::string& name, std::uint32_t pid);

}  // namespace qxlt
