// What a message is known by: DEVICE:BOOT:RUN:NUMBER. Numbers of a run go from 1 without gaps, so that a receiver finds
// what is missing, and what came twice.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qxlt {

struct MessageId {
    std::string device;  // as a level of a topic: it then holds no colon
    std::string boot;    // of the device's kernel: 32 hex digits
    std::string run;     // 16 hex digits, made anew by each run
    std::uint64_t number;
};

std::string MessageIdText(const MessageId& id);

// Nothing where the text is none that MessageIdText writes.
std::optional<MessageId> ReadMessageId(std::string_view text);

}  // namespace qxlt
