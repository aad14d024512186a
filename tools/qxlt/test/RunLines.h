// What a run brought, line by line: its events and what was wrong in its input.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "JsonFwd.h"

namespace qxlt {

class RunLines final {
public:
    void Add(SharedJson line);

    std::size_t Size() const { return m_lines.size(); }
    const SharedJson& operator[](std::size_t line) const { return m_lines[line]; }

    // When the line's call began; nothing for what is no event.
    std::optional<std::uint64_t> TimeOf(std::size_t line) const;

    // How long before that line's call the one of the latest other event of that name began: wherever its line stands,
    // since calls of several processes and cycles do not come in the order of their times. Nothing when there is none.
    std::optional<std::uint64_t> SinceEvent(const std::string& name, std::size_t line) const;

private:
    using Moment = std::pair<std::uint64_t, std::size_t>;  // a time, and the line

    std::vector<SharedJson> m_lines;
    std::map<std::string, std::set<Moment>> m_moments;  // by the event's name
};

// The text under a key: its bytes where it is not UTF-8. Empty when there is none.
std::string JsonText(const JsonObject& object, const std::string& key);

}  // namespace qxlt
