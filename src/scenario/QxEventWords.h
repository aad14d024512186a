// One event of a scenario as it is read: its attributes, what they mean, and the pieces that they are made of.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "IQxData.h"
#include "QxScriptWords.h"

class QxEventWords final {
public:
    enum Attribute {
        kName,
        kTag,
        kValue,
        kType,
        kWatch,
        kCondition,
        kConditionValue,
        kConditionType,
        kFilter,
        kDatakey,
        kKeyword,
        kAttributes  // how many there are
    };

    // Their names, in this order.
    static constexpr std::array<std::string_view, kAttributes> kNames = {
        "name",           "tag",           "value",  "type",    "watch",  "condition",
        "conditionValue", "conditionType", "filter", "datakey", "keyword"};

    // The two texts that a field stands between.
    struct Markers {
        std::string left;
        std::string right;
    };

    // No attribute yet.
    QxEventWords();

    // Takes the event's attributes, which must outlive this object.
    explicit QxEventWords(const IQxData::_HSScriptPtr& event);

    // Takes one attribute, whose value must outlive this object, in the place of an earlier one of that name. Returns
    // which it is, none for a name that is not known, which is ignored.
    std::optional<Attribute> Take(const std::string& name, const std::string& value);

    // The attribute's value, empty when it is missing.
    const std::string& operator[](Attribute attribute) const { return *m_texts[attribute]; }

    qxscript::Tag Tag() const { return m_tag; }
    qxscript::Type Type() const { return m_type; }
    qxscript::Watch Watch() const { return m_watch; }
    qxscript::Condition Condition() const { return m_condition; }

    // How the results for the operands make one. Of ">" and "<" one that holds is enough, whatever conditionType says.
    qxscript::Combination Combination() const;

    // Whether the value comes out of the call.
    bool HasSource() const;

    // Whether the condition is consulted.
    bool IsConditional() const;

    // What the value is compared with. Of "range" these are the bounds, which should be two. Otherwise conditionValue
    // is a list when there is a conditionType; without one all of it is one operand, even an empty one.
    std::vector<std::string> Operands() const;

    // Calls `visit` with each of them, in order.
    template <typename Visit>
    void EachOperand(const Visit& visit) const {
        if (!HasOperandList()) return visit((*this)[kConditionValue]);
        for (const std::string& operand : Operands()) visit(operand);
    }

    // The markers of the datakey. Without "&" the whole of it is both.
    Markers FieldMarkers() const;

private:
    bool HasOperandList() const;

    std::array<const std::string*, kAttributes> m_texts;  // not owned, never null
    // What four of them mean, worked out when they are taken.
    qxscript::Tag m_tag = qxscript::Tag::Other;
    qxscript::Type m_type = qxscript::Type::Other;
    qxscript::Watch m_watch = qxscript::Watch::Other;
    qxscript::Condition m_condition = qxscript::Condition::Other;
};
