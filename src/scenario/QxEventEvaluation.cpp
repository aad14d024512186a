#include "QxEventEvaluation.h"

#include <algorithm>
#include <climits>
#include <cstdarg>
#include <cstdint>
#include <cstdlib>

#include "IQxLogTracker.h"
#include "QxConversions.h"
#include "QxDebugPrint.h"
#include "QxDecodeLog.h"
#include "QxEventMemory.h"

namespace {

using qxscript::Combination;
using qxscript::Condition;
using qxscript::Tag;
using qxscript::Type;
using qxscript::Watch;
using Words = QxEventWords;

__attribute__((format(printf, 2, 3))) void Print(int level, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    QxDebugPrint::GetInstance()->PrintV("PushEvent", __LINE__, level, format, arguments);
    va_end(arguments);
}

bool IsOfCondition(const std::string& attribute) {
    return attribute == Words::kNames[Words::kCondition] || attribute == Words::kNames[Words::kConditionValue] ||
           attribute == Words::kNames[Words::kConditionType];
}

int ShownIndex(const std::string& text) {
    const long long index = std::strtoll(text.c_str(), nullptr, 10);
    return static_cast<int>(std::clamp<long long>(index, INT_MIN, INT_MAX));
}

// A position as the format's 32-bit arithmetic has it: all ones when nothing was found.
std::uint32_t FindFrom(const std::string& text, const std::string& part, std::size_t from) {
    return static_cast<std::uint32_t>(text.find(part, from));
}

}  // namespace

QxEventEvaluation::QxEventEvaluation(const IQxData::_HSScriptPtr& event, const QxEventWords& words,
                                     const IQxData::HSCall& call, QxDecodeLog* log)
    : m_call(call), m_log(log), m_words(words) {
    if (!QxDebugPrint::GetInstance()->Writes(Info)) return;
    for (const auto& [name, value] : event.attributes) {
        if (IsOfCondition(name)) Print(Info, "keyword : %s, value : %s", name.c_str(), value.c_str());
    }
}

void QxEventEvaluation::Complain(const char* format, ...) const {
    va_list arguments;
    va_start(arguments, format);
    if (m_log != nullptr) {
        m_log->PrintV("PushEvent", __LINE__, Major, format, arguments);
    } else {
        QxDebugPrint::GetInstance()->PrintV("PushEvent", __LINE__, Major, format, arguments);
    }
    va_end(arguments);
}

// The standard conversions throw; the stage then says what they were reading.
std::optional<std::uint32_t> QxEventEvaluation::ReadIndex() {
    m_stage = QxStage::Index;
    const std::optional<std::uint32_t> index = qxscript::ReadIndex(m_words[Words::kValue]);
    m_stage = QxStage::Other;
    return index;
}

int QxEventEvaluation::ReadNumber(const std::string& text, QxStage stage) {
    m_stage = stage;
    const int number = qxscript::ReadNumber(text);
    m_stage = QxStage::Other;
    return number;
}

QxOutcome QxEventEvaluation::Decide() {
    if (!PickArgument()) return QxOutcome::NoArgument;
    const std::string& filter = m_words[Words::kFilter];
    if (!filter.empty()) {
        if (m_argument.find(filter) == std::string::npos) return QxOutcome::FilterMissing;
        CutField();
    }
    const std::string& keyword = m_words[Words::kKeyword];
    if (!keyword.empty() && keyword != m_argument) {
        Print(Info, "(not match)keyword : %s, actual value : %s", keyword.c_str(), m_argument.c_str());
        return QxOutcome::KeywordDiffers;
    }
    switch (m_words.Watch()) {
        case Watch::Changed:
            return DecideChanged();
        case Watch::Conditional:
            return DecideCondition(false);
        case Watch::Rising:
            return DecideCondition(true);
        case Watch::Always:
            return DecideAlways();
        case Watch::Other:
            break;
    }
    return QxOutcome::Fires;
}

