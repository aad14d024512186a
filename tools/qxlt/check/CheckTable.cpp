#include "CheckTable.h"

#include <algorithm>
#include <iterator>

#include "Nearest.h"

namespace qxlt {

namespace {

constexpr Severity kError = Severity::Error;
constexpr Severity kWarning = Severity::Warning;

constexpr char kPageHead[] = R"(# What `qxlt check` finds

A finding has a place, a severity and a code:

```
volume.xml:6:66: error: condition is missing, so that the event never fires [QX040]
```

An error makes `qxlt check` end with status 1: the scenario cannot do what it says. A warning is something that works
and is hardly meant. A comment on the line before an element silences a check for that element:

```xml
<!-- qxlt:ignore QX034 -->
<event name="PLAYING" tag="IN" value="0" type="STRING" keyword="playing" watch="CHANGED"/>
```

QX080 and up compare a scenario with what a program records: `qxlt check volume.xml --against capture`. This page is
what `qxlt check --explain all` prints.
)";

// clang-format off
constexpr Check kChecks[] = {
    {CheckId::NotWellFormed, "QX001", kError, "not well-formed",
R"(The file is no XML: nothing of it is loaded. The place is where reading stopped; the mistake may stand before it.
An ampersand is written as `&amp;`, and a less-than sign inside an attribute as `&lt;`.)"},

    {CheckId::UnknownTop, "QX002", kError, "unknown top element",
R"(The top element's name decides what runs the script: `Scenario` is a scenario, `session` is accepted and does
nothing. A script of any other name loads, and nothing runs. Of several scripts that run together the first one's
decides.)"},

    {CheckId::UnknownElement, "QX003", kWarning, "unknown element",
R"(Inside an action only `method` and `event` are read, and nothing inside those. Other elements are loaded and
ignored. Names count to the letter: `Event` is not `event`.)"},

    {CheckId::Misplaced, "QX004", kError, "method or event outside an action",
R"(A `method` or `event` is read only directly below an action, and an action is a child of the top element. Right
below the top element it is taken for an action itself; deeper inside an action it is ignored.)"},

    {CheckId::UnknownAttribute, "QX005", kWarning, "unknown attribute",
R"(The attribute is loaded and ignored. Of an action `name` and `process` are read, of a method its first attribute
only, of an event the eleven of the scenario language, of the top element none. Attributes of other namespaces, with
a colon in their name, and `xmlns` are not reported.)"},

    {CheckId::ProcessMisplaced, "QX006", kWarning, "process outside an action",
R"(Only an action's `process` has a process watched. On the top element, a method or an event it is ignored.)"},

    {CheckId::RawMarkup, "QX007", kError, "raw & or < in an attribute",
R"(Inside an attribute an ampersand is written as `&amp;` and a less-than sign as `&lt;`. As they stand they make the file
no XML: nothing of it is loaded.)"},

    {CheckId::NoProcess, "QX008", kWarning, "scenario without process",
R"(An action's `process` says what is watched. Where no action has one, a client watches nothing of its own accord, and
`qxlt run` has to be told with `-p`.)"},

    {CheckId::ActionWithoutMethod, "QX010", kWarning, "action without method",
R"(An action is evaluated for calls of its methods. Without one it only has its process watched.)"},

    {CheckId::ActionWithoutEvent, "QX011", kWarning, "action without event",
R"(The methods of this action are matched and nothing is raised.)"},

    {CheckId::ActionWithoutName, "QX012", kWarning, "action without name",
R"(Methods are subscribed under their action's name, each method once under one name. An action without a name takes
that of the nearest action before it that has one. When both list the same method, the second one is never evaluated
for it.)"},

    {CheckId::LongProcessName, "QX013", kWarning, "process name longer than 15 bytes",
R"(A running process is found by its command name, of which the system keeps 15 bytes. A longer name is found by
those: another process whose name begins with the same 15 bytes is taken for it.)"},

    {CheckId::EmptyProcessName, "QX014", kError, "empty process name",
R"(An empty `process` matches no process. Loading the script waits for it without end.)"},

    {CheckId::MethodWithoutAttribute, "QX015", kError, "method without attribute",
R"(A method's first attribute is the name that calls are matched with. Without one the element is passed over.)"},

    {CheckId::MethodNameNotFirst, "QX016", kError, "method whose first attribute is not its name",
R"(The value of a method's first attribute is the name that calls are matched with, whatever the attribute is called.
Here another attribute stands before `name`. Put `name` first.)"},

    {CheckId::EmptyMethodName, "QX017", kWarning, "empty method name",
R"(An empty name matches only calls whose call site is not known, as it happens when their description was lost.)"},

    {CheckId::MethodTwice, "QX018", kError, "method subscribed twice under one action name",
R"(Of two subscriptions of one method under one action name the second is dropped. When they stand in two actions, the
events of the second one are never evaluated for this method. Give the second action a name of its own, or put its
events into the first. The actions of all scripts that run together count.)"},

    {CheckId::MethodWithPackage, "QX019", kWarning, "method written with its package",
R"(Calls are matched by the bare name of their method. The package that `qxlt` shows in front of it, and the dot, are not
part of it. Methods of one name in several packages are all matched.)"},

    {CheckId::EventWithoutName, "QX020", kWarning, "event without name",
R"(The event is raised under an empty name, and remembers its value together with all others that have none.)"},

    {CheckId::UnknownTag, "QX021", kError, "unknown tag",
R"(`tag` says where the value comes from: `IN` is an argument at the call's entry, `OUT` an argument at its exit,
`RET` the result, `NONE` nothing. With any other word the value is empty, and the event may fire all the same.)"},

    {CheckId::UnknownType, "QX022", kError, "unknown type",
R"(`type` is `STRING` or `INT`. With any other word the value is the word NONE, whatever was passed.)"},

    {CheckId::UnknownWatch, "QX023", kError, "unknown watch",
R"(`watch` is `ALWAYS`, `CHANGED`, `CONDITIONAL` or `D-CONDITIONAL`. With any other word, as without `watch`, the event
fires with every call.)"},

    {CheckId::UnknownCondition, "QX024", kError, "unknown condition",
R"(`condition` is `==`, `!=`, `>`, `<` or `range`. With any other word the condition never holds.)"},

    {CheckId::UnknownConditionType, "QX025", kError, "unknown conditionType",
R"(`conditionType` is `AND` or `OR`. With any other word the last of the values in `conditionValue` decides alone.)"},

    {CheckId::BadIndex, "QX026", kError, "value that is no index",
R"(With the tags `IN`, `OUT` and `RET` the attribute `value` is the place of the argument, counted from 0, among those
that are recorded then. Text that is no number is an error with every call; a negative number is never there.)"},

    {CheckId::ReturnIndex, "QX027", kError, "RET with an index other than 0",
R"(A call has one result, at index 0. With any other index the event never fires.)"},

    {CheckId::ValueWithoutTag, "QX028", kWarning, "value or type without tag",
R"(Without `tag` the event's value is empty; `value` and `type` are ignored.)"},

    {CheckId::TextAfterNumber, "QX029", kWarning, "text after a number",
R"(A number is read as far as it goes and what follows is ignored: `80%` reads as 80, `0x10` as 0.)"},

    {CheckId::FilterWithoutDatakey, "QX030", kWarning, "filter without datakey",
R"(After `filter` was found the value is cut by `datakey`. Without `datakey` nothing is left: the event's value is
empty. To require a text and keep what follows it, write `datakey="text&amp;"`.)"},

    {CheckId::DatakeyWithoutFilter, "QX031", kWarning, "datakey without filter",
R"(`datakey` is consulted only when there is a `filter`. Without one the whole value is taken.)"},

    {CheckId::DatakeyWithoutJoin, "QX032", kWarning, "datakey without &",
R"(`datakey` is two texts joined by `&` (written `&amp;`): the value becomes what stands between them. Without the `&`
one text serves as both, and what follows it is kept up to the end.)"},

    {CheckId::DatakeyWithoutLeft, "QX033", kWarning, "datakey with an empty left part",
R"(The value becomes what stands between the two texts of `datakey`. With an empty first text it begins at the value's
beginning.)"},

    {CheckId::KeywordChanged, "QX034", kWarning, "keyword with CHANGED",
R"(Only the keyword itself passes, so that the value never changes: the event fires once in the life of the tracking
process. To see each time the keyword comes up use `ALWAYS`; to see it come up after another value use
`D-CONDITIONAL` with `condition="=="`.)"},

    {CheckId::KeywordNoDecimal, "QX035", kWarning, "keyword that no INT equals",
R"(An `INT` value is compared as text in its shortest decimal form: 5, -1, 120. `05`, `+5`, `0x5`, blanks and numbers
beyond 32 bits never equal it.)"},

    {CheckId::ConstantValue, "QX036", kWarning, "keyword or filter on a value that is always the same",
R"(With the tag `NONE`, or without `type`, the value is the word NONE; without `tag` it is empty. A keyword or filter
that this does not meet keeps the event from ever firing.)"},

    {CheckId::MissingType, "QX037", kWarning, "value without type",
R"(`type` says how the bytes that `tag` and `value` point at are read: as `INT` or as `STRING`. Without it the event's value
is the word NONE, whatever was passed.)"},

    {CheckId::RightInsideLeft, "QX038", kWarning, "datakey whose right part stands in its left part",
R"(The right text of `datakey` is searched from where the left one begins. Where it occurs inside the left one it is found
there, and never at the end of the field, which then reaches to the end of the value. Shorten the left text.)"},

    {CheckId::NoCondition, "QX040", kError, "conditional event without condition",
R"(`CONDITIONAL` and `D-CONDITIONAL` need `condition`; without one the event never fires.)"},

    {CheckId::OperatorNeedsInt, "QX041", kError, "operator that needs INT",
R"(`>`, `<` and `range` compare numbers and need `type="INT"`. With another type, or none, the event never fires.)"},

    {CheckId::NoNumberToCompare, "QX042", kError, "numbers compared without a number",
R"(The event compares numbers, and its tag gives none: with `NONE` the value is the word NONE, without `tag` it is
empty. The event is in error with every call. Write `IN`, `OUT` or `RET`.)"},

    {CheckId::ComparisonWithoutType, "QX043", kError, "comparison without type",
R"(`==` and `!=` compare texts with `type="STRING"` and numbers with `type="INT"`. Without `type` neither ever holds.)"},

    {CheckId::OperandNoNumber, "QX044", kError, "operand that is no number",
R"(With `type="INT"` the values in `conditionValue` are decimal numbers of 32 bits. Where one is not, the event is in
error with every call.)"},

    {CheckId::RangeBounds, "QX045", kError, "range without two bounds",
R"(`range` takes the lowest and the highest value, joined by a comma: `conditionValue="10,20"`. Otherwise the event
never fires.)"},

    {CheckId::RangeOrder, "QX046", kError, "range with low above high",
R"(The first bound is the lowest value and the second the highest, both included. The other way round nothing lies
between them.)"},

    {CheckId::NeverAllEqual, "QX047", kError, "== with AND and different values",
R"(No value equals two different ones at once: the condition never holds. Write `conditionType="OR"`.)"},

    {CheckId::AlwaysAnyDifferent, "QX048", kWarning, "!= with OR and different values",
R"(Every value differs from at least one of two different ones: the condition always holds. Write
`conditionType="AND"` to exclude all of them.)"},

    {CheckId::ListWithoutType, "QX049", kWarning, "& without conditionType",
R"(Without `conditionType` the whole of `conditionValue` is one value, ampersands included; as a number it is read up
to the first of them. Write `conditionType="OR"` or `"AND"` to make it a list.)"},

    {CheckId::TypeNotConsulted, "QX050", kWarning, "conditionType with >, < or range",
R"(With `>` and `<` one value that holds is enough, whatever `conditionType` says, and `range` has no list. Leave it
out, and give one number.)"},

    {CheckId::AllOfNothing, "QX051", kWarning, "AND with an empty conditionValue",
R"(An empty list has no value that could fail: the condition always holds. To compare with an empty text leave
`conditionType` out.)"},

    {CheckId::NoneOfNothing, "QX052", kError, "empty list that never holds",
R"(With a `conditionType` an empty `conditionValue` is a list of no values, none of which can match: the condition
never holds. To compare with an empty text leave `conditionType` out.)"},

    {CheckId::ConditionIgnored, "QX053", kWarning, "condition that is ignored",
R"(`condition`, `conditionValue` and `conditionType` are consulted with `CONDITIONAL` and `D-CONDITIONAL` only. With
another `watch`, or none, the event fires whatever they say.)"},

    {CheckId::CommaList, "QX054", kWarning, "list with commas",
R"(The values of a list are joined by `&`, which is written `&amp;`, and need a `conditionType`. A comma is part of the
value; only `range` separates by it.)"},

    {CheckId::SeededByAlways, "QX060", kWarning, "one name for an ALWAYS and a CHANGED event",
R"(What an event remembers goes by its name. The first value of an `ALWAYS` event is remembered under the name if
there is none yet: a `CHANGED` event of the same name then does not fire for that value.)"},

    {CheckId::SharedName, "QX061", kWarning, "events of one name in several places",
R"(What an event remembers goes by its name alone, for all actions and scripts: `CHANGED` events of one name share the
last value, `D-CONDITIONAL` ones the last result, and each disturbs the other. A client cannot tell them apart.)"},

    {CheckId::SeveralProcesses, "QX062", kWarning, "one method watched for several processes",
R"(`process` says what is watched and takes no part in matching: each of the actions is evaluated for the calls that any
watched process makes of the method. The call that a client gets with an event tells whose it is.)"},

    {CheckId::UnknownIgnored, "QX070", kWarning, "ignore comment without a check",
R"(`qxlt:ignore` takes the codes of the checks that it silences: `<!-- qxlt:ignore QX034 QX061 -->`.)"},

    {CheckId::NeverRecorded, "QX080", kWarning, "method that was never recorded",
R"(No call site of that method is described in the recording. Names count to the letter, without the package. A method
that the program has not come to yet is not described either.)"},

    {CheckId::NoSuchArgument, "QX081", kError, "argument that the method does not have",
R"(The index is past the method's last argument: the event never fires for this method.)"},

    {CheckId::UnfitType, "QX082", kWarning, "type that does not fit the recorded one",
R"(`INT` reads the first four bytes as a number, `STRING` takes the bytes as text. A number read as `STRING` gives
unprintable bytes, a text or a number with a fraction read as `INT` gives a number that means nothing, and of an
integer of eight bytes `INT` reads the lower half.)"},

    {CheckId::NotRecordedThen, "QX083", kError, "argument that is not recorded then",
R"(`IN` counts the arguments that are recorded at entry, `OUT` those that are recorded at exit, `RET` is the result.
There are fewer than the index asks for: the event never fires for this method. `qxlt list` shows what is recorded.)"},

    {CheckId::ProcessNotRecorded, "QX084", kWarning, "process that was not recorded",
R"(The recording has no process of this name: the name is another one, or the process did not run. `qxlt list` shows those
that are there. Of names the first 15 bytes count.)"},
};
// clang-format on

}  // namespace

