#include "QxEventWords.h"

#include <algorithm>

#include "QxConversions.h"

namespace {

// Never destroyed: a worker may still run when the process ends.
const std::string& kEmpty = *new std::string;

}  // namespace

QxEventWords::QxEventWords() {
    m_texts.fill(&kEmpty);
}

QxEventWords::QxEventWords(const IQxData::_HSScriptPtr& event) : QxEventWords() {
    for (const auto& attribute : event.attributes) Take(attribute.first, attribute.second);
}

std::optional<QxEventWords::Attribute> QxEventWords::Take(const std::string& name, const std::string& value) {
    const auto* const found = std::find(kNames.begin(), kNames.end(), name);
    if (found == kNames.end()) return std::nullopt;
    const auto attribute = static_cast<Attribute>(found - kNames.begin());
    m_texts[attribute] = &value;
    switch (attribute) {
        case kTag:
            m_tag = qxscript::MeaningOf(value, qxscript::kTags);
            break;
        case kType:
            m_type = qxscript::MeaningOf(value, qxscript::kTypes);
            break;
        case kWatch:
            m_watch = qxscript::MeaningOf(value, qxscript::kWatches);
            break;
        case kCondition:
            m_condition = qxscript::MeaningOf(value, qxscript::kConditions);
            break;
        default:
            break;
    }
    return attribute;
}

qxscript::Combination QxEventWords::Combination() const {
    const qxscript::Condition condition = Condition();
    if (condition == qxscript::Condition::Greater || condition == qxscript::Condition::Less) {
        return qxscript::Combination::Any;
    }
    return qxscript::MeaningOf((*this)[kConditionType], qxscript::kConditionTypes);
}

bool QxEventWords::HasSource() const {
    const qxscript::Tag tag = Tag();
    return tag == qxscript::Tag::In || tag == qxscript::Tag::Out || tag == qxscript::Tag::Ret;
}

bool QxEventWords::IsConditional() const {
    const qxscript::Watch watch = Watch();
    return watch == qxscript::Watch::Conditional || watch == qxscript::Watch::Rising;
}

bool QxEventWords::HasOperandList() const {
    return Condition() == qxscript::Condition::Range || !(*this)[kConditionType].empty();
}

std::vector<std::string> QxEventWords::Operands() const {
    const std::string& text = (*this)[kConditionValue];
    if (!HasOperandList()) return {text};
    std::vector<std::string> operands;
    split(text, Condition() == qxscript::Condition::Range ? "," : "&", operands);
    return operands;
}

QxEventWords::Markers QxEventWords::FieldMarkers() const {
    const std::string& datakey = (*this)[kDatakey];
    const std::size_t join = datakey.find('&');
    const std::string left = datakey.substr(0, join);
    return {left, join == std::string::npos ? left : datakey.substr(join + 1)};
}
