#include "Topics.h"

#include <cstddef>

namespace qxlt {

namespace {

constexpr std::size_t kLongestLevel = 384;  // a topic with its prefix then stays below 1,100 bytes
constexpr char kDigits[] = "0123456789ABCDEF";

bool IsPlain(char byte) {
    return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || (byte >= '0' && byte <= '9') ||
           byte == '_' || byte == '-';
}

void AppendEscaped(std::string& level, char byte) {
    const auto value = static_cast<unsigned char>(byte);
    level += '%';
    level += kDigits[value >> 4];
    level += kDigits[value & 15];
}

// The value of a digit as TopicLevel writes it; below 0: it is none.
int DigitOf(char digit) {
    if (digit >= '0' && digit <= '9') return digit - '0';
    if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
    return -1;
}

}  // namespace

std::string TopicLevel(std::string_view name) {
    if (name.empty()) return "%";
    std::string level;
    for (const char byte : name) {
        if (level.size() + (IsPlain(byte) ? 1 : 3) > kLongestLevel) break;
        if (IsPlain(byte)) {
            level += byte;
        } else {
            AppendEscaped(level, byte);
        }
    }
    return level;
}

std::optional<std::string> ReadTopicLevel(std::string_view level) {
    if (level == "%") return std::string();
    if (level.empty() || level.size() > kLongestLevel) return std::nullopt;
    std::string name;
    for (std::size_t i = 0; i < level.size(); ++i) {
        if (level[i] != '%') {
            if (!IsPlain(level[i])) return std::nullopt;
            name += level[i];
            continue;
        }
        const bool isWhole = level.size() - i > 2 && DigitOf(level[i + 1]) >= 0 && DigitOf(level[i + 2]) >= 0;
        if (!isWhole) return std::nullopt;
        const char byte = static_cast<char>(DigitOf(level[i + 1]) * 16 + DigitOf(level[i + 2]));
        if (IsPlain(byte)) return std::nullopt;
        name += byte;
        i += 2;
    }
    return name;
}

std::string EventTopic(const std::string& device, const std::string& event) {
    return TopicLevel(device) + "/events/" + TopicLevel(event);
}

std::string StatusTopic(const std::string& device) {
    return TopicLevel(device) + "/status";
}

}  // namespace qxlt
