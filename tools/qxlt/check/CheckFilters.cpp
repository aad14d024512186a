#include "CheckedEvent.h"
#include "Checks.h"
#include "ScriptNumber.h"

namespace qxlt {

namespace {

// The right part is searched from where the left one begins.
void CheckRightPart(const CheckedEvent& event, Findings& findings) {
    const auto [left, right] = event.Words().FieldMarkers();
    const std::size_t at = right.empty() ? std::string::npos : left.rfind(right);
    if (at == std::string::npos) return;
    const std::string shorter = left.substr(at + right.size());
    findings.Add(CheckId::RightInsideLeft, event.Element(), ValuePlace(event.Element(), QxEventWords::kDatakey),
                 "datakey's right part " + Quoted(right) + " also stands in its left part " + Quoted(left) +
                     ", so that the field reaches to the end of the value",
                 shorter.empty() ? std::string() : Written(QxEventWords::kDatakey, shorter + "&" + right));
}

void CheckDatakey(const CheckedEvent& event, Findings& findings) {
    const ScriptElement& element = event.Element();
    const std::string& datakey = event[QxEventWords::kDatakey];
    if (!event.Has(QxEventWords::kFilter)) {
        if (datakey.empty()) return;
        findings.Add(CheckId::DatakeyWithoutFilter, element, NamePlace(element, QxEventWords::kDatakey),
                     "datakey without filter is ignored",
                     Written(QxEventWords::kFilter, event.Words().FieldMarkers().left));
        return;
    }
    const TextPlace place = ValuePlace(element, QxEventWords::kDatakey);
    const std::size_t join = datakey.find('&');
    if (datakey.empty()) {
        findings.Add(CheckId::FilterWithoutDatakey, element, NamePlace(element, QxEventWords::kFilter),
                     "filter without datakey leaves nothing of the value",
                     Written(QxEventWords::kDatakey, event[QxEventWords::kFilter] + "&"));
    } else if (join == std::string::npos) {
        findings.Add(CheckId::DatakeyWithoutJoin, element, place,
                     "datakey holds no &, so that the value becomes all that follows " + Quoted(datakey),
                     Written(QxEventWords::kDatakey, datakey + "&"));
    } else if (join == 0) {
        findings.Add(CheckId::DatakeyWithoutLeft, element, place,
                     "datakey has no text before the &, so that the field begins with the value");
    } else {
        CheckRightPart(event, findings);
    }
}

void CheckKeyword(const CheckedEvent& event, Findings& findings) {
    const ScriptElement& element = event.Element();
    const std::string& keyword = event[QxEventWords::kKeyword];
    if (keyword.empty()) return;
    if (event.Words().Watch() == qxscript::Watch::Changed) {
        findings.Add(CheckId::KeywordChanged, element, NamePlace(element, QxEventWords::kKeyword),
                     "with keyword the value never changes: CHANGED fires once in the process's life",
                     Written(QxEventWords::kWatch, TextOf(qxscript::Watch::Always)));
    }
    if (!event.ReadsNumber() || !event.HasSource() || event.Has(QxEventWords::kFilter)) return;
    const std::optional<ScriptNumber> number = ReadOperand(keyword);
    const std::string plain = number ? std::to_string(number->value) : std::string();
    if (plain == keyword) return;
    findings.Add(CheckId::KeywordNoDecimal, element, ValuePlace(element, QxEventWords::kKeyword),
                 "keyword " + Quoted(keyword) + " is no plain decimal number, which is all that INT gives",
                 plain.empty() ? std::string() : Written(QxEventWords::kKeyword, plain));
}

// The value of an event that takes none out of the call; null when it takes one, or when another check speaks of it.
const char* ConstantOf(const CheckedEvent& event) {
    if (event.Words().Tag() == qxscript::Tag::None) return qxscript::kNoValue;
    if (event.HasSource()) return event.Has(QxEventWords::kType) ? nullptr : qxscript::kNoValue;
    return event.Has(QxEventWords::kTag) || event.Has(QxEventWords::kValue) || event.Has(QxEventWords::kType) ? nullptr
                                                                                                              : "";
}

void CheckConstant(const CheckedEvent& event, Findings& findings) {
    const char* const constant = ConstantOf(event);
    if (constant == nullptr) return;
    const std::string value = constant;
    if (!event.IsHeldBack(value)) return;
    const bool isFiltered = value.find(event[QxEventWords::kFilter]) == std::string::npos;
    const QxEventWords::Attribute attribute = isFiltered ? QxEventWords::kFilter : QxEventWords::kKeyword;
    findings.Add(CheckId::ConstantValue, event.Element(), NamePlace(event.Element(), attribute),
                 "the value is always " + (value.empty() ? std::string("empty") : "the word NONE") + ", so that this " +
                     TextOf(attribute) + " keeps the event from firing",
                 event.HasSource() ? Written(QxEventWords::kType, TextOf(qxscript::Type::String)) : std::string());
}

}  // namespace

void CheckFilters(const ScenarioOutline& outline, Findings& findings) {
    for (const ScenarioAction& action : outline.Actions()) {
        for (const ScriptElement* const element : action.events) {
            const CheckedEvent event(*element);
            CheckDatakey(event, findings);
            CheckKeyword(event, findings);
            CheckConstant(event, findings);
        }
    }
}

}  // namespace qxlt
