#include "QxConversions.h"

#include <cstdint>

void split(std::string text, std::string delimiter, std::vector<std::string>& out) {
    std::size_t start = 0;
    while (start < text.size()) {
        const std::size_t end = text.find(delimiter, start);
        out.push_back(text.substr(start, end - start));
        if (end == std::string::npos) return;
        start = end + delimiter.size();
    }
}

std::string qxconversions::ToText(std::string raw) {
    for (char& byte : raw) byte = static_cast<char>(static_cast<unsigned char>(byte) - 1);
    return raw;
}

std::string qxconversions::ToNumber(const std::string& raw) {
    std::uint32_t number = 0;
    std::uint32_t multiplier = 1;
    for (const char byte : raw) {
        number += static_cast<std::uint8_t>(byte - 1) * multiplier;
        multiplier <<= 8;
    }
    return std::to_string(static_cast<std::int32_t>(number));
}