// An unknown tag leaves the value empty, and the event may fire all the same.
bool QxEventEvaluation::PickArgument() {
    switch (m_words.Tag()) {
        case Tag::In:
            return PickFrom(m_call.args.in);
        case Tag::Out:
            return PickFrom(m_call.args.out);
        case Tag::Ret:
            return PickReturn();
        case Tag::None:
            Print(Info, "Tag is NONE");
            m_argument = qxscript::kNoValue;
            break;
        case Tag::Other:
            break;
    }
    return true;
}

bool QxEventEvaluation::PickFrom(const Arguments& list) {
    const std::optional<std::uint32_t> index = ReadIndex();
    if (!index || *index >= list.size() || list[*index].empty()) return false;
    m_argument = Decode(list[*index].front().second);
    return true;
}

bool QxEventEvaluation::PickReturn() {
    const Arguments& list = m_call.args.ret;
    const std::optional<std::uint32_t> index = ReadIndex();
    if (!index || *index >= list.size()) {
        Complain("Return size is less than value, call.args.ret.size():%d, value:%d", static_cast<int>(list.size()),
                 ShownIndex(m_words[Words::kValue]));
        return false;
    }
    if (!PickFrom(list)) return false;
    Print(Info, "Return value : %s", m_argument.c_str());
    return true;
}

std::string QxEventEvaluation::Decode(const std::string& raw) const {
    switch (m_words.Type()) {
        case Type::String:
            return qxconversions::ToText(raw);
        case Type::Int:
            return qxconversions::ToNumber(raw);
        case Type::Other:
            break;
    }
    return qxscript::kNoValue;
}

// Cuts out what stands between the two markers. Positions are 32-bit and wrap: a marker that is missing is "found" at
// all ones. The right marker is searched from where the left one begins, so one text may serve as both.
void QxEventEvaluation::CutField() {
    const Words::Markers markers = m_words.FieldMarkers();
    const std::uint32_t leftAt = FindFrom(m_argument, markers.left, 0);
    const std::uint32_t rightAt = FindFrom(m_argument, markers.right, leftAt);
    const std::uint32_t start = leftAt + static_cast<std::uint32_t>(markers.left.size());
    const std::uint32_t length = rightAt - start;
    m_stage = QxStage::Field;
    m_argument = m_argument.substr(start, length);
    m_stage = QxStage::Other;
}

QxOutcome QxEventEvaluation::DecideChanged() const {
    const QxEventMemory::Value before = QxEventMemory::Exchange(Name(), m_argument);
    Print(Info, "m_EventValues.size: %d", static_cast<int>(before.count));
    if (before.change == QxEventMemory::Change::Different) {
        Print(Info, "New value for event: %s, new value: %s", Name().c_str(), m_argument.c_str());
    } else if (before.change == QxEventMemory::Change::Same) {
        Print(Info, "Event Value NOT CHANGED event: %s, old value: %s, new value: %s", Name().c_str(),
              m_argument.c_str(), m_argument.c_str());
        return QxOutcome::Unchanged;
    }
    return QxOutcome::Fires;
}

// A remembered value is kept: a CHANGED event of the same name goes on comparing with it.
QxOutcome QxEventEvaluation::DecideAlways() const {
    QxEventMemory::Seed(Name(), m_argument);
    Print(Info, "New value for event: %s, new value: %s", Name().c_str(), m_argument.c_str());
    return QxOutcome::Fires;
}

QxOutcome QxEventEvaluation::DecideCondition(bool risingOnly) {
    const Verdict verdict = Compare();
    if (verdict == Verdict::WrongType) return QxOutcome::WrongType;
    if (verdict == Verdict::WrongRange) return QxOutcome::WrongRange;
    const bool result = verdict == Verdict::True;
    bool held = false;
    if (risingOnly) {
        const QxEventMemory::Result before = QxEventMemory::ExchangeResult(Name(), result);
        held = before.known && before.previous;
        if (before.known) {
            Print(Info, "Previous Dcondition value: %d", static_cast<int>(before.previous));
        } else {
            Print(Info, "First Dcondition value: %d", static_cast<int>(result));
        }
    }
    if (held || !result) {
        Print(Info, "Match not found Condition/D-Condition isSendEvent:%d", 0);
        return result ? QxOutcome::NotRising : QxOutcome::ConditionFalse;
    }
    Print(Info, "Match found for Condition/D-Condition OK isSendEvent:%d", 1);
    return QxOutcome::Fires;
}

