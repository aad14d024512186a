#include "JsonLine.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

#include "Text.h"

namespace qxlt {

namespace {

constexpr std::size_t kUsualLength = 512;  // of most calls: the text then grows once
constexpr std::size_t kMostDigits = 20;    // of a number of 64 bits, or its sign and one digit less
constexpr char kHexDigits[] = "0123456789abcdef";

// Which bytes stand for themselves between quotes, in whatever text they are.
constexpr std::array<bool, 256> PlainBytes() {
    std::array<bool, 256> plain{};
    for (std::size_t byte = 0x20; byte < 0x80; ++byte) plain[byte] = byte != '"' && byte != '\\';
    return plain;
}
constexpr std::array<bool, 256> kPlain = PlainBytes();

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

JsonLine::JsonLine() {
    m_text.reserve(kUsualLength);
    m_text += '{';
}

JsonLine::JsonLine(std::string_view record) : JsonLine() {
    AddText("record", record);
}

std::string JsonLine::Finish() && {
    EndObject();
    return std::move(m_text);
}

// Behind the first value of an object or a list.
void JsonLine::Separate() {
    const char last = m_text.back();
    if (last != '{' && last != '[') m_text += ',';
}

void JsonLine::Key(std::string_view key) {
    Separate();
    m_text += '"';
    m_text += key;
    m_text += "\":";
}

void JsonLine::Quote(std::string_view text) {
    m_text += '"';
    while (!text.empty()) {
        const auto* const escaped = std::find_if(text.begin(), text.end(), NeedsEscape);
        const auto plain = static_cast<std::size_t>(escaped - text.begin());
        m_text += text.substr(0, plain);
        text.remove_prefix(plain);
        if (text.empty()) break;
        m_text += Escape(text.front());
        text.remove_prefix(1);
    }
    m_text += '"';
}

void JsonLine::AppendHex(std::string_view bytes) {
    const std::size_t begin = m_text.size();
    m_text.resize(begin + bytes.size() * 2);
    char* digit = &m_text[begin];
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        *digit++ = kHexDigits[value >> 4];
        *digit++ = kHexDigits[value & 0x0F];
    }
}

void JsonLine::AppendSigned(long long number) {
    std::array<char, kMostDigits> digits;
    m_text.append(digits.data(), std::to_chars(digits.begin(), digits.end(), number).ptr);
}

void JsonLine::AppendUnsigned(unsigned long long number) {
    std::array<char, kMostDigits> digits;
    m_text.append(digits.data(), std::to_chars(digits.begin(), digits.end(), number).ptr);
}

void JsonLine::AddNull(std::string_view key) {
    AddJson(key, "null");
}

void JsonLine::AddText(std::string_view key, std::string_view text) {
    Key(key);
    if (IsPlainText(text)) {
        m_text += '"';
        m_text += text;
        m_text += '"';
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
    m_text += '"';
    AppendHex(bytes);
    m_text += '"';
}

void JsonLine::AddJson(std::string_view key, std::string_view json) {
    Key(key);
    m_text += json;
}

void JsonLine::AddJson(std::string_view json) {
    Separate();
    m_text += json;
}

void JsonLine::AddKeysOf(std::string_view object) {
    const std::string_view keys = object.substr(1, object.size() - 2);
    if (!keys.empty()) AddJson(keys);
}

void JsonLine::BeginObject(std::string_view key) {
    Key(key);
    m_text += '{';
}

void JsonLine::BeginList(std::string_view key) {
    Key(key);
    m_text += '[';
}

void JsonLine::BeginObject() {
    AddJson("{");
}

void JsonLine::BeginList() {
    AddJson("[");
}

}  // namespace qxlt
