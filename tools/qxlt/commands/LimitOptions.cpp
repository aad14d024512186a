#include "LimitOptions.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <system_error>
#include <utility>
#include <vector>

#include "LiveRun.h"

namespace qxlt {

namespace {

constexpr std::pair<const char*, std::chrono::seconds> kUnits[] = {
    {"/s", std::chrono::seconds(1)}, {"/min", std::chrono::minutes(1)}, {"/h", std::chrono::hours(1)}};

std::optional<Rate> ReadRate(const std::string& text) {
    Rate rate;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, rate.most);
    if (error != std::errc() || rate.most == 0) return std::nullopt;
    const std::string unit(rest, end);
    for (const auto& [name, interval] : kUnits) {
        if (unit != name) continue;
        rate.interval = interval;
        return rate;
    }
    return std::nullopt;
}

}  // namespace

// Names of events may hold a '=', rates do not.
std::optional<EventLimit> ReadLimit(const std::string& text) {
    const std::size_t end = text.rfind('=');
    if (end == 0) return std::nullopt;
    const bool hasName = end != std::string::npos;
    const std::optional<Rate> rate = ReadRate(hasName ? text.substr(end + 1) : text);
    if (!rate) return std::nullopt;
    return EventLimit{hasName ? text.substr(0, end) : "", *rate};
}

void AddLimitOptions(CLI::App& command, RunOptions& options) {
    const auto read = [&options](const std::vector<std::string>& texts) {
        for (const std::string& text : texts) {
            std::optional<EventLimit> limit = ReadLimit(text);
            if (!limit) {
                throw CLI::ValidationError("--at-most: \"" + text +
                                           "\" is no rate; write 10/min or EVENT=10/min, per s, min or h");
            }
            options.limits.push_back(std::move(*limit));
        }
    };
    command
        .add_option_function<std::vector<std::string>>(
            "--at-most", read, "Hand on so many events of each name, or of such a name, and count the others")
        ->allow_extra_args(false)
        ->option_text("[EVENT=]NUMBER/s|min|h");
}

}  // namespace qxlt
