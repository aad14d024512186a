#include "Text.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>

namespace qxlt {

namespace {

constexpr char kReplacement[] = "\xEF\xBF\xBD";
constexpr char kCutMark[] = "\xE2\x80\xA6";  // the one character that stands for three points

unsigned char ByteAt(std::string_view text, std::size_t at) {
    return at < text.size() ? static_cast<unsigned char>(text[at]) : static_cast<unsigned char>(0);
}

// The second byte's bounds depend on the first: they keep out overlong forms, surrogates and what is past U+10FFFF.
struct Lead {
    unsigned char low, high;              // the first byte
    unsigned char secondLow, secondHigh;  // the byte after it
    std::size_t length;
};

constexpr Lead kLeads[] = {{0xC2, 0xDF, 0x80, 0xBF, 2}, {0xE0, 0xE0, 0xA0, 0xBF, 3}, {0xE1, 0xEC, 0x80, 0xBF, 3},
                           {0xED, 0xED, 0x80, 0x9F, 3}, {0xEE, 0xEF, 0x80, 0xBF, 3}, {0xF0, 0xF0, 0x90, 0xBF, 4},
                           {0xF1, 0xF3, 0x80, 0xBF, 4}, {0xF4, 0xF4, 0x80, 0x8F, 4}};

// Bytes of the character at `at`; 0 when the byte there begins no valid one. A byte past the end reads as 0, which
// continues nothing.
std::size_t CharacterLength(std::string_view text, std::size_t at) {
    const unsigned char first = ByteAt(text, at);
    if (first < 0x80) return 1;
    const Lead* const lead = std::find_if(std::begin(kLeads), std::end(kLeads),
                                          [&](const Lead& row) { return first >= row.low && first <= row.high; });
    if (lead == std::end(kLeads)) return 0;
    const unsigned char second = ByteAt(text, at + 1);
    if (second < lead->secondLow || second > lead->secondHigh) return 0;
    for (std::size_t i = 2; i < lead->length; ++i) {
        if ((ByteAt(text, at + i) & 0xC0u) != 0x80u) return 0;
    }
    return lead->length;
}

// Control characters move a terminal's cursor or worse; those from U+0080 to U+009F take two bytes.
bool IsControl(const std::string& text, std::size_t at, std::size_t length) {
    const unsigned char first = ByteAt(text, at);
    return length == 1 ? first < 0x20 || first == 0x7F : length == 2 && first == 0xC2 && ByteAt(text, at + 1) < 0xA0;
}

std::string Escape(char byte) {
    if (byte == '\n') return "\\n";
    if (byte == '\t') return "\\t";
    return "\\x" + Hex({&byte, 1});
}

// Whether the byte is one of a character that began before.
bool Continues(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0u) == 0x80u;
}

bool IsNumberSize(std::size_t size) {
    return size == 1 || size == 2 || size == 4 || size == 8;
}

std::string ShownNumber(const std::string& bytes) {
    std::uint64_t number = 0;
    for (std::size_t i = bytes.size(); i-- > 0;) number = number << 8 | ByteAt(bytes, i);
    if (bytes.size() == 4) return std::to_string(static_cast<std::int32_t>(number));
    return std::to_string(number);
}

}  // namespace

bool IsUtf8(std::string_view text) {
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = CharacterLength(text, at);
        if (length == 0) return false;
        at += length;
    }
    return true;
}

std::string ReplaceInvalid(std::string_view text) {
    std::string result;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = CharacterLength(text, at);
        result += length == 0 ? std::string_view(kReplacement) : text.substr(at, length);
        at += std::max<std::size_t>(length, 1);
    }
    return result;
}

std::string Hex(std::string_view bytes) {
    static const char digits[] = "0123456789abcdef";
    std::string result;
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        result += digits[value >> 4];
        result += digits[value & 0x0F];
    }
    return result;
}

std::string Unhex(const std::string& hex) {
    if (hex.size() % 2 != 0 || hex.find_first_not_of("0123456789abcdef") != std::string::npos) return hex;
    const auto digit = [](char c) { return c <= '9' ? c - '0' : c - 'a' + 10; };
    std::string bytes;
    for (std::size_t i = 0; i < hex.size(); i += 2) bytes += static_cast<char>(digit(hex[i]) * 16 + digit(hex[i + 1]));
    return bytes;
}

std::string FractionText(double number) {
    std::array<char, 40> text{};
    const int size = std::snprintf(text.data(), text.size(), "%g", number);
    return {text.data(), static_cast<std::size_t>(size)};
}

std::string Printable(const std::string& text) {
    std::string result;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = CharacterLength(text, at);
        const std::size_t taken = std::max<std::size_t>(length, 1);
        if (length != 0 && !IsControl(text, at, length)) {
            result += text.substr(at, taken);
        } else {
            for (std::size_t i = 0; i < taken; ++i) result += Escape(text[at + i]);
        }
        at += taken;
    }
    return result;
}

std::string ShownValue(const std::string& bytes) {
    if (bytes.empty()) return "\"\"";
    if (Printable(bytes) == bytes) return '"' + bytes + '"';
    return IsNumberSize(bytes.size()) ? ShownNumber(bytes) : "0x" + Hex(bytes);
}

std::size_t CharactersOf(const std::string& text) {
    return text.size() - static_cast<std::size_t>(std::count_if(text.begin(), text.end(), Continues));
}

std::string Cut(const std::string& text, std::size_t width) {
    if (CharactersOf(text) <= width) return text;
    std::size_t end = 0;
    for (std::size_t left = width; left > 0; --left) {
        if (left == 1) return text.substr(0, end) + kCutMark;
        do ++end;
        while (Continues(text[end]));
    }
    return kCutMark;
}

std::string Pad(const std::string& text, std::size_t width) {
    const std::size_t characters = CharactersOf(text);
    return characters < width ? text + std::string(width - characters, ' ') : text;
}

std::string RightAligned(const std::string& text, std::size_t width) {
    return std::string(width - std::min(width, text.size()), ' ') + text;
}

std::size_t WidestOf(const std::vector<std::string>& texts) {
    std::size_t widest = 0;
    for (const std::string& text : texts) widest = std::max(widest, Printable(text).size());
    return widest;
}

std::string CommaSeparated(const std::vector<std::string>& texts) {
    std::string list;
    for (const std::string& text : texts) list += (&text == &texts.front() ? "" : ", ") + text;
    return list;
}

std::string Counted(std::uint64_t count, const std::string& noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

}  // namespace qxlt
