#include "MethodPage.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "Table.h"
#include "Text.h"
#include "TimeFormat.h"

namespace qxlt {

namespace {

using Cells = std::vector<std::string>;

constexpr std::size_t kMessages = 2;

std::string KeysLine() {
    std::string line = "q quit  r reverse  a all since the start  sort:";
    for (const MethodColumnName& column : kMethodColumns) line += std::string(" ") + column.key + " " + column.word;
    return line;
}

std::string SecondsText(double seconds) {
    constexpr double kNs = 1e9;
    return SpanText(static_cast<std::uint64_t>(seconds * kNs));
}

}  // namespace

void MethodPage::AddMessage(std::string text) {
    m_messages.push_back(std::move(text));
    if (m_messages.size() > kMessages) m_messages.pop_front();
}

MethodPage::Answer MethodPage::Press(int key) {
    if (key == 'q') return Answer::Quit;
    const auto* const column =
        std::find_if(std::begin(kMethodColumns), std::end(kMethodColumns),
                     [key](const MethodColumnName& name) { return static_cast<int>(name.key) == key; });
    if (column != std::end(kMethodColumns)) {
        m_order = {column->column, false};
    } else if (key == 'r') {
        m_order.reversed = !m_order.reversed;
    } else if (key == 'a') {
        m_whole = !m_whole;
    } else {
        return Answer::None;
    }
    return Answer::Changed;
}

const MethodSpan* MethodPage::Shown() const {
    if (!m_interval) return nullptr;
    return m_whole ? &m_interval->whole : &m_interval->last;
}

std::string MethodPage::ChoiceLine() const {
    const std::string order = std::string(", by ") + WordOf(m_order.column) + (m_order.reversed ? ", reversed" : "");
    const std::string time = Shown() == nullptr ? "" : " " + SecondsText(Shown()->seconds);
    return (m_whole ? "all" : "the last") + time + order;
}

// The least important rows make room for the line that counts them.
std::vector<std::string> MethodPage::Table(std::size_t width, std::size_t height) const {
    if (Shown() == nullptr) return {"no interval has ended yet"};
    MethodSpan span = *Shown();
    Sort(span.rows, m_order);
    const std::size_t count = span.rows.size();
    const bool fits = count < height;
    if (!fits) span.rows.resize(height - std::min<std::size_t>(height, 2));
    std::vector<Cells> cells = MethodCells(span, m_columns);
    CutNames(cells, width);
    std::vector<std::string> lines = TableLines(cells, 0);
    if (!fits) lines.push_back("and " + Counted(count - span.rows.size(), "more method"));
    return lines;
}

std::vector<std::string> MethodPage::Lines(std::size_t width, std::size_t height) const {
    std::vector<std::string> lines{m_interval ? ProcessesText(*m_interval) : "", ChoiceLine()};
    const std::size_t below = m_messages.size() + 1;
    const std::size_t room = height - std::min(height, kTitleLine + below);
    for (std::string& line : Table(width, room)) lines.push_back(std::move(line));
    lines.resize(kTitleLine + room);
    lines.insert(lines.end(), m_messages.begin(), m_messages.end());
    lines.push_back(KeysLine());
    lines.resize(height);
    for (std::string& line : lines) line = Cut(line, width);
    return lines;
}

}  // namespace qxlt
