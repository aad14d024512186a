#include "Table.h"

#include <algorithm>

#include "Text.h"

namespace qxlt {

namespace {

using Row = std::vector<std::string>;

std::vector<std::string> AlignedLines(const std::vector<Row>& rows, std::size_t texts) {
    std::vector<std::size_t> widths(rows.front().size());
    for (const Row& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], CharactersOf(row[i]));
    }
    std::vector<std::string> lines;
    for (const Row& row : rows) {
        std::string& line = lines.emplace_back(Pad(row.front(), widths.front()));
        for (std::size_t i = 1; i < row.size(); ++i) {
            const bool isText = i >= row.size() - texts;
            line += "  " + (isText ? row[i] : RightAligned(row[i], widths[i]));
        }
    }
    return lines;
}

}  // namespace

// What is 0 of the numbers says least, and is left out.
std::vector<std::string> RowLines(const Row& titles, const Row& row) {
    std::size_t width = 0;
    for (const std::string& title : titles) width = std::max(width, CharactersOf(title));
    std::vector<std::string> lines = {titles.front() + " " + row.front()};
    for (std::size_t i = 1; i < row.size(); ++i) {
        if (row[i] != "0") lines.push_back("  " + Pad(titles[i], width) + "  " + row[i]);
    }
    return lines;
}

std::vector<std::string> TableLines(const std::vector<Row>& rows, std::size_t width, std::size_t texts) {
    std::vector<std::string> lines = AlignedLines(rows, texts);
    const auto isWider = [width](const std::string& line) { return CharactersOf(line) > width; };
    if (width == 0 || std::none_of(lines.begin(), lines.end(), isWider)) return lines;
    lines.clear();
    for (std::size_t i = 1; i < rows.size(); ++i) {
        const std::vector<std::string> cells = RowLines(rows.front(), rows[i]);
        lines.insert(lines.end(), cells.begin(), cells.end());
    }
    return lines;
}

}  // namespace qxlt
