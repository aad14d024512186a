#include "MetricsText.h"

#include "Text.h"

namespace qxlt {

namespace {

constexpr std::string_view kCounter = "_total";

bool IsCounter(std::string_view name) {
    return name.size() > kCounter.size() && name.substr(name.size() - kCounter.size()) == kCounter;
}

// Label values are UTF-8 with three escapes.
std::string Escaped(const std::string& text) {
    std::string escaped;
    for (const char c : ReplaceInvalid(text)) {
        if (c == '\\' || c == '"') escaped += '\\';
        escaped += c == '\n' ? std::string("\\n") : std::string(1, c);
    }
    return escaped;
}

}  // namespace

void MetricsText::Family(std::string_view name, std::string_view help, std::string_view type) {
    m_family = name;
    if (type.empty()) type = IsCounter(name) ? "counter" : "gauge";
    m_text.append("# HELP ").append(name).append(" ").append(help).append("\n");
    m_text.append("# TYPE ").append(name).append(" ").append(type).append("\n");
}

// Not as a floating-point number: its decimal sign depends on the language, and its digits end too soon.
std::string MetricsText::SecondsText(std::chrono::nanoseconds span) {
    const auto ns = static_cast<std::uint64_t>(span.count());
    const std::string fraction = std::to_string(ns % 1000000000);
    return std::to_string(ns / 1000000000) + "." + std::string(9 - fraction.size(), '0') + fraction;
}

void MetricsText::AddLine(const char* suffix, const Labels& labels, const std::string& value) {
    m_text += m_family + suffix;
    char separator = '{';
    AddLabels(m_common, separator);
    AddLabels(labels, separator);
    m_text += (separator == '{' ? " " : "} ") + value + "\n";
}

void MetricsText::AddLabels(const Labels& labels, char& separator) {
    for (const auto& [name, value] : labels) {
        m_text += separator + name + "=\"" + Escaped(value) + "\"";
        separator = ',';
    }
}

}  // namespace qxlt
