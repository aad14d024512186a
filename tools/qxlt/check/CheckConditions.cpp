#include <algorithm>

#include "CheckedEvent.h"
#include "Checks.h"
#include "ScriptNumber.h"

namespace qxlt {

namespace {

constexpr QxEventWords::Attribute kConditionAttributes[] = {QxEventWords::kCondition, QxEventWords::kConditionValue,
                                                            QxEventWords::kConditionType};

std::string Joined(const std::vector<std::string>& pieces, const char* delimiter) {
    std::string text;
    for (const std::string& piece : pieces) text += (&piece == &pieces.front() ? "" : delimiter) + piece;
    return text;
}

// One event's condition. The checks stand in the order in which the evaluation would stumble.
class ConditionChecks final {
public:
    ConditionChecks(const ScriptElement& event, Findings& findings)
        : m_event(event), m_element(event), m_findings(findings), m_operands(m_event.Operands()) {}

    void Check() const {
        if (!m_event.IsConditional()) {
            CheckIgnored();
        } else if (!m_event.Has(QxEventWords::kCondition)) {
            AddHere(CheckId::NoCondition, "condition is missing, so that the event never fires");
        } else {
            CheckType();
            CheckList();
            CheckNumbers();
            if (m_event.IsRange()) CheckRange();
            if (m_event.ComparesEach()) CheckCombination();
        }
    }

private:
    void Add(CheckId id, TextPlace place, const std::string& text, const std::string& instead = std::string()) const {
        m_findings.Add(id, m_element, place, text, instead);
    }
    void AddHere(CheckId id, const std::string& text, const std::string& instead = std::string()) const {
        Add(id, m_element.place, text, instead);
    }
    void AddAtValue(CheckId id, const std::string& text, const std::string& instead = std::string()) const {
        Add(id, ValuePlace(m_element, QxEventWords::kConditionValue), text, instead);
    }
    std::string Condition() const { return m_event[QxEventWords::kCondition]; }
    bool IsNowhere() const { return m_event.Words().Tag() == qxscript::Tag::None; }

    // An unknown watch has its own finding.
    void CheckIgnored() const {
        const std::string& watch = m_event[QxEventWords::kWatch];
        if (!watch.empty() && m_event.Words().Watch() == qxscript::Watch::Other) return;
        for (const QxEventWords::Attribute attribute : kConditionAttributes) {
            if (!m_event.Has(attribute)) continue;
            Add(CheckId::ConditionIgnored, NamePlace(m_element, attribute),
                TextOf(attribute) + " is ignored " +
                    (watch.empty() ? "without watch: the event fires with every call" : "with " + watch),
                Written(QxEventWords::kWatch, TextOf(qxscript::Watch::Conditional)));
            return;
        }
    }

    // A type that nothing knows has its own finding. No operand, no comparison.
    void CheckType() const {
        if (m_event.ComparesEach() && m_operands.empty()) return;
        const std::string& type = m_event[QxEventWords::kType];
        const bool known = type.empty() || m_event.Words().Type() != qxscript::Type::Other;
        if (!m_event.ReadsNumber() && known && (m_event.ComparesOrder() || m_event.IsRange())) {
            Add(CheckId::OperatorNeedsInt, ValuePlace(m_element, QxEventWords::kCondition),
                Quoted(Condition()) + " needs numbers, and type is " + (type.empty() ? "missing" : type),
                Written(QxEventWords::kType, TextOf(qxscript::Type::Int)));
        } else if (type.empty() && m_event.ComparesEach()) {
            Add(CheckId::ComparisonWithoutType, ValuePlace(m_element, QxEventWords::kCondition),
                Quoted(Condition()) + " without type never holds", Written(QxEventWords::kType, LikelyType()));
        } else if (m_event.ComparesNumbers() && (IsNowhere() || !m_event.Has(QxEventWords::kTag))) {
            Add(CheckId::NoNumberToCompare, ValuePlace(m_element, QxEventWords::kCondition),
                Quoted(Condition()) + " compares numbers, and " +
                    (m_event.Has(QxEventWords::kTag) ? "the tag NONE gives none" : "without tag there is none"),
                Written(QxEventWords::kTag, TextOf(qxscript::Tag::In)));
        }
    }

    std::string LikelyType() const {
        const auto isNumber = [](const std::string& text) {
            const std::optional<ScriptNumber> number = ReadOperand(text);
            return number && number->rest.empty();
        };
        return std::all_of(m_operands.begin(), m_operands.end(), isNumber) ? TextOf(qxscript::Type::Int)
                                                                           : TextOf(qxscript::Type::String);
    }

