// An event's line for a person: columns side by side, as wide as what they hold has been so far.
#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Colors.h"

namespace qxlt {

enum class Column { Time, Event, Value, Duration, Cycle, Process, Thread, Call };
inline constexpr std::size_t kColumns = 8;

// The columns' words, as they head them and are named on the command line, in the order of Column.
inline constexpr const char* kColumnNames[kColumns] = {"time",  "event",   "value",  "took",
                                                       "cycle", "process", "thread", "call"};

// Reads "time,event,call"; nothing when a word is none of a column's, or is there twice.
std::optional<std::vector<Column>> ReadColumns(const std::string& text);

// What a line shows, in the order of Column.
using Cells = std::array<std::string, kColumns>;

// How a cell of that column is painted.
using CellPaint = std::function<std::string(Column, const std::string&)>;

class LineLayout final {
public:
    // No columns: those that are shown unless others are asked for, of which a narrow terminal shows fewer. `width` is
    // that of the terminal; 0: the lines are for no terminal, and whole.
    LineLayout(const std::vector<Column>& columns, std::size_t width);

    // Has the column at least that wide.
    void Reserve(Column column, std::size_t width);

    // Leaves the column out.
    void Drop(Column column);

    // The line, in colours of its own or in these. Columns get wider with what comes.
    std::string Line(const Cells& cells, const CellPaint& paint);
    std::string Line(const Cells& cells, const Colors& paint);

    // The words above the columns, as wide as these are by now.
    std::string Header() const;

private:
    std::size_t& WidthOf(Column column) { return m_widths[static_cast<std::size_t>(column)]; }
    void MakeRoom();
    std::size_t WidthBefore(std::size_t place) const;
    std::string Cell(std::size_t place, const std::string& text) const;

    std::vector<Column> m_columns;
    const bool m_isChosen;  // by the user, who wants all of them
    const std::size_t m_width;
    std::array<std::size_t, kColumns> m_widths;
};

}  // namespace qxlt
