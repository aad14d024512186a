// Watches a trace pass decide, for tools that explain why an event fired or did not. Normal tracking has none. To
// watch, derive from this class and override what is of interest.
#pragma once

#include <string>

#include "IQxData.h"

// How the evaluation of one event against one call ended: the branch that decided.
enum class QxOutcome {
    NoArgument,      // the call has no argument at that index, or one without pairs
    FilterMissing,   // the argument does not contain the filter text
    KeywordDiffers,  // the argument is not the keyword
    Unchanged,       // CHANGED: the same value as before
    WrongType,       // the operator needs INT
    WrongRange,      // "range" without two bounds
    ConditionFalse,  // the condition does not hold
    NotRising,       // D-CONDITIONAL: the condition held before
    Fires
};

// What an evaluation that threw was reading.
enum class QxStage {
    Index,     // the argument's index
    Field,     // the field, which would begin behind the end of the argument
    Argument,  // the argument, as a number
    Operand,   // an operand, as a number
    Bound,     // a bound of a range, as a number
    Other      // none of these: memory ran out, or who takes the event failed
};

// All calls come from within the pass; what is handed over is valid for the call only. `key` is the one under which the
// store holds the call, 0 for a call that was evaluated outside a pass.
class IQxEventObserver {
public:
    virtual ~IQxEventObserver() = default;

    // A call of the pass, whether anything is subscribed to its method or not.
    virtual void OnCall(unsigned long long /*key*/, const IQxData::HSCall& /*call*/,
                        const std::string& /*callerName*/) {}

    // One evaluated event. `argument` is the value as far as it was worked out. If the event fires, it is sent after
    // this.
    virtual void OnEvent(const IQxData::_HSScriptPtr& /*event*/, unsigned long long /*key*/,
                         const IQxData::HSCall& /*call*/, QxOutcome /*outcome*/, const std::string& /*argument*/) {}

    // An event whose evaluation threw, where it did, and the text of what was thrown.
    virtual void OnError(const IQxData::_HSScriptPtr& /*event*/, unsigned long long /*key*/,
                         const IQxData::HSCall& /*call*/, QxStage /*stage*/, const std::string& /*error*/) {}
};
