// Metrics in Prometheus' text form: families with their samples.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qxlt {

class MetricsText final {
public:
    using Labels = std::vector<std::pair<std::string, std::string>>;

    // Each sample has these labels, too.
    explicit MetricsText(Labels common) : m_common(std::move(common)) {}

    // What is added from now on is of that family. One whose name ends in _total is a counter, any other a gauge,
    // unless a type is given. `name` is one already.
    void Family(std::string_view name, std::string_view help, std::string_view type = "");

    void Add(const Labels& labels, std::uint64_t value) { AddLine("", labels, std::to_string(value)); }
    void Add(const Labels& labels, std::chrono::nanoseconds seconds) { AddLine("", labels, SecondsText(seconds)); }

    // The same of a family that has samples of several names.
    void AddOf(const char* suffix, std::uint64_t value) { AddLine(suffix, {}, std::to_string(value)); }
    void AddOf(const char* suffix, std::chrono::nanoseconds seconds) { AddLine(suffix, {}, SecondsText(seconds)); }

    const std::string& Text() const { return m_text; }

private:
    static std::string SecondsText(std::chrono::nanoseconds span);
    void AddLine(const char* suffix, const Labels& labels, const std::string& value);
    void AddLabels(const Labels& labels, char& separator);

    const Labels m_common;
    std::string m_family;
    std::string m_text;
};

}  // namespace qxlt
