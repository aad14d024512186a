#include "RunLines.h"

#include <limits>

#include "Json.h"
#include "Text.h"

namespace qxlt {

void RunLines::Add(SharedJson line) {
    m_lines.push_back(std::move(line));
    const std::optional<std::uint64_t> time = TimeOf(Size() - 1);
    if (time) m_moments[JsonText(*m_lines.back(), "event")].insert({*time, Size() - 1});
}

std::optional<std::uint64_t> RunLines::TimeOf(std::size_t line) const {
    const JsonObject& object = *m_lines[line];
    const auto call = object.find("call");
    if (call == object.end() || !call->is_object()) return std::nullopt;
    const auto time = call->find("time");
    if (time == call->end() || !time->is_number_unsigned()) return std::nullopt;
    return time->get<std::uint64_t>();
}

std::optional<std::uint64_t> RunLines::SinceEvent(const std::string& name, std::size_t line) const {
    const std::optional<std::uint64_t> time = TimeOf(line);
    const auto moments = m_moments.find(name);
    if (!time || moments == m_moments.end()) return std::nullopt;
    const std::set<Moment>& times = moments->second;
    auto latest = times.upper_bound({*time, std::numeric_limits<std::size_t>::max()});
    // The line itself is no other one.
    do {
        if (latest == times.begin()) return std::nullopt;
        --latest;
    } while (latest->second == line);
    return *time - latest->first;
}

std::string JsonText(const JsonObject& object, const std::string& key) {
    for (const bool isHex : {true, false}) {
        const auto found = object.find(isHex ? key + "Hex" : key);
        if (found == object.end() || !found->is_string()) continue;
        const auto& text = found->get_ref<const std::string&>();
        return isHex ? Unhex(text) : text;
    }
    return std::string();
}

}  // namespace qxlt