    void CheckList() const {
        if (m_event.Has(QxEventWords::kConditionType)) {
            if (!m_event.ComparesOrder() && !m_event.IsRange()) return;
            Add(CheckId::TypeNotConsulted, NamePlace(m_element, QxEventWords::kConditionType),
                "conditionType is not consulted by " + Quoted(Condition()));
        } else if (IsUnsplitList()) {
            AddAtValue(CheckId::ListWithoutType,
                       "without conditionType the & does not separate: all of it is one value",
                       Written(QxEventWords::kConditionType, TextOf(qxscript::Combination::Any)));
        }
    }

    bool IsUnsplitList() const {
        return !m_event.Has(QxEventWords::kConditionType) && (m_event.ComparesEach() || m_event.ComparesOrder()) &&
               m_event[QxEventWords::kConditionValue].find('&') != std::string::npos;
    }

    // An operand that an ampersand or a comma ends is spoken of already.
    void CheckNumbers() const {
        if (!m_event.ComparesNumbers() || (m_event.IsRange() && m_operands.size() != 2)) return;
        if (m_operands.empty() && m_event.ComparesOrder()) {
            AddAtValue(CheckId::OperandNoNumber,
                       "conditionValue is empty, and " + Quoted(Condition()) + " needs a number");
        }
        for (const std::string& operand : m_operands) CheckNumber(operand);
    }

    void CheckNumber(const std::string& operand) const {
        const std::optional<ScriptNumber> number = ReadOperand(operand);
        if (!number) {
            AddAtValue(CheckId::OperandNoNumber,
                       operand.empty() ? "conditionValue lacks a number, so that the event is in error"
                                       : Quoted(operand) + " is no number of 32 bits, so that the event is in error");
        } else if (!number->rest.empty() && !IsUnsplitList() && !m_hasCommaList) {
            AddAtValue(CheckId::TextAfterNumber, Quoted(operand) + " reads as " + std::to_string(number->value),
                       std::to_string(number->value));
        }
    }

    void CheckRange() const {
        if (m_operands.size() != 2) {
            AddAtValue(CheckId::RangeBounds,
                       "range needs two bounds joined by a comma, and " +
                           Quoted(m_event[QxEventWords::kConditionValue]) + " has " + std::to_string(m_operands.size()),
                       Written(QxEventWords::kConditionValue, "LOW,HIGH"));
            return;
        }
        const std::optional<ScriptNumber> low = ReadOperand(m_operands[0]);
        const std::optional<ScriptNumber> high = ReadOperand(m_operands[1]);
        if (!low || !high || low->value <= high->value) return;
        AddAtValue(CheckId::RangeOrder,
                   "nothing is between " + std::to_string(low->value) + " and " + std::to_string(high->value) +
                       ", the lower bound comes first",
                   Written(QxEventWords::kConditionValue, Joined({m_operands[1], m_operands[0]}, ",")));
    }

    void CheckCombination() const {
        const bool all = m_event.Words().Combination() == qxscript::Combination::All;
        const bool any = m_event.Words().Combination() == qxscript::Combination::Any;
        const bool equal = m_event.Words().Condition() == qxscript::Condition::Equal;
        if (m_event.Has(QxEventWords::kConditionType) && m_operands.empty()) {
            AddAtValue(all ? CheckId::AllOfNothing : CheckId::NoneOfNothing,
                       all ? "AND with an empty conditionValue always holds"
                           : "conditionType with an empty conditionValue never holds");
        } else if (all && equal && HasDifferentOperands()) {
            AddAtValue(CheckId::NeverAllEqual, "no value equals all of " + Joined(m_operands, ", "),
                       Written(QxEventWords::kConditionType, TextOf(qxscript::Combination::Any)));
        } else if (any && !equal && HasDifferentOperands()) {
            AddAtValue(CheckId::AlwaysAnyDifferent, "every value differs from one of " + Joined(m_operands, ", "),
                       Written(QxEventWords::kConditionType, TextOf(qxscript::Combination::All)));
        }
    }

    // Without a type that is known nothing is compared.
    bool HasDifferentOperands() const {
        if (m_event.Words().Type() == qxscript::Type::Other) return false;
        return std::any_of(m_operands.begin(), m_operands.end(),
                           [&](const std::string& operand) { return Differ(operand, m_operands.front()); });
    }

    // As numbers 1 and 01 are the same.
    bool Differ(const std::string& left, const std::string& right) const {
        if (!m_event.ReadsNumber()) return left != right;
        const std::optional<ScriptNumber> a = ReadOperand(left);
        const std::optional<ScriptNumber> b = ReadOperand(right);
        return a && b && a->value != b->value;
    }

    const CheckedEvent m_event;
    const ScriptElement& m_element;
    Findings& m_findings;
    const std::vector<std::string> m_operands;
    const bool m_hasCommaList = m_event.HasCommaList();
};

}  // namespace

void CheckConditions(const ScenarioOutline& outline, Findings& findings) {
    for (const ScenarioAction& action : outline.Actions()) {
        for (const ScriptElement* const event : action.events) ConditionChecks(*event, findings).Check();
    }
}

}  // namespace qxlt
