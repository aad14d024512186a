#include "EventRecord.h"

#include "ConditionDistance.h"
#include "Text.h"

namespace qxlt {

namespace {

using Words = QxEventWords;

std::string Quoted(const std::string& text) {
    return '"' + Printable(text) + '"';
}

}  // namespace

std::string Reason::Line() const {
    if (text.empty()) return text;
    std::string line = Counted(calls, "call") + ": " + text;
    for (std::size_t i = 0; i < nearest.size(); ++i) line += (i == 0 ? "; nearest " : ", ") + Quoted(nearest[i]);
    return line;
}

void EventRecord::Count(QxOutcome outcome, const std::string& argument) {
    Branch& branch = m_branches[static_cast<std::size_t>(outcome)];
    ++branch.count;
    const std::uint64_t distance = DistanceOf(outcome, argument);
    if (distance != kOutOfReach) branch.nearest.Add(distance, argument);
}

// Where the value decided; elsewhere there is nothing to be near to.
std::uint64_t EventRecord::DistanceOf(QxOutcome outcome, const std::string& argument) const {
    switch (outcome) {
        case QxOutcome::FilterMissing:
            return PartDistance(m_words[Words::kFilter], argument);
        case QxOutcome::KeywordDiffers:
            return EditDistance(m_words[Words::kKeyword], argument);
        case QxOutcome::ConditionFalse:
            return ConditionDistance(m_words, argument);
        case QxOutcome::Unchanged:
        case QxOutcome::NotRising:
            return 0;
        default:
            return kOutOfReach;
    }
}

// An error is counted where it arose: reading the index, cutting out the field, or reading a number of the condition.
Funnel EventRecord::Stages() const {
    Funnel funnel{};
    for (const std::uint64_t count : m_errors) funnel.errors += count;
    for (const Branch& branch : m_branches) funnel.method += branch.count;
    funnel.method += funnel.errors;
    funnel.value = funnel.method - CountOf(QxOutcome::NoArgument) - CountOf(QxStage::Index);
    funnel.filter = funnel.value - CountOf(QxOutcome::FilterMissing) - CountOf(QxStage::Field);
    funnel.keyword = funnel.filter - CountOf(QxOutcome::KeywordDiffers);
    funnel.fired = CountOf(QxOutcome::Fires);
    funnel.edge = funnel.fired;
    funnel.condition = funnel.edge + CountOf(QxOutcome::NotRising);
    return funnel;
}

Reason EventRecord::MainReason() const {
    Reason main;
    for (std::size_t i = 0; i + 1 < kOutcomes; ++i) {
        const Branch& branch = m_branches[i];
        if (branch.count <= main.calls) continue;
        main = {DecisionText(static_cast<QxOutcome>(i)), branch.count, branch.nearest.Values()};
    }
    for (std::size_t i = 0; i < kStages; ++i) {
        if (m_errors[i] > main.calls) main = {ErrorText(static_cast<QxStage>(i)), m_errors[i], {}};
    }
    return main;
}

std::string ConditionText(const QxEventWords& words) {
    std::string text = "condition " + Printable(words[Words::kCondition]) + " " + Quoted(words[Words::kConditionValue]);
    const std::string& type = words[Words::kConditionType];
    return type.empty() ? text : text + " (" + Printable(type) + ")";
}

std::string EventRecord::DecisionText(QxOutcome outcome) const {
    switch (outcome) {
        case QxOutcome::NoArgument:
            return "no value at index " + Quoted(m_words[Words::kValue]) + " of " + Printable(m_words[Words::kTag]);
        case QxOutcome::FilterMissing:
            return "the value does not contain the filter " + Quoted(m_words[Words::kFilter]);
        case QxOutcome::KeywordDiffers:
            return "the value is not the keyword " + Quoted(m_words[Words::kKeyword]);
        case QxOutcome::Unchanged:
            return "the value did not change";
        case QxOutcome::WrongType:
            return "condition " + Printable(m_words[Words::kCondition]) + " needs the type INT";
        case QxOutcome::WrongRange:
            return "range needs two bounds, not " + Quoted(m_words[Words::kConditionValue]);
        case QxOutcome::ConditionFalse:
            return ConditionText(m_words) + " does not hold";
        case QxOutcome::NotRising:
            return ConditionText(m_words) + " held before";
        case QxOutcome::Fires:
            break;
    }
    return "fires";
}

std::string EventRecord::ErrorText(QxStage stage) const {
    switch (stage) {
        case QxStage::Index:
            return "the index " + Quoted(m_words[Words::kValue]) + " is no number in range";
        case QxStage::Field:
            return "the datakey " + Quoted(m_words[Words::kDatakey]) + " is past the end";
        case QxStage::Argument:
            return ConditionText(m_words) + ": the value is no number in range";
        case QxStage::Operand:
            return ConditionText(m_words) + ": an operand is no number in range";
        case QxStage::Bound:
            return ConditionText(m_words) + ": a bound is no number in range";
        case QxStage::Other:
            break;
    }
    return "the evaluation failed";
}

}  // namespace qxlt
