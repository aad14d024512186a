// Tables of methods as they are printed.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "MethodInterval.h"
#include "MethodRow.h"

namespace qxlt {

// Which columns there are besides the usual ones.
struct MethodColumns {
    bool calls = false;   // how many there were, besides how many in a second
    bool errors = false;  // those that patterns name
};

// The cells of a table, its titles in the first row. The process is told where there are several.
std::vector<std::vector<std::string>> MethodCells(const MethodSpan& span, const MethodColumns& columns);

// Cuts the names of methods, down to a few letters, so that the table is no wider than that.
void CutNames(std::vector<std::vector<std::string>>& cells, std::size_t width);

// The table's lines for a terminal that wide, where names give way, or where they are not enough see TableLines; for 0
// they are whole.
std::vector<std::string> MethodLines(const MethodSpan& span, const MethodColumns& columns, std::size_t width);

// Those that were called.
MethodSpan CalledOf(const MethodSpan& span);

// "media-server 218.0 calls/s, 0 lost; player 3.5 calls/s, 12 lost".
std::string ProcessesText(const MethodInterval& interval);

// A row in JSON: of an interval, and of all there is, which has values.
std::string IntervalLine(const MethodInterval& interval, const MethodRow& row);
std::string WholeLine(const MethodSpan& span, const MethodRow& row);

// The lines of a table of values, cut to that width unless it is 0; empty: there are none.
std::vector<std::string> ValueLines(const std::vector<MethodRow>& rows, std::size_t width);

}  // namespace qxlt
