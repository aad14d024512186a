#include "Xml.h"

#include <algorithm>
#include <string_view>

#include "Text.h"

namespace qxlt {

namespace {

constexpr std::string_view kBlanks = "\t\r\n";

// U+FFFE and U+FFFF are no characters of a document.
bool HoldsNoCharacter(const std::string& text) {
    return text.find("\xEF\xBF\xBE") != std::string::npos || text.find("\xEF\xBF\xBF") != std::string::npos;
}

}  // namespace

std::string XmlEscaped(const std::string& text) {
    std::string escaped;
    for (const char byte : text) {
        if (byte == '&') {
            escaped += "&amp;";
        } else if (byte == '<') {
            escaped += "&lt;";
        } else if (byte == '>') {
            escaped += "&gt;";
        } else if (byte == '"') {
            escaped += "&quot;";
        } else if (kBlanks.find(byte) != std::string_view::npos) {
            escaped += "&#" + std::to_string(static_cast<int>(byte)) + ";";
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
