// Tables of numbers as a person reads them.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace qxlt {

// A table's lines: the first cell of each row to the left, the others to the right. Where that is wider than `width`,
// each row becomes lines of its own, one for each cell with its title but for numbers that are 0. The first row has the
// titles; the last `texts` cells of each row hold texts, which stand to the left. A width of 0 is any. Requires: all
// rows are equally long.
std::vector<std::string> TableLines(const std::vector<std::vector<std::string>>& rows, std::size_t width,
                                    std::size_t texts = 0);

// The lines of one such row.
std::vector<std::string> RowLines(const std::vector<std::string>& titles, const std::vector<std::string>& row);

}  // namespace qxlt
