// What a device says, as it is taken out of a message of the broker's. Messages come from whoever may write there:
// nothing of them is believed before it was checked.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "JsonFwd.h"
#include "RunNumbers.h"

namespace qxlt {

// One run of the tool on a device.
struct RunName {
    std::string device;
    std::string boot;  // 32 hex digits
    std::string run;   // 16 hex digits
};

struct FleetEvent {
    RunName origin;
    std::uint64_t number;
    std::string id;
    std::optional<std::uint64_t> time;  // in nanoseconds since 1970; nothing where the device did not know it
    std::uint64_t cycle;
    std::string event;
    std::string value;
    std::optional<std::uint64_t> duration;  // of the call, in nanoseconds
    SharedJson call;                        // null in it where the device has left it out
};

// Numbers that a device's outbox did not keep, of the run that is meant or an earlier one.
struct FleetDrop {
    std::string boot;
    std::string run;
    NumberRange range;
};

enum class DeviceState { Running, Ended, Gone };
const char* TextOf(DeviceState state);
std::optional<DeviceState> ReadDeviceState(std::string_view text);

struct FleetStatus {
    RunName origin;
    DeviceState state;
    std::optional<std::uint64_t> time;
    std::uint64_t taken = 0;    // the last number that was given
    std::uint64_t waiting = 0;  // of all messages taken, those that the broker does not have yet
    std::uint64_t dropped = 0;  // by the outbox, since it was made
    std::vector<FleetDrop> drops;
    std::string health;  // JSON; empty: none was told
};

// Why a message is not taken.
enum class Refusal { Long, Topic, Json, Content, Disagrees };
inline constexpr std::size_t kRefusals = 5;
const char* TextOf(Refusal refusal);

// Nothing: a status that was taken back, which is no message of a device.
using FleetMessage = std::variant<std::monostate, FleetEvent, FleetStatus, Refusal>;

class FleetReader final {
public:
    // `prefix` is what all topics begin with.
    explicit FleetReader(const std::string& prefix, std::size_t mostBytes = std::size_t{1} << 20)
        : m_begin(prefix + "/"), m_mostBytes(mostBytes) {}

    // The device and the event that stand in the message are those of its topic: a broker lets each device write to its
    // own topics, while a payload can hold any name.
    FleetMessage Read(std::string_view topic, std::string_view payload) const;

private:
    const std::string m_begin;
    const std::size_t m_mostBytes;
};

}  // namespace qxlt
