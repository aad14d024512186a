// The one table of what `qxlt check` finds: `--explain` and docs/checks.md come from it. docs/extending.md says how a
// check is added.
#pragma once

#include <string>
#include <vector>

namespace qxlt {

enum class CheckId {
    NotWellFormed,
    UnknownTop,
    UnknownElement,
    Misplaced,
    UnknownAttribute,
    ProcessMisplaced,
    RawMarkup,
    NoProcess,
    ActionWithoutMethod,
    ActionWithoutEvent,
    ActionWithoutName,
    LongProcessName,
    EmptyProcessName,
    MethodWithoutAttribute,
    MethodNameNotFirst,
    EmptyMethodName,
    MethodTwice,
    MethodWithPackage,
    EventWithoutName,
    UnknownTag,
    UnknownType,
    UnknownWatch,
    UnknownCondition,
    UnknownConditionType,
    BadIndex,
    ReturnIndex,
    ValueWithoutTag,
    TextAfterNumber,
    FilterWithoutDatakey,
    DatakeyWithoutFilter,
    DatakeyWithoutJoin,
    DatakeyWithoutLeft,
    KeywordChanged,
    KeywordNoDecimal,
    ConstantValue,
    MissingType,
    RightInsideLeft,
    NoCondition,
    OperatorNeedsInt,
    NoNumberToCompare,
    ComparisonWithoutType,
    OperandNoNumber,
    RangeBounds,
    RangeOrder,
    NeverAllEqual,
    AlwaysAnyDifferent,
    ListWithoutType,
    TypeNotConsulted,
    AllOfNothing,
    NoneOfNothing,
    ConditionIgnored,
    CommaList,
    SeededByAlways,
    SharedName,
    SeveralProcesses,
    UnknownIgnored,
    NeverRecorded,
    NoSuchArgument,
    UnfitType,
    NotRecordedThen,
    ProcessNotRecorded,
};

enum class Severity { Error, Warning };

struct Check {
    CheckId id;
    const char* code;  // stable: scripts silence checks by it
    Severity severity;
    const char* brief;    // what is found, a few words
    const char* details;  // why it matters and what to write instead; lines of a page
};

// In the order of their codes.
const std::vector<Check>& AllChecks();

// The row of that check.
const Check& CheckOf(CheckId id);

// The row of that code, in upper or lower case; null when there is none.
const Check* FindCheck(const std::string& code);

// The code that differs from the text by one character; empty when there is none.
std::string MeantCode(const std::string& text);

// "error" or "warning".
const char* SeverityName(Severity severity);

// The long text of one check, and the page about all of them.
std::string ExplainCheck(const Check& check);
std::string ExplainAllChecks();

}  // namespace qxlt
