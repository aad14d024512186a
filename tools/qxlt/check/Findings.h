// What the checks have found in a set of scripts.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "CheckTable.h"
#include "QxEventWords.h"
#include "ScriptText.h"

namespace qxlt {

struct Finding {
    const Check* check;
    const ScriptText* script;
    TextPlace place;
    std::string text;     // fit for a terminal
    std::string instead;  // what to write in its place; empty: nothing can be said

    bool IsError() const { return check->severity == Severity::Error; }

    // "FILE:LINE:COLUMN", and what was found and may have been meant. Fit for a terminal.
    std::string PlaceText() const;
    std::string Told() const;
};

class Findings final {
public:
    // Notes a finding in an element, unless a comment silences it. The element's script must outlive this object.
    void Add(CheckId id, const ScriptElement& element, TextPlace place, const std::string& text,
             const std::string& instead = std::string());

    // Notes a finding in no element, which no comment silences.
    void Add(CheckId id, const ScriptText& script, TextPlace place, const std::string& text,
             const std::string& instead = std::string());

    // In the order of the places, script by script in the order of `scripts`.
    std::vector<Finding> Sorted(const std::vector<const ScriptText*>& scripts) const;

private:
    std::vector<Finding> m_findings;
};

// The place of an attribute's name and of its value; those of the element when it has no such attribute.
TextPlace NamePlace(const ScriptElement& element, const std::string& attribute);
TextPlace ValuePlace(const ScriptElement& element, const std::string& attribute);

TextPlace NamePlace(const ScriptElement& event, QxEventWords::Attribute attribute);
TextPlace ValuePlace(const ScriptElement& event, QxEventWords::Attribute attribute);

// The text in quotes.
std::string Quoted(const std::string& text);

// `NAME="VALUE"` as it is written in a script.
std::string Written(const std::string& attribute, const std::string& value);
std::string Written(QxEventWords::Attribute attribute, const std::string& value);

}  // namespace qxlt
