// The evaluation of one event element against one call: picks a value out of the call, cuts a field out of it, compares
// it with the keyword, and decides by the watch mode whether the event fires.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "IQxData.h"
#include "IQxEventObserver.h"
#include "QxEventWords.h"

class QxDecodeLog;

class QxEventEvaluation final {
public:
    // Evaluates the event that the words were taken from; all of them must outlive the evaluation. What is wrong with
    // the event goes to `log`, if there is one, which bounds how often it is said.
    QxEventEvaluation(const IQxData::_HSScriptPtr& event, const QxEventWords& words, const IQxData::HSCall& call,
                      QxDecodeLog* log = nullptr);

    // Decides. Remembers the value or result where the watch mode asks for it. Throws std::invalid_argument or
    // std::out_of_range for text that is no number, or a number or position out of range.
    QxOutcome Decide();

    // The event's name, and the value that was worked out.
    const std::string& Name() const { return m_words[QxEventWords::kName]; }
    const std::string& Argument() const { return m_argument; }

    // What Decide was reading when it threw.
    QxStage Stage() const { return m_stage; }

private:
    enum class Verdict { False, True, WrongType, WrongRange };
    using Arguments = std::vector<IQxData::HSICallArg>;

    void Complain(const char* format, ...) const __attribute__((format(printf, 2, 3)));
    std::optional<std::uint32_t> ReadIndex();
    int ReadNumber(const std::string& text, QxStage stage);
    bool PickArgument();
    bool PickFrom(const Arguments& list);
    bool PickReturn();
    std::string Decode(const std::string& raw) const;
    void CutField();
    QxOutcome DecideChanged() const;
    QxOutcome DecideAlways() const;
    QxOutcome DecideCondition(bool risingOnly);
    Verdict Compare();
    Verdict CompareEach(bool equal);
    bool Matches(const std::string& operand, bool equal);
    Verdict CompareOrder(bool greater);
    Verdict CompareRange();

    const IQxData::HSCall& m_call;
    QxDecodeLog* const m_log;
    const QxEventWords& m_words;
    std::string m_argument;
    QxStage m_stage = QxStage::Other;
};