QxEventEvaluation::Verdict QxEventEvaluation::Compare() {
    switch (m_words.Condition()) {
        case Condition::Equal:
            return CompareEach(true);
        case Condition::NotEqual:
            return CompareEach(false);
        case Condition::Greater:
            return CompareOrder(true);
        case Condition::Less:
            return CompareOrder(false);
        case Condition::Range:
            return CompareRange();
        case Condition::Other:
            break;
    }
    return Verdict::False;
}

QxEventEvaluation::Verdict QxEventEvaluation::CompareEach(bool equal) {
    const Combination combination = m_words.Combination();
    const bool all = combination == Combination::All;
    const bool any = combination == Combination::Any;
    bool result = all;
    m_words.EachOperand([&](const std::string& operand) {
        const bool matched = Matches(operand, equal);
        result = all ? result && matched : any ? result || matched : matched;
    });
    return result ? Verdict::True : Verdict::False;
}

bool QxEventEvaluation::Matches(const std::string& operand, bool equal) {
    const Type type = m_words.Type();
    if (type == Type::String && (m_argument == operand) == equal) {
        Print(Info, "STRING match in ConditionList argument:%s, conditionValue:%s", m_argument.c_str(),
              operand.c_str());
        return true;
    }
    if (type != Type::Int) return false;
    const int number = ReadNumber(m_argument, QxStage::Argument);
    if ((number == ReadNumber(operand, QxStage::Operand)) != equal) return false;
    Print(Info, "INT match in ConditionList , argument:%s, conditionValue:%s", m_argument.c_str(), operand.c_str());
    return true;
}

// One operand that holds is enough; all of them are read.
QxEventEvaluation::Verdict QxEventEvaluation::CompareOrder(bool greater) {
    const char* const sign = greater ? ">" : "<";
    Verdict verdict = Verdict::False;
    m_words.EachOperand([&](const std::string& operand) {
        if (verdict == Verdict::WrongType) return;
        if (m_words.Type() != Type::Int) {
            Complain("Wrong type[%s] passed for %s operator", m_words[Words::kType].c_str(), sign);
            verdict = Verdict::WrongType;
            return;
        }
        const int number = ReadNumber(m_argument, QxStage::Argument);
        const int bound = ReadNumber(operand, QxStage::Operand);
        if (greater ? number > bound : number < bound) {
            Print(Info, "INT Condition %s match, argument:%s, conditionValue:%s", sign, m_argument.c_str(),
                  operand.c_str());
            verdict = Verdict::True;
        }
    });
    return verdict;
}

QxEventEvaluation::Verdict QxEventEvaluation::CompareRange() {
    const std::string& text = m_words[Words::kConditionValue];
    const std::vector<std::string> bounds = m_words.Operands();
    if (bounds.size() != 2) {
        Complain("Wrong ConditionValue[%s] passed for range", text.c_str());
        return Verdict::WrongRange;
    }
    const int low = ReadNumber(bounds[0], QxStage::Bound);
    const int high = ReadNumber(bounds[1], QxStage::Bound);
    if (m_words.Type() != Type::Int) {
        Complain("Wrong type[%s] passed for range operator", m_words[Words::kType].c_str());
        return Verdict::WrongType;
    }
    const int number = ReadNumber(m_argument, QxStage::Argument);
    if (number < low || number > high) return Verdict::False;
    Print(Info, "INT Condition range match, argument:%s, conditionValue:%s", m_argument.c_str(), text.c_str());
    return Verdict::True;
}
