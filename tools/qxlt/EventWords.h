// An event element as the checks ask about it.
#pragma once

#include <string>
#include <vector>

#include "ScriptText.h"

namespace qxlt {

class EventWords final {
public:
    // `event` must outlive this object.
    explicit EventWords(const ScriptElement& event) : m_event(event) {}

    const ScriptElement& Element() const { return m_event; }

    // The attribute's value; empty when it is missing.
    const std::string& operator[](const char* attribute) const { return m_event.Value(attribute); }
    bool Has(const char* attribute) const { return !m_event.Value(attribute).empty(); }
    bool Is(const char* attribute, const char* value) const { return m_event.Value(attribute) == value; }

    // Whether the value comes out of the call.
    bool HasSource() const { return Is("tag", "IN") || Is("tag", "OUT") || Is("tag", "RET"); }

    // Whether the condition is consulted.
    bool IsConditional() const { return Is("watch", "CONDITIONAL") || Is("watch", "D-CONDITIONAL"); }

    // "==" and "!=", ">" and "<".
    bool ComparesEach() const { return Is("condition", "==") || Is("condition", "!="); }
    bool ComparesOrder() const { return Is("condition", ">") || Is("condition", "<"); }
    bool IsRange() const { return Is("condition", "range"); }

    // Whether the condition reads the value as a number.
    bool ComparesNumbers() const { return ComparesOrder() || IsRange() || (ComparesEach() && Is("type", "INT")); }

    // The operands of the condition; the bounds of a range.
    std::vector<std::string> Operands() const;

private:
    const ScriptElement& m_event;
};

}  // namespace qxlt
