#include "Xml.h"

#include <algorithm>
#include <string_view>

#include "Text.h"

namespace qxlt {

namespace {

constexpr std::string_view kBlanks = "\t\r\n";
constexpr std::string_view kControls = "\t\r\n\x7F";

// The control characters from U+0080 to U+009F take two bytes, of which the second one is their number.
bool IsLateControl(const std::string& text, std::size_t at) {
    if (text[at] != '\xC2' || at + 1 == text.size()) return false;
    const auto second = static_cast<unsigned char>(text[at + 1]);
    return second >= 0x80 && second < 0xA0;
}

std::string Reference(char byte) {
    return "&#" + std::to_string(static_cast<unsigned>(static_cast<unsigned char>(byte))) + ";";
}

// U+FFFE and U+FFFF are no characters of a document.
bool HoldsNoCharacter(const std::string& text) {
    return text.find("\xEF\xBF\xBE") != std::string::npos || text.find("\xEF\xBF\xBF") != std::string::npos;
}

}  // namespace

std::string XmlEscaped(const std::string& text) {
    std::string escaped;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const char byte = text[at];
        if (byte == '&') {
            escaped += "&amp;";
        } else if (byte == '<') {
            escaped += "&lt;";
        } else if (byte == '>') {
            escaped += "&gt;";
        } else if (byte == '"') {
            escaped += "&quot;";
        } else if (kControls.find(byte) != std::string_view::npos) {
            escaped += Reference(byte);
        } else if (IsLateControl(text, at)) {
            escaped += Reference(text[++at]);
        } else {
            escaped += byte;
        }
    }
    return escaped;
}

bool IsXmlText(const std::string& text) {
    const auto isControl = [](char byte) {
        return static_cast<unsigned char>(byte) < 0x20 && kBlanks.find(byte) == std::string_view::npos;
    };
    return IsUtf8(text) && !HoldsNoCharacter(text) && std::none_of(text.begin(), text.end(), isControl);
}

}  // namespace qxlt
