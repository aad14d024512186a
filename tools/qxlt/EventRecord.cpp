#include "EventRecord.h"

#include <algorithm>
#include <cstdlib>

#include "QxScriptScenario.h"
#include "ScriptPlaces.h"
#include "Text.h"

namespace qxlt {

namespace {

// The errors of the standard library's conversions, as their texts begin.
constexpr char kIndexError[] = "stoul";
constexpr char kPositionError[] = "basic_string";

std::string Quoted(const std::string& text) {
    return '"' + Printable(text) + '"';
}

std::uint64_t NumberDistance(const std::string& left, const std::string& right) {
    const long long a = std::strtoll(left.c_str(), nullptr, 10);
    const long long b = std::strtoll(right.c_str(), nullptr, 10);
    return a > b ? static_cast<std::uint64_t>(a) - static_cast<std::uint64_t>(b)
                 : static_cast<std::uint64_t>(b) - static_cast<std::uint64_t>(a);
}

}  // namespace

std::string Reason::Line() const {
    if (text.empty()) return text;
    std::string line = Counted(calls, "call") + ": " + text;
    for (std::size_t i = 0; i < nearest.size(); ++i) line += (i == 0 ? "; nearest " : ", ") + Quoted(nearest[i]);
    return line;
}

const std::string& EventRecord::Attribute(const char* name) const {
    return AttributeOf(m_event, name);
}

void EventRecord::Count(QxOutcome outcome, const std::string& argument) {
    Branch& branch = m_branches[static_cast<std::size_t>(outcome)];
    ++branch.count;
    if (outcome != QxOutcome::Fires && outcome != QxOutcome::NoArgument) {
        branch.nearest.Add(DistanceOf(outcome, argument), argument);
    }
}

std::uint64_t EventRecord::DistanceOf(QxOutcome outcome, const std::string& argument) const {
    switch (outcome) {
        case QxOutcome::FilterMissing:
            return PartDistance(Attribute("filter"), argument);
        case QxOutcome::KeywordDiffers:
            return EditDistance(Attribute("keyword"), argument);
        case QxOutcome::ConditionFalse:
            return DistanceToOperands(argument);
        default:
            return 0;
    }
}

std::uint64_t EventRecord::DistanceToOperands(const std::string& argument) const {
    std::vector<std::string> operands;
    split(Attribute("conditionValue"), Attribute("condition") == "range" ? "," : "&", operands);
    const bool isNumber = Attribute("type") == "INT";
    std::uint64_t nearest = UINT64_MAX;
    for (const std::string& operand : operands) {
        const std::uint64_t distance = isNumber ? NumberDistance(argument, operand) : EditDistance(argument, operand);
        nearest = std::min(nearest, distance);
    }
    return nearest;
}

std::uint64_t EventRecord::Errors(const char* prefix) const {
    std::uint64_t count = 0;
    for (const auto& [text, calls] : m_errors) count += text.rfind(prefix, 0) == 0 ? calls : 0;
    return count;
}

// An error is counted where it arose: reading the index, cutting out the field, or reading a number of the condition.
Funnel EventRecord::Stages() const {
    Funnel funnel{};
    funnel.errors = Errors("");
    for (const Branch& branch : m_branches) funnel.method += branch.count;
    funnel.method += funnel.errors;
    funnel.value = funnel.method - CountOf(QxOutcome::NoArgument) - Errors(kIndexError);
    funnel.filter = funnel.value - CountOf(QxOutcome::FilterMissing) - Errors(kPositionError);
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
    for (const auto& [error, calls] : m_errors) {
        if (calls > main.calls) main = {ErrorText(error), calls, {}};
    }
    return main;
}

std::string EventRecord::ConditionText() const {
    std::string text = "condition " + Attribute("condition") + " " + Quoted(Attribute("conditionValue"));
    const std::string& type = Attribute("conditionType");
    return type.empty() ? text : text + " (" + Printable(type) + ")";
}

std::string EventRecord::DecisionText(QxOutcome outcome) const {
    switch (outcome) {
        case QxOutcome::NoArgument:
            return "no value at index " + Quoted(Attribute("value")) + " of " + Attribute("tag");
        case QxOutcome::FilterMissing:
            return "the value does not contain the filter " + Quoted(Attribute("filter"));
        case QxOutcome::KeywordDiffers:
            return "the value is not the keyword " + Quoted(Attribute("keyword"));
        case QxOutcome::Unchanged:
            return "the value did not change";
        case QxOutcome::WrongType:
            return "condition " + Attribute("condition") + " needs the type INT";
        case QxOutcome::WrongRange:
            return "range needs two bounds, not " + Quoted(Attribute("conditionValue"));
        case QxOutcome::ConditionFalse:
            return ConditionText() + " does not hold";
        case QxOutcome::NotRising:
            return ConditionText() + " held before";
        case QxOutcome::Fires:
            break;
    }
    return "fires";
}

std::string EventRecord::ErrorText(const std::string& error) const {
    if (error.rfind(kIndexError, 0) == 0) return "the index " + Quoted(Attribute("value")) + " is no number in range";
    if (error.rfind(kPositionError, 0) == 0) return "the datakey " + Quoted(Attribute("datakey")) + " is past the end";
    if (error.rfind("stoi", 0) == 0) return ConditionText() + ": an operand or the value is no number in range";
    return Printable(error);
}

}  // namespace qxlt
