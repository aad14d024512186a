// What a run brought beside what is expected of it.
//
// A line with a count stands for all events that match it, wherever they are; an event that matches several such lines
// counts for the first of them. All other lines are compared in order with what is left.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "ExpectedLine.h"
#include "LineDiff.h"
#include "RunLines.h"

namespace qxlt {

// One of the two is there at least; both when the one most likely came in the place of the other.
struct Difference {
    SharedJson missing;              // what is expected
    SharedJson unexpected;           // what came
    std::vector<std::string> notes;  // what differs, for a person
};

class Comparison final {
public:
    // Both must outlive the comparison.
    Comparison(const std::vector<ExpectedLine>& expected, const RunLines& run);

    // In order, those of counts last. None: all is as expected.
    std::vector<Difference> Differences() const;

    // What to expect from now on: the lines that hold and those with a count as they stand, and for each other line
    // that came one that leaves out what differs from run to run. A line each.
    std::string Updated() const;

private:
    void Share();
    void AddHunk(std::size_t begin, std::size_t end, std::vector<Difference>& differences) const;
    std::map<std::size_t, std::size_t> Pairs(std::size_t begin, std::size_t end) const;
    Difference Missing(const LineStep& step) const;
    Difference Unexpected(const LineStep& step) const;
    Difference Changed(const LineStep& missing, const LineStep& unexpected) const;
    void AddCount(const ExpectedLine& line, const std::vector<std::size_t>& taken,
                  std::vector<Difference>& differences) const;
    const ExpectedLine& Ordered(const LineStep& step) const { return m_expected[m_ordered[step.expected]]; }

    const std::vector<ExpectedLine>& m_expected;
    const RunLines& m_run;
    std::vector<std::size_t> m_ordered;             // the expected lines without a count
    std::vector<std::size_t> m_counting;            // and those with one
    std::vector<std::vector<std::size_t>> m_taken;  // the lines of the run that each of these stands for
    std::vector<Arrival> m_rest;                    // the others
    std::vector<LineStep> m_steps;                  // past m_ordered and m_rest
};

}  // namespace qxlt
