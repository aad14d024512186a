// The evaluation of one event element against one call: picks a value out of the call, cuts a field out of it, compares
// it with the keyword, and decides by the watch mode whether the event fires.
#pragma once

#include <string>
#include <vector>

#include "IQxData.h"
#include "IQxEventObserver.h"

class QxDecodeLog;

class QxEventEvaluation final {
public:
    // Reads the event's attributes; `event` and `call` must outlive the evaluation. What is wrong with the event goes
    // to `log`, if there is one, which bounds how often it is said.
    QxEventEvaluation(const IQxData::_HSScriptPtr& event, const IQxData::HSCall& call, QxDecodeLog* log = nullptr);

    // Decides. Remembers the value or result where the watch mode asks for it. Throws std::invalid_argument or
    // std::out_of_range for text that is no number, or a number or position out of range.
    QxOutcome Decide();

    // The event's name, and the value that was worked out.
    const std::string& Name() const { return *m_name; }
    const std::string& Argument() const { return m_argument; }

private:
    enum class Verdict { False, True, WrongType, WrongRange };
    using Arguments = std::vector<IQxData::HSICallArg>;

    void Complain(const char* format, ...) const __attribute__((format(printf, 2, 3)));
    void ReadAttribute(const std::string& name, const std::string& value);
    bool PickArgument();
    bool PickFrom(const Arguments& list);
    bool PickReturn();
    std::string Decode(const std::string& raw) const;
    void CutField();
    QxOutcome DecideChanged() const;
    QxOutcome DecideAlways() const;
    QxOutcome DecideCondition(bool risingOnly) const;
    Verdict Compare() const;
    Verdict CompareEach(const std::vector<std::string>& operands, bool equal) const;
    bool Matches(const std::string& operand, bool equal) const;
    Verdict CompareOrder(const std::vector<std::string>& operands, bool greater) const;
    Verdict CompareRange() const;
    std::vector<std::string> Operands() const;

    const IQxData::HSCall& m_call;
    QxDecodeLog* const m_log;
    // Attribute values; those that are missing point to an empty text. None is owned.
    const std::string* m_name;
    const std::string* m_filter;
    const std::string* m_datakey;
    const std::string* m_type;
    const std::string* m_tag;
    const std::string* m_value;
    const std::string* m_keyword;
    const std::string* m_watch;
    const std::string* m_condition;
    const std::string* m_conditionValue;
    const std::string* m_conditionType;
    std::string m_argument;
};
