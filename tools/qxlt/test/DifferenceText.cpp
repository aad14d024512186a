#include "DifferenceText.h"

#include <algorithm>
#include <array>

#include "EventCells.h"
#include "Json.h"
#include "LineLayout.h"
#include "Text.h"

namespace qxlt {

namespace {

constexpr std::size_t kMark = 2;  // of the characters before a line

class DifferenceTable final {
public:
    DifferenceTable(std::optional<std::uint64_t> start, const Colors& paint, std::size_t width)
        : m_start(start), m_paint(paint), m_layout({}, width > kMark ? width - kMark : width) {}

    // Columns have the room that they need for this one, too.
    void Measure(const Difference& difference) {
        for (const SharedJson& line : {difference.missing, difference.unexpected}) {
            if (line == nullptr || !IsEvent(*line)) continue;
            const Cells cells = CellsOf(*line, m_start);
            for (std::size_t i = 0; i < kColumns; ++i) m_widths[i] = std::max(m_widths[i], CharactersOf(cells[i]));
        }
    }

    // Columns that nothing stands in are left out. Requires: all were measured.
    void Lay() {
        for (std::size_t i = 0; i < kColumns; ++i) {
            const auto column = static_cast<Column>(i);
            if (m_widths[i] == 0) m_layout.Drop(column);
            if (column != Column::Call) m_layout.Reserve(column, m_widths[i]);
        }
    }

    void Add(const Difference& difference, std::vector<std::string>& lines) {
        if (difference.missing != nullptr) lines.push_back(Line(difference, difference.missing));
        if (difference.unexpected != nullptr) lines.push_back(Line(difference, difference.unexpected));
        for (const std::string& note : difference.notes) lines.push_back(std::string(kMark, ' ') + Printable(note));
    }

private:
    std::string Line(const Difference& difference, const SharedJson& line) {
        const bool isMissing = line == difference.missing;
        const auto paint = [this, isMissing](const std::string& text) {
            return isMissing ? m_paint.Red(text) : m_paint.Green(text);
        };
        const std::string mark = isMissing ? "- " : "+ ";
        if (!IsEvent(*line)) return paint(mark + FaultText(*line));
        const std::array<bool, kColumns> differs = DifferingCells(difference);
        const std::string text = m_layout.Line(CellsOf(*line, m_start), [&](Column column, const std::string& cell) {
            return differs[static_cast<std::size_t>(column)] ? paint(cell) : cell;
        });
        return paint(mark) + text.substr(0, text.find_last_not_of(' ') + 1);
    }

    // What an expected line leaves out does not differ.
    std::array<bool, kColumns> DifferingCells(const Difference& difference) const {
        const bool isPair = difference.missing != nullptr && difference.unexpected != nullptr;
        const Cells expected = isPair ? CellsOf(*difference.missing, m_start) : Cells();
        const Cells actual = isPair ? CellsOf(*difference.unexpected, m_start) : Cells();
        std::array<bool, kColumns> differs{};
        for (std::size_t i = 0; i < kColumns; ++i) {
            differs[i] = !isPair || (!expected[i].empty() && expected[i] != actual[i]);
        }
        return differs;
    }

    const std::optional<std::uint64_t> m_start;
    const Colors& m_paint;
    LineLayout m_layout;
    std::array<std::size_t, kColumns> m_widths{};
};

}  // namespace

std::vector<std::string> DifferenceLines(const std::vector<Difference>& differences, std::size_t most,
                                         std::optional<std::uint64_t> start, const Colors& paint, std::size_t width) {
    const std::size_t shown = std::min(differences.size(), most);
    DifferenceTable table(start, paint, width);
    for (std::size_t i = 0; i < shown; ++i) table.Measure(differences[i]);
    table.Lay();
    std::vector<std::string> lines;
    for (std::size_t i = 0; i < shown; ++i) table.Add(differences[i], lines);
    if (shown < differences.size()) lines.push_back("and " + std::to_string(differences.size() - shown) + " more");
    return lines;
}

}  // namespace qxlt
