#include "Comparison.h"

#include <algorithm>
#include <deque>
#include <map>
#include <set>
#include <utility>

#include "Json.h"
#include "KeyDifferences.h"
#include "Text.h"

namespace qxlt {

namespace {

using Kind = LineStep::Kind;

// What differs from run to run and from machine to machine.
constexpr const char* kFleeting[] = {"key",        "pid",    "tid",       "locId", "time",    "exitTime",
                                     "process_id", "thread", "threadHex", "wall",  "duration"};

std::string WithoutFleeting(const JsonObject& line) {
    JsonObject lean = line;
    const auto call = lean.find("call");
    if (call != lean.end() && call->is_object()) {
        for (const char* const key : kFleeting) call->erase(key);
    }
    return lean.dump();
}

// What a line is about, by which one that is missing and one that came are taken for the same.
std::string SubjectOf(const JsonObject& line) {
    for (const char* const kind : {"event", "error", "damaged"}) {
        if (line.contains(kind)) return kind + std::string(" ") + JsonText(line, kind);
    }
    return std::string();
}

}  // namespace

Comparison::Comparison(const std::vector<ExpectedLine>& expected, const RunLines& run)
    : m_expected(expected), m_run(run) {
    for (std::size_t i = 0; i < expected.size(); ++i) (expected[i].Count() ? m_counting : m_ordered).push_back(i);
    m_taken.resize(m_counting.size());
    Share();
    m_steps = Align(m_ordered.size(), m_rest.size(), [this](std::size_t e, std::size_t a) {
        return m_expected[m_ordered[e]].Matches(m_run, m_rest[a]);
    });
}

void Comparison::Share() {
    std::optional<std::size_t> before;
    for (std::size_t line = 0; line < m_run.Size(); ++line) {
        const auto counting = std::find_if(m_counting.begin(), m_counting.end(), [&](std::size_t expected) {
            return m_expected[expected].Matches(m_run, {line, std::nullopt});
        });
        if (counting != m_counting.end()) {
            m_taken[static_cast<std::size_t>(counting - m_counting.begin())].push_back(line);
            continue;
        }
        m_rest.push_back({line, before});
        if (m_run.TimeOf(line)) before = line;
    }
}

std::vector<Difference> Comparison::Differences() const {
    std::vector<Difference> differences;
    for (std::size_t begin = 0; begin < m_steps.size();) {
        std::size_t end = begin;
        while (end < m_steps.size() && m_steps[end].kind != Kind::Same) ++end;
        AddHunk(begin, end, differences);
        begin = end + 1;
    }
    for (std::size_t i = 0; i < m_counting.size(); ++i) AddCount(m_expected[m_counting[i]], m_taken[i], differences);
    return differences;
}

// Between two lines that are as expected: of those of one subject the first that is missing came as the first that is
// not expected, and so on.
void Comparison::AddHunk(std::size_t begin, std::size_t end, std::vector<Difference>& differences) const {
    const std::map<std::size_t, std::size_t> cameAs = Pairs(begin, end);
    std::set<std::size_t> paired;
    for (const auto& [missing, unexpected] : cameAs) paired.insert(unexpected);
    for (std::size_t i = begin; i < end; ++i) {
        const auto came = cameAs.find(i);
        if (came != cameAs.end()) {
            differences.push_back(Changed(m_steps[i], m_steps[came->second]));
        } else if (paired.count(i) == 0) {
            differences.push_back(m_steps[i].kind == Kind::Missing ? Missing(m_steps[i]) : Unexpected(m_steps[i]));
        }
    }
}

std::map<std::size_t, std::size_t> Comparison::Pairs(std::size_t begin, std::size_t end) const {
    std::map<std::string, std::deque<std::size_t>> missing;
    for (std::size_t i = begin; i < end; ++i) {
        if (m_steps[i].kind == Kind::Missing) missing[SubjectOf(Ordered(m_steps[i]).Keys())].push_back(i);
    }
    std::map<std::size_t, std::size_t> pairs;
    for (std::size_t i = begin; i < end; ++i) {
        if (m_steps[i].kind != Kind::Unexpected) continue;
        std::deque<std::size_t>& candidates = missing[SubjectOf(*m_run[m_rest[m_steps[i].actual].line])];
        if (candidates.empty()) continue;
        pairs[candidates.front()] = i;
        candidates.pop_front();
    }
    return pairs;
}

Difference Comparison::Missing(const LineStep& step) const {
    return {Ordered(step).Whole(), nullptr, {}};
}

Difference Comparison::Unexpected(const LineStep& step) const {
    return {nullptr, m_run[m_rest[step.actual].line], {}};
}

Difference Comparison::Changed(const LineStep& missing, const LineStep& unexpected) const {
    const ExpectedLine& expected = Ordered(missing);
    const Arrival& arrival = m_rest[unexpected.actual];
    Difference difference = {expected.Whole(), m_run[arrival.line],
                             KeyDifferences(expected.Keys(), *m_run[arrival.line])};
    const std::string lateness = expected.LatenessOf(m_run, arrival);
    if (!lateness.empty()) difference.notes.push_back(lateness);
    // Of columns that are too long to be set side by side.
    if (difference.notes.empty()) difference.notes.emplace_back("came in another place");
    return difference;
}

void Comparison::AddCount(const ExpectedLine& line, const std::vector<std::size_t>& taken,
                          std::vector<Difference>& differences) const {
    const CountRule& rule = *line.Count();
    const std::string note = "count: " + Counted(taken.size(), "event") + " came, expected " + rule.Text();
    if (taken.size() < rule.min) differences.push_back({line.Whole(), nullptr, {note}});
    for (std::uint64_t i = rule.max; i < taken.size(); ++i) {
        differences.push_back({nullptr, m_run[taken[static_cast<std::size_t>(i)]], {}});
        if (i == rule.max) differences.back().notes.push_back(note);
    }
}

std::string Comparison::Updated() const {
    std::string text;
    auto counting = m_counting.begin();
    const auto addCountsBefore = [&](std::size_t expected) {
        for (; counting != m_counting.end() && *counting < expected; ++counting) {
            text += m_expected[*counting].Text() + "\n";
        }
    };
    for (const LineStep& step : m_steps) {
        if (step.kind != Kind::Unexpected) addCountsBefore(m_ordered[step.expected]);
        if (step.kind == Kind::Same) text += Ordered(step).Text() + "\n";
        if (step.kind == Kind::Unexpected) text += WithoutFleeting(*m_run[m_rest[step.actual].line]) + "\n";
    }
    addCountsBefore(m_expected.size());
    return text;
}

}  // namespace qxlt
