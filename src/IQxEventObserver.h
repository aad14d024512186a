// Watches a trace pass decide, for tools that explain why an event fired or did not. Normal tracking has none.
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

class IQxEventObserver {
public:
    virtual ~IQxEventObserver() = default;

    // A call of the pass, whether anything is subscribed to its method or not.
    virtual void OnCall(const IQxData::HSCall& call, const std::string& callerName) = 0;

    // One evaluated event. `argument` is the value as far as it was worked out.
    virtual void OnEvent(const IQxData::_HSScriptPtr& event, const IQxData::HSCall& call, QxOutcome outcome,
                         const std::string& argument) = 0;

    // An event whose evaluation threw.
    virtual void OnError(const IQxData::_HSScriptPtr& event, const IQxData::HSCall& call, const std::string& error) = 0;
};
