#include "QxFileName.h"

#include <cstdio>
#include <cstdlib>

namespace qxhost {

namespace {

constexpr std::size_t kMaxEscapedSize = 180;

bool IsPlain(char c, bool isFirst) {
    if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9')) return true;
    return c == '_' || c == '-' || (c == '.' && !isFirst);
}

std::string Hex(std::uint64_t value, int digits) {
    char text[20];
    std::snprintf(text, sizeof(text), "%0*llX", digits, static_cast<unsigned long long>(value));
    return text;
}

std::uint64_t Checksum(const std::string& text) {
    std::uint64_t sum = 14695981039346656037ULL;
    for (const char c : text) sum = (sum ^ static_cast<unsigned char>(c)) * 1099511628211ULL;
    return sum;
}

// Of a name that is too long the beginning, in whole characters, and what tells it from others.
std::string Escape(const std::string& name) {
    constexpr std::size_t kMaxBeginning = kMaxEscapedSize - 20;
    std::string escaped;
    std::size_t beginning = 0;
    for (const char c : name) {
        if (IsPlain(c, escaped.empty()))
            escaped += c;
        else
            escaped += "%" + Hex(static_cast<unsigned char>(c), 2);
        if (escaped.size() <= kMaxBeginning) beginning = escaped.size();
    }
    if (escaped.size() <= kMaxEscapedSize) return escaped;
    return escaped.substr(0, beginning) + "~" + Hex(Checksum(name), 16);
}

bool Unescape(const std::string& escaped, std::string& name) {
    name.clear();
    for (std::size_t i = 0; i < escaped.size(); ++i) {
        if (escaped[i] != '%') {
            name += escaped[i];
            continue;
        }
        if (escaped.size() - i < 3) return false;
        char* end = nullptr;
        const std::string digits = escaped.substr(i + 1, 2);
        name += static_cast<char>(std::strtoul(digits.c_str(), &end, 16));
        if (*end != '\0') return false;
        i += 2;
    }
    return true;
}

// Cuts the text after the last dot off into `tail`.
bool CutTail(std::string& text, std::string& tail) {
    const std::size_t dot = text.rfind('.');
    if (dot == std::string::npos) return false;
    tail = text.substr(dot + 1);
    text.resize(dot);
    return true;
}

bool CutNumber(std::string& text, std::uint64_t& number) {
    std::string digits;
    if (!CutTail(text, digits) || digits.empty() || digits.size() > 19) return false;
    if (digits.find_first_not_of("0123456789") != std::string::npos) return false;
    number = std::strtoull(digits.c_str(), nullptr, 10);
    return true;
}

}  // namespace

std::string QxFileName::ToString() const {
    return Escape(name) + "." + std::to_string(pid) + "." + std::to_string(startTime) + "." + suffix;
}

bool QxFileName::Parse(const std::string& fileName, QxFileName& result) {
    std::string rest = fileName;
    std::uint64_t pid = 0;
    if (!CutTail(rest, result.suffix) || !CutNumber(rest, result.startTime) || !CutNumber(rest, pid)) return false;
    if (pid > 0x7FFFFFFF) return false;
    result.pid = static_cast<pid_t>(pid);
    return Unescape(rest, result.name);
}

}  // namespace qxhost
