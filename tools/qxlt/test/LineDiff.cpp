#include "LineDiff.h"

#include <algorithm>
#include <cstdint>

#include "Json.h"

namespace qxlt {

namespace {

using Lines = std::vector<JsonObject>;

constexpr std::size_t kMaxTable = 4'000'000;  // entries; larger differences are not aligned

// The longest alignment of what is left of both sides, as the classic table of lengths.
class Alignment final {
public:
    Alignment(const Lines& expected, const Lines& actual, std::size_t begin, std::size_t expectedEnd,
              std::size_t actualEnd)
        : m_expected(expected),
          m_actual(actual),
          m_begin(begin),
          m_expectedEnd(expectedEnd),
          m_actualEnd(actualEnd),
          m_width(actualEnd - begin + 1),
          m_aligns((expectedEnd - begin + 1) <= kMaxTable / m_width) {
        if (m_aligns) Fill();
    }

    std::vector<DiffLine> Walk() const {
        std::vector<DiffLine> diff;
        std::size_t e = m_begin;
        std::size_t a = m_begin;
        while (e < m_expectedEnd || a < m_actualEnd) {
            if (m_aligns && e < m_expectedEnd && a < m_actualEnd && IsExpected(m_expected[e], m_actual[a])) {
                ++e;
                ++a;
            } else if (e < m_expectedEnd && (a == m_actualEnd || !m_aligns || Length(e + 1, a) >= Length(e, a + 1))) {
                diff.push_back({DiffLine::Kind::Missing, Shared(m_expected[e++])});
            } else {
                diff.push_back({DiffLine::Kind::Unexpected, Shared(m_actual[a++])});
            }
        }
        return diff;
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
                At(e, a) = IsExpected(m_expected[e], m_actual[a]) ? Length(e + 1, a + 1) + 1
                                                                  : std::max(Length(e + 1, a), Length(e, a + 1));
            }
        }
    }

    const Lines& m_expected;
    const Lines& m_actual;
    const std::size_t m_begin;
    const std::size_t m_expectedEnd;
    const std::size_t m_actualEnd;
    const std::size_t m_width;
    const bool m_aligns;
    std::vector<std::uint32_t> m_lengths;
};

}  // namespace

bool IsExpected(const JsonObject& expected, const JsonObject& actual) {
    if (expected.is_array() && actual.is_array()) {
        return std::equal(expected.begin(), expected.end(), actual.begin(), actual.end(), IsExpected);
    }
    if (!expected.is_object() || !actual.is_object()) return expected == actual;
    for (const auto& [key, value] : expected.items()) {
        if (key == "key") continue;
        const auto found = actual.find(key);
        if (found == actual.end() || !IsExpected(value, *found)) return false;
    }
    return true;
}

// Equal lines at both ends need no table.
std::vector<DiffLine> Diff(const Lines& expected, const Lines& actual) {
    std::size_t begin = 0;
    std::size_t expectedEnd = expected.size();
    std::size_t actualEnd = actual.size();
    while (begin < std::min(expectedEnd, actualEnd) && IsExpected(expected[begin], actual[begin])) ++begin;
    while (std::min(expectedEnd, actualEnd) > begin && IsExpected(expected[expectedEnd - 1], actual[actualEnd - 1])) {
        --expectedEnd;
        --actualEnd;
    }
    return Alignment(expected, actual, begin, expectedEnd, actualEnd).Walk();
}

}  // namespace qxlt
