#include "LineLayout.h"

#include <algorithm>

#include "Text.h"

namespace qxlt {

namespace {

constexpr std::size_t kGap = 2;
constexpr std::size_t kLeastRest = 24;   // for the last column, the call, before others are left out for it
constexpr std::size_t kNarrowRest = 12;  // and when none can be left out
constexpr std::size_t kMostOfOne = 32;   // of any other column of a terminal
constexpr std::size_t kUsualValue = 8;

const std::vector<Column> kUsual = {Column::Time,    Column::Event,  Column::Value, Column::Duration,
                                    Column::Process, Column::Thread, Column::Call};

// What a narrow terminal does without, first to last.
constexpr Column kDispensable[] = {Column::Duration, Column::Thread, Column::Process};

bool IsNumber(Column column) {
    return column == Column::Time || column == Column::Duration || column == Column::Cycle;
}

std::optional<Column> ColumnOf(const std::string& word) {
    const auto* const found = std::find(std::begin(kColumnNames), std::end(kColumnNames), word);
    if (found == std::end(kColumnNames)) return std::nullopt;
    return static_cast<Column>(found - std::begin(kColumnNames));
}

std::string Painted(Column column, const std::string& text, const Colors& paint) {
    if (column == Column::Event) return paint.Bold(text);
    if (column == Column::Value) return paint.Green(text);
    return column == Column::Call ? text : paint.Dim(text);
}

}  // namespace

std::optional<std::vector<Column>> ReadColumns(const std::string& text) {
    std::vector<Column> columns;
    for (std::size_t from = 0; from <= text.size();) {
        const std::size_t end = std::min(text.find(',', from), text.size());
        const std::optional<Column> column = ColumnOf(text.substr(from, end - from));
        if (!column || std::find(columns.begin(), columns.end(), *column) != columns.end()) return std::nullopt;
        columns.push_back(*column);
        from = end + 1;
    }
    return columns;
}

LineLayout::LineLayout(const std::vector<Column>& columns, std::size_t width)
    : m_columns(columns.empty() ? kUsual : columns), m_isChosen(!columns.empty()), m_width(width) {
    for (std::size_t i = 0; i < kColumns; ++i) m_widths[i] = std::string(kColumnNames[i]).size();
    WidthOf(Column::Value) = kUsualValue;
}

void LineLayout::Reserve(Column column, std::size_t width) {
    WidthOf(column) = std::max(WidthOf(column), m_width == 0 ? width : std::min(width, kMostOfOne));
}

std::size_t LineLayout::WidthBefore(std::size_t place) const {
    std::size_t width = 0;
    for (std::size_t i = 0; i < place; ++i) width += m_widths[static_cast<std::size_t>(m_columns[i])] + kGap;
    return width;
}

// Once left out, a column does not come back: lines would jump.
void LineLayout::MakeRoom() {
    if (m_width == 0 || m_isChosen) return;
    for (const Column column : kDispensable) {
        if (WidthBefore(m_columns.size() - 1) + kLeastRest <= m_width) return;
        Drop(column);
    }
}

void LineLayout::Drop(Column column) {
    m_columns.erase(std::remove(m_columns.begin(), m_columns.end(), column), m_columns.end());
}

// The last column has what the others leave of the line, and needs no blanks behind it.
std::string LineLayout::Cell(std::size_t place, const std::string& text) const {
    const Column column = m_columns[place];
    const std::size_t width = m_widths[static_cast<std::size_t>(column)];
    if (place + 1 < m_columns.size()) {
        const std::string cut = m_width == 0 ? text : Cut(text, width);
        return IsNumber(column) ? RightAligned(cut, width) : Pad(cut, width);
    }
    const std::size_t before = WidthBefore(place);
    return m_width == 0 ? text : Cut(text, std::max(m_width > before ? m_width - before : 0, kNarrowRest));
}

std::string LineLayout::Line(const Cells& cells, const Colors& paint) {
    return Line(cells, [&paint](Column column, const std::string& text) { return Painted(column, text, paint); });
}

std::string LineLayout::Line(const Cells& cells, const CellPaint& paint) {
    for (const Column column : m_columns) {
        if (column != m_columns.back()) Reserve(column, CharactersOf(cells[static_cast<std::size_t>(column)]));
    }
    MakeRoom();
    std::string line;
    for (std::size_t i = 0; i < m_columns.size(); ++i) {
        const std::string cell = Cell(i, cells[static_cast<std::size_t>(m_columns[i])]);
        line += (i == 0 ? "" : std::string(kGap, ' ')) + paint(m_columns[i], cell);
    }
    return line;
}

std::string LineLayout::Header() const {
    std::string line;
    for (std::size_t i = 0; i < m_columns.size(); ++i) {
        line += (i == 0 ? "" : std::string(kGap, ' ')) + Cell(i, kColumnNames[static_cast<std::size_t>(m_columns[i])]);
    }
    return line;
}

}  // namespace qxlt
