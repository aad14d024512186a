// What stands on the screen of a live table, as lines of text, and what keys do to it.
#pragma once

#include <cstddef>
#include <deque>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "MethodInterval.h"
#include "MethodOrder.h"
#include "MethodTable.h"

namespace qxlt {

// The processes, what is shown, a table, the last messages, and the keys.
class MethodPage final {
public:
    static constexpr std::size_t kTitleLine = 2;  // where the words stand that head the table

    MethodPage(const MethodOrder& order, const MethodColumns& columns) : m_order(order), m_columns(columns) {}

    void Show(MethodInterval interval) { m_interval = std::move(interval); }

    // A line that somebody wrote on standard error.
    void AddMessage(std::string text);

    enum class Answer { None, Changed, Quit };

    // What a key asks for.
    Answer Press(int key);

    // Exactly `height` lines, none wider than `width`. Requires: neither is 0.
    std::vector<std::string> Lines(std::size_t width, std::size_t height) const;

private:
    const MethodSpan* Shown() const;
    std::string ChoiceLine() const;
    std::vector<std::string> Table(std::size_t width, std::size_t height) const;

    MethodOrder m_order;
    const MethodColumns m_columns;
    bool m_whole = false;  // since the beginning
    std::optional<MethodInterval> m_interval;
    std::deque<std::string> m_messages;
};

}  // namespace qxlt
