// What became of the calls that one event of a script was evaluated for.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "IQxEventObserver.h"
#include "Nearest.h"
#include "QxEventWords.h"

namespace qxlt {

// How many of the evaluated calls came at least so far.
struct Funnel {
    std::uint64_t method;     // evaluated at all
    std::uint64_t value;      // had the value
    std::uint64_t filter;     // contained the filter text
    std::uint64_t keyword;    // were the keyword
    std::uint64_t condition;  // changed, or fulfilled the condition
    std::uint64_t edge;       // and had not fulfilled it before
    std::uint64_t fired;
    std::uint64_t errors;
};

// Why calls did not fire.
struct Reason {
    std::string text;         // empty: there is none
    std::uint64_t calls = 0;  // that it holds for
    std::vector<std::string> nearest;

    // All of it on one line.
    std::string Line() const;
};

// The condition of an event as its attributes say it; fit for a terminal.
std::string ConditionText(const QxEventWords& words);

class EventRecord final {
public:
    // `event` must outlive the record.
    explicit EventRecord(const IQxData::_HSScriptPtr& event) : m_event(event), m_words(event) {}

    const IQxData::_HSScriptPtr& Event() const { return m_event; }

    void Count(QxOutcome outcome, const std::string& argument);
    void CountError(QxStage stage) { ++m_errors[static_cast<std::size_t>(stage)]; }

    Funnel Stages() const;

    // The reason that holds for most of the calls that did not fire.
    Reason MainReason() const;

    // What a branch or an error of the evaluation means for this event; fit for a terminal.
    std::string DecisionText(QxOutcome outcome) const;
    std::string ErrorText(QxStage stage) const;

private:
    static constexpr std::size_t kOutcomes = static_cast<std::size_t>(QxOutcome::Fires) + 1;

    static constexpr std::size_t kStages = static_cast<std::size_t>(QxStage::Other) + 1;

    // The calls that one branch decided.
    struct Branch {
        std::uint64_t count = 0;
        NearestValues nearest;
    };

    std::uint64_t CountOf(QxOutcome outcome) const { return m_branches[static_cast<std::size_t>(outcome)].count; }
    std::uint64_t CountOf(QxStage stage) const { return m_errors[static_cast<std::size_t>(stage)]; }
    std::uint64_t DistanceOf(QxOutcome outcome, const std::string& argument) const;

    const IQxData::_HSScriptPtr& m_event;
    const QxEventWords m_words;
    std::array<Branch, kOutcomes> m_branches;
    std::array<std::uint64_t, kStages> m_errors{};
};

}  // namespace qxlt
