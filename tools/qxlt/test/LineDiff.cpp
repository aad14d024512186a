#include "LineDiff.h"

#include <algorithm>
#include <cstdint>

namespace qxlt {

namespace {

using Kind = LineStep::Kind;

constexpr std::size_t kMaxTable = 4'000'000;  // entries; larger differences are not aligned

// The longest alignment of what is left of both sides, as the classic table of lengths.
class Alignment final {
public:
    Alignment(const LineMatch& matches, std::size_t begin, std::size_t expectedEnd, std::size_t actualEnd)
        : m_matches(matches),
          m_begin(begin),
          m_expectedEnd(expectedEnd),
          m_actualEnd(actualEnd),
          m_width(actualEnd - begin + 1),
          m_aligns((expectedEnd - begin + 1) <= kMaxTable / m_width) {
        if (m_aligns) Fill();
    }

    void Walk(std::vector<LineStep>& steps) const {
        std::size_t e = m_begin;
        std::size_t a = m_begin;
        while (e < m_expectedEnd || a < m_actualEnd) {
            if (m_aligns && e < m_expectedEnd && a < m_actualEnd && m_matches(e, a)) {
                steps.push_back({Kind::Same, e++, a++});
            } else if (e < m_expectedEnd && (a == m_actualEnd || !m_aligns || Length(e + 1, a) >= Length(e, a + 1))) {
                steps.push_back({Kind::Missing, e++, a});
            } else {
                steps.push_back({Kind::Unexpected, e, a++});
            }
        }
    }

private:
    std::uint32_t& At(std::size_t e, std::size_t a) { return m_lengths[(e - m_begin) * m_width + (a - m_begin)]; }
    std::uint32_t Length(std::size_t e, std::size_t a) const {
        return m_lengths[(e - m_begin) * m_width + (a - m_begin)];
    }

    void Fill() {
        m_lengths.resize((m_expectedEnd - m_begin + 1) * m_width);
        for (std::size_t e = m_expectedEnd; e-- > m_begin;) {
            for (std::size_t a = m_actualEnd; a-- > m_begin;) {
                At(e, a) = m_matches(e, a) ? Length(e + 1, a + 1) + 1 : std::max(Length(e + 1, a), Length(e, a + 1));
            }
        }
    }

    const LineMatch& m_matches;
    const std::size_t m_begin;
    const std::size_t m_expectedEnd;
    const std::size_t m_actualEnd;
    const std::size_t m_width;
    const bool m_aligns;
    std::vector<std::uint32_t> m_lengths;
};

}  // namespace

// Lines at both ends that match need no table.
std::vector<LineStep> Align(std::size_t expected, std::size_t actual, const LineMatch& matches) {
    std::vector<LineStep> steps;
    std::size_t begin = 0;
    for (; begin < std::min(expected, actual) && matches(begin, begin); ++begin) {
        steps.push_back({Kind::Same, begin, begin});
    }
    std::size_t e = expected;
    std::size_t a = actual;
    for (; std::min(e, a) > begin && matches(e - 1, a - 1); --e) --a;
    Alignment(matches, begin, e, a).Walk(steps);
    while (e < expected) steps.push_back({Kind::Same, e++, a++});
    return steps;
}

}  // namespace qxlt
