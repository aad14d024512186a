// The topics of this system's messages: PREFIX/DEVICE/events/EVENT and PREFIX/DEVICE/status. Names of devices and
// events may hold any bytes, while brokers forbid some in a level, or treat them specially: / + # . blank and NUL.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace qxlt {

// The name as one level: each byte other than ASCII letters, digits, _ and - is written %XX; an empty name is "%". Of a
// long name the first bytes only: those that have room in 384 bytes. The payload tells it whole.
std::string TopicLevel(std::string_view name);

// The name that a level stands for; nothing where it is none that TopicLevel writes.
std::optional<std::string> ReadTopicLevel(std::string_view level);

// Below the prefix. `device` and `event` are names in clear.
std::string EventTopic(const std::string& device, const std::string& event);
std::string StatusTopic(const std::string& device);

}  // namespace qxlt
