#include "MessageId.h"

#include <algorithm>
#include <charconv>
#include <cstddef>

#include "Topics.h"

namespace qxlt {

namespace {

constexpr std::size_t kBootDigits = 32;
constexpr std::size_t kRunDigits = 16;

std::string_view TakePart(std::string_view& rest) {
    const std::size_t end = std::min(rest.find(':'), rest.size());
    const std::string_view part = rest.substr(0, end);
    rest.remove_prefix(std::min(rest.size(), end + 1));
    return part;
}

bool IsHex(std::string_view text, std::size_t digits) {
    return text.size() == digits && text.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

}  // namespace

std::string MessageIdText(const MessageId& id) {
    return id.device + ":" + id.boot + ":" + id.run + ":" + std::to_string(id.number);
}

std::optional<MessageId> ReadMessageId(std::string_view text) {
    std::string_view rest = text;
    MessageId id;
    id.device = TakePart(rest);
    id.boot = TakePart(rest);
    id.run = TakePart(rest);
    const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), id.number);
    const bool isNumber = error == std::errc() && end == rest.data() + rest.size() && id.number != 0;
    if (!isNumber || !ReadTopicLevel(id.device) || !IsHex(id.boot, kBootDigits) || !IsHex(id.run, kRunDigits)) {
        return std::nullopt;
    }
    // A number that is written otherwise, with a 0 before it, would be the same message under two ids.
    return MessageIdText(id) == text ? std::make_optional(id) : std::nullopt;
}

}  // namespace qxlt
