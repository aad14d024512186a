// An event element as the checks ask about it.
#pragma once

#include <string>
#include <vector>

#include "QxEventWords.h"
#include "ScriptText.h"
#include "Vocabulary.h"

namespace qxlt {

class CheckedEvent final {
public:
    // `event` must outlive this object.
    explicit CheckedEvent(const ScriptElement& event);

    const ScriptElement& Element() const { return m_event; }

    // As the evaluation reads it.
    const QxEventWords& Words() const { return m_words; }

    // The attribute's value; empty when it is missing.
    const std::string& operator[](QxEventWords::Attribute attribute) const { return m_event.Value(TextOf(attribute)); }
    bool Has(QxEventWords::Attribute attribute) const { return !(*this)[attribute].empty(); }

    // Whether the value comes out of the call.
    bool HasSource() const { return m_words.HasSource(); }

    // Whether the condition is consulted.
    bool IsConditional() const { return m_words.IsConditional(); }

    // "==" and "!=", ">" and "<".
    bool ComparesEach() const;
    bool ComparesOrder() const;
    bool IsRange() const { return m_words.Condition() == qxscript::Condition::Range; }

    // Whether the condition reads the value as a number.
    bool ComparesNumbers() const { return ComparesOrder() || IsRange() || (ComparesEach() && ReadsNumber()); }

    // Whether the type is INT.
    bool ReadsNumber() const { return m_words.Type() == qxscript::Type::Int; }

    // Whether the condition compares with a list that is written with commas, which do not separate there. Of texts
    // without conditionType those count in which no blank follows a comma: others are sentences.
    bool HasCommaList() const;

    // Whether a keyword or filter keeps an event of this value from firing.
    bool IsHeldBack(const std::string& value) const;

    // The operands of the condition; the bounds of a range.
    std::vector<std::string> Operands() const { return m_words.Operands(); }

private:
    const ScriptElement& m_event;
    QxEventWords m_words;
};

}  // namespace qxlt
