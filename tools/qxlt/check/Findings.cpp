#include "Findings.h"

#include <algorithm>
#include <tuple>

#include "Messages.h"
#include "Text.h"
#include "Vocabulary.h"
#include "Xml.h"

namespace qxlt {

namespace {

bool IsIgnored(const Check& check, const ScriptElement& element) {
    const std::vector<IgnoreComment>& comments = element.script->Ignores();
    IgnoreComment above;
    above.lastLine = element.place.line - 1;
    const auto [first, last] = std::equal_range(comments.begin(), comments.end(), above, EndsBefore);
    return std::any_of(first, last, [&](const IgnoreComment& comment) { return comment.ids.count(check.code) != 0; });
}

}  // namespace

std::string Finding::PlaceText() const {
    return Place(Printable(script->File()), place.line, place.column);
}

std::string Finding::Told() const {
    return text + (instead.empty() ? "" : "; did you mean " + Printable(instead));
}

void Findings::Add(CheckId id, const ScriptElement& element, TextPlace place, const std::string& text,
                   const std::string& instead) {
    if (!IsIgnored(CheckOf(id), element)) Add(id, *element.script, place, text, instead);
}

void Findings::Add(CheckId id, const ScriptText& script, TextPlace place, const std::string& text,
                   const std::string& instead) {
    m_findings.push_back({&CheckOf(id), &script, place, Printable(text), instead});
}

std::vector<Finding> Findings::Sorted(const std::vector<const ScriptText*>& scripts) const {
    const auto rank = [&](const Finding& finding) {
        const auto at = std::find(scripts.begin(), scripts.end(), finding.script) - scripts.begin();
        return std::tuple(at, finding.place.line, finding.place.column, finding.check->id);
    };
    std::vector<Finding> sorted = m_findings;
    std::stable_sort(sorted.begin(), sorted.end(),
                     [&](const Finding& left, const Finding& right) { return rank(left) < rank(right); });
    return sorted;
}

TextPlace NamePlace(const ScriptElement& element, const std::string& attribute) {
    const ScriptAttribute* const found = element.Find(attribute);
    return found == nullptr ? element.place : found->place;
}

TextPlace ValuePlace(const ScriptElement& element, const std::string& attribute) {
    const ScriptAttribute* const found = element.Find(attribute);
    return found == nullptr ? element.place : found->valuePlace;
}

TextPlace NamePlace(const ScriptElement& event, QxEventWords::Attribute attribute) {
    return NamePlace(event, TextOf(attribute));
}

TextPlace ValuePlace(const ScriptElement& event, QxEventWords::Attribute attribute) {
    return ValuePlace(event, TextOf(attribute));
}

std::string Quoted(const std::string& text) {
    return '"' + text + '"';
}

std::string Written(const std::string& attribute, const std::string& value) {
    return attribute + "=\"" + XmlEscaped(value) + "\"";
}

std::string Written(QxEventWords::Attribute attribute, const std::string& value) {
    return Written(TextOf(attribute), value);
}

}  // namespace qxlt
