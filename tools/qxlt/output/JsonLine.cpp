#include "JsonLine.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <utility>

#include "Text.h"

namespace qxlt {

namespace {

constexpr std::size_t kMostDigits = 20;  // of a number of 64 bits, or its sign and one digit less

// Which bytes stand for themselves between quotes, in whatever text they are.
constexpr std::array<bool, 256> PlainBytes() {
    std::array<bool, 256> plain{};
    for (std::size_t byte = 0x20; byte < 0x80; ++byte) plain[byte] = byte != '"' && byte != '\\';
    return plain;
}
constexpr std::array<bool, 256> kPlain = PlainBytes();

// The two digits of each byte.
constexpr std::array<char, 512> HexPairs() {
    constexpr char digits[] = "0123456789abcdef";
    std::array<char, 512> pairs{};
    for (std::size_t byte = 0; byte < 256; ++byte) {
        pairs[byte * 2] = digits[byte >> 4];
        pairs[byte * 2 + 1] = digits[byte & 0x0F];
    }
    return pairs;
}
constexpr std::array<char, 512> kHexPairs = HexPairs();

bool IsPlain(char byte) {
    return kPlain[static_cast<unsigned char>(byte)];
}

bool IsPlainText(std::string_view text) {
    return std::all_of(text.begin(), text.end(), IsPlain);
}

// Bytes of longer characters need no escape.
bool NeedsEscape(char byte) {
    return !IsPlain(byte) && static_cast<unsigned char>(byte) < 0x80;
}

std::string Escape(char byte) {
    switch (byte) {
        case '"':
        case '\\':
            return {'\\', byte};
        case '\b':
            return "\\b";
        case '\f':
            return "\\f";
        case '\n':
            return "\\n";
        case '\r':
            return "\\r";
        case '\t':
            return "\\t";
        default:
            return "\\u00" + Hex({&byte, 1});
    }
}

}  // namespace

std::string JsonLine::Finish() && {
    EndObject();
    m_text.resize(m_length);
    return std::move(m_text);
}

void JsonLine::Quote(std::string_view text) {
    Append("\"");
    while (!text.empty()) {
        const auto* const escaped = std::find_if(text.begin(), text.end(), NeedsEscape);
        const auto plain = static_cast<std::size_t>(escaped - text.begin());
        Append(text.substr(0, plain));
        text.remove_prefix(plain);
        if (text.empty()) break;
        Append(Escape(text.front()));
        text.remove_prefix(1);
    }
    Append("\"");
}

void JsonLine::AppendSigned(long long number) {
    char* const begin = Room(kMostDigits);
    m_length += static_cast<std::size_t>(std::to_chars(begin, begin + kMostDigits, number).ptr - begin);
}

void JsonLine::AppendUnsigned(unsigned long long number) {
    char* const begin = Room(kMostDigits);
    m_length += static_cast<std::size_t>(std::to_chars(begin, begin + kMostDigits, number).ptr - begin);
}

template <typename Number>
void JsonLine::AppendFraction(std::string_view key, Number number) {
    constexpr std::size_t kMostCharacters = 32;  // such as -2.2250738585072014e-308
    if (!std::isfinite(number)) return AddNull(key);
    Key(key);
    char* const begin = Room(kMostCharacters);
    m_length += static_cast<std::size_t>(std::to_chars(begin, begin + kMostCharacters, number).ptr - begin);
}

void JsonLine::AddFraction(std::string_view key, float number) {
    AppendFraction(key, number);
}

void JsonLine::AddFraction(std::string_view key, double number) {
    AppendFraction(key, number);
}

void JsonLine::AddText(std::string_view key, std::string_view text) {
    Key(key);
    if (IsPlainText(text)) {
        char* const begin = Room(text.size() + 2);
        *begin = '"';
        std::memcpy(begin + 1, text.data(), text.size());
        begin[text.size() + 1] = '"';
        m_length += text.size() + 2;
        return;
    }
    const bool isValid = IsUtf8(text);
    Quote(isValid ? text : ReplaceInvalid(text));
    if (!isValid) AddHex(std::string(key) + "Hex", text);
}

void JsonLine::AddTexts(std::string_view key, const std::vector<std::string>& texts) {
    BeginList(key);
    for (const std::string& text : texts) {
        Separate();
        Quote(ReplaceInvalid(text));
    }
    EndList();
    if (std::all_of(texts.begin(), texts.end(), IsUtf8)) return;
    BeginList(std::string(key) + "Hex");
    for (const std::string& text : texts) {
        Separate();
        Quote(Hex(text));
    }
    EndList();
}

void JsonLine::AddHex(std::string_view key, std::string_view bytes) {
    Key(key);
    const std::size_t size = bytes.size() * 2 + 2;
    char* digit = Room(size);
    *digit++ = '"';
    for (const char byte : bytes) {
        std::memcpy(digit, &kHexPairs[std::size_t{static_cast<unsigned char>(byte)} * 2], 2);
        digit += 2;
    }
    *digit = '"';
    m_length += size;
}

void JsonLine::AddKeysOf(std::string_view object) {
    const std::string_view keys = object.substr(1, object.size() - 2);
    if (!keys.empty()) AddJson(keys);
}

}  // namespace qxlt