const std::vector<Check>& AllChecks() {
    static const std::vector<Check> checks(std::begin(kChecks), std::end(kChecks));
    return checks;
}

const Check& CheckOf(CheckId id) {
    const std::vector<Check>& checks = AllChecks();
    return *std::find_if(checks.begin(), checks.end(), [id](const Check& check) { return check.id == id; });
}

const Check* FindCheck(const std::string& code) {
    std::string wanted = code;
    for (char& byte : wanted) {
        if (byte == 'q' || byte == 'x') byte = static_cast<char>(byte - 'a' + 'A');
    }
    const std::vector<Check>& checks = AllChecks();
    const auto found = std::find_if(checks.begin(), checks.end(), [&](const Check& row) { return wanted == row.code; });
    return found == checks.end() ? nullptr : &*found;
}

std::string MeantCode(const std::string& text) {
    const std::vector<Check>& checks = AllChecks();
    const auto found = std::find_if(checks.begin(), checks.end(),
                                    [&](const Check& check) { return EditDistance(text, check.code) == 1; });
    return found == checks.end() ? std::string() : found->code;
}

const char* SeverityName(Severity severity) {
    return severity == Severity::Error ? "error" : "warning";
}

std::string ExplainCheck(const Check& check) {
    return std::string(check.code) + ": " + check.brief + " (" + SeverityName(check.severity) + ")\n\n" +
           check.details + "\n";
}

std::string ExplainAllChecks() {
    std::string page = kPageHead;
    for (const Check& check : AllChecks()) page += "\n## " + ExplainCheck(check);
    return page;
}

}  // namespace qxlt
