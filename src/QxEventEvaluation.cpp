#include "QxEventEvaluation.h"

#include <algorithm>
#include <climits>
#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <stdexcept>
#include <string_view>

#include "IQxLogTracker.h"
#include "QxDebugPrint.h"
#include "QxDecodeLog.h"
#include "QxEventMemory.h"
#include "QxScriptScenario.h"

namespace {

// Never destroyed: a worker may still run when the process ends.
const std::string& kEmpty = *new std::string;
const std::string& kNone = *new std::string("NONE");

__attribute__((format(printf, 2, 3))) void Print(int level, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    QxDebugPrint::GetInstance()->PrintV("PushEvent", __LINE__, level, format, arguments);
    va_end(arguments);
}

// The index as a 32-bit unsigned number; none for a negative one, which no list holds. Throws as std::stoul does where
// `unsigned long` has 32 bits, on every system.
std::optional<std::uint32_t> ReadIndex(const std::string& text) {
    const unsigned long value = std::stoul(text);
    const bool negative = text[text.find_first_not_of(" \t\n\v\f\r")] == '-';
    if ((negative ? 0ul - value : value) > UINT32_MAX) throw std::out_of_range("stoul");
    if (negative && value != 0) return std::nullopt;
    return static_cast<std::uint32_t>(value);
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

QxEventEvaluation::QxEventEvaluation(const IQxData::_HSScriptPtr& event, const IQxData::HSCall& call, QxDecodeLog* log)
    : m_call(call),
      m_log(log),
      m_name(&kEmpty),
      m_filter(&kEmpty),
      m_datakey(&kEmpty),
      m_type(&kEmpty),
      m_tag(&kEmpty),
      m_value(&kEmpty),
      m_keyword(&kEmpty),
      m_watch(&kEmpty),
      m_condition(&kEmpty),
      m_conditionValue(&kEmpty),
      m_conditionType(&kEmpty) {
    for (const auto& attribute : event.attributes) ReadAttribute(attribute.first, attribute.second);
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

void QxEventEvaluation::ReadAttribute(const std::string& name, const std::string& value) {
    struct Field {
        std::string_view name;
        const std::string* QxEventEvaluation::*place;
        bool logged;
    };
    static constexpr Field kFields[] = {{"name", &QxEventEvaluation::m_name, false},
                                        {"tag", &QxEventEvaluation::m_tag, false},
                                        {"value", &QxEventEvaluation::m_value, false},
                                        {"type", &QxEventEvaluation::m_type, false},
                                        {"watch", &QxEventEvaluation::m_watch, false},
                                        {"condition", &QxEventEvaluation::m_condition, true},
                                        {"conditionValue", &QxEventEvaluation::m_conditionValue, true},
                                        {"conditionType", &QxEventEvaluation::m_conditionType, true},
                                        {"filter", &QxEventEvaluation::m_filter, false},
                                        {"datakey", &QxEventEvaluation::m_datakey, false},
                                        {"keyword", &QxEventEvaluation::m_keyword, false}};
    const auto* const field =
        std::find_if(std::begin(kFields), std::end(kFields), [&](const Field& known) { return name == known.name; });
    if (field == std::end(kFields)) return;
    this->*field->place = &value;
    if (field->logged) Print(Info, "keyword : %s, value : %s", name.c_str(), value.c_str());
}

QxOutcome QxEventEvaluation::Decide() {
    if (!PickArgument()) return QxOutcome::NoArgument;
    if (!m_filter->empty()) {
        if (m_argument.find(*m_filter) == std::string::npos) return QxOutcome::FilterMissing;
        CutField();
    }
    if (!m_keyword->empty() && *m_keyword != m_argument) {
        Print(Info, "(not match)keyword : %s, actual value : %s", m_keyword->c_str(), m_argument.c_str());
        return QxOutcome::KeywordDiffers;
    }
    if (*m_watch == "CHANGED") return DecideChanged();
    if (*m_watch == "CONDITIONAL") return DecideCondition(false);
    if (*m_watch == "D-CONDITIONAL") return DecideCondition(true);
    if (*m_watch == "ALWAYS") return DecideAlways();
    return QxOutcome::Fires;
}

// An unknown tag leaves the value empty, and the event may fire all the same.
bool QxEventEvaluation::PickArgument() {
    if (*m_tag == "IN") return PickFrom(m_call.args.in);
    if (*m_tag == "OUT") return PickFrom(m_call.args.out);
    if (*m_tag == "RET") return PickReturn();
    if (*m_tag == "NONE") {
        Print(Info, "Tag is NONE");
        m_argument = kNone;
    }
    return true;
}

bool QxEventEvaluation::PickFrom(const Arguments& list) {
    const std::optional<std::uint32_t> index = ReadIndex(*m_value);
    if (!index || *index >= list.size() || list[*index].empty()) return false;
    m_argument = Decode(list[*index].front().second);
    return true;
}

bool QxEventEvaluation::PickReturn() {
    const Arguments& list = m_call.args.ret;
    const std::optional<std::uint32_t> index = ReadIndex(*m_value);
    if (!index || *index >= list.size()) {
        Complain("Return size is less than value, call.args.ret.size():%d, value:%d", static_cast<int>(list.size()),
                 ShownIndex(*m_value));
        return false;
    }
    if (!PickFrom(list)) return false;
    Print(Info, "Return value : %s", m_argument.c_str());
    return true;
}

std::string QxEventEvaluation::Decode(const std::string& raw) const {
    if (*m_type == "STRING") return QxScriptScenario::ConverStringArg(raw);
    if (*m_type == "INT") return QxScriptScenario::ConverIntArg(raw);
    return kNone;
}

// Cuts out what stands between the two markers. Positions are 32-bit and wrap: a marker that is missing is "found" at
// all ones. The right marker is searched from where the left one begins, so one text may serve as both.
void QxEventEvaluation::CutField() {
    const std::size_t join = m_datakey->find('&');
    const std::string left = m_datakey->substr(0, join);
    const std::string right = join == std::string::npos ? left : m_datakey->substr(join + 1);
    const std::uint32_t leftAt = FindFrom(m_argument, left, 0);
    const std::uint32_t rightAt = FindFrom(m_argument, right, leftAt);
    const std::uint32_t start = leftAt + static_cast<std::uint32_t>(left.size());
    const std::uint32_t length = rightAt - start;
    m_argument = m_argument.substr(start, length);
}

QxOutcome QxEventEvaluation::DecideChanged() const {
    const QxEventMemory::Value before = QxEventMemory::Exchange(*m_name, m_argument);
    Print(Info, "m_EventValues.size: %d", static_cast<int>(before.count));
    if (before.change == QxEventMemory::Change::Different) {
        Print(Info, "New value for event: %s, new value: %s", m_name->c_str(), m_argument.c_str());
    } else if (before.change == QxEventMemory::Change::Same) {
        Print(Info, "Event Value NOT CHANGED event: %s, old value: %s, new value: %s", m_name->c_str(),
              m_argument.c_str(), m_argument.c_str());
        return QxOutcome::Unchanged;
    }
    return QxOutcome::Fires;
}

// A remembered value is kept: a CHANGED event of the same name goes on comparing with it.
QxOutcome QxEventEvaluation::DecideAlways() const {
    QxEventMemory::Seed(*m_name, m_argument);
    Print(Info, "New value for event: %s, new value: %s", m_name->c_str(), m_argument.c_str());
    return QxOutcome::Fires;
}

QxOutcome QxEventEvaluation::DecideCondition(bool risingOnly) const {
    const Verdict verdict = Compare();
    if (verdict == Verdict::WrongType) return QxOutcome::WrongType;
    if (verdict == Verdict::WrongRange) return QxOutcome::WrongRange;
    const bool result = verdict == Verdict::True;
    bool held = false;
    if (risingOnly) {
        const QxEventMemory::Result before = QxEventMemory::ExchangeResult(*m_name, result);
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

QxEventEvaluation::Verdict QxEventEvaluation::Compare() const {
    if (*m_condition == "==") return CompareEach(Operands(), true);
    if (*m_condition == "!=") return CompareEach(Operands(), false);
    if (*m_condition == ">") return CompareOrder(Operands(), true);
    if (*m_condition == "<") return CompareOrder(Operands(), false);
    if (*m_condition == "range") return CompareRange();
    return Verdict::False;
}

// Without a condition type the whole text is one operand, even an empty one.
std::vector<std::string> QxEventEvaluation::Operands() const {
    if (m_conditionType->empty()) return {*m_conditionValue};
    std::vector<std::string> operands;
    split(*m_conditionValue, "&", operands);
    return operands;
}

// A condition type that is neither AND nor OR lets the last operand decide.
QxEventEvaluation::Verdict QxEventEvaluation::CompareEach(const std::vector<std::string>& operands, bool equal) const {
    const bool all = *m_conditionType == "AND";
    const bool any = *m_conditionType == "OR";
    bool result = all;
    for (const std::string& operand : operands) {
        const bool matched = Matches(operand, equal);
        result = all ? result && matched : any ? result || matched : matched;
    }
    return result ? Verdict::True : Verdict::False;
}

bool QxEventEvaluation::Matches(const std::string& operand, bool equal) const {
    if (*m_type == "STRING" && (m_argument == operand) == equal) {
        Print(Info, "STRING match in ConditionList argument:%s, conditionValue:%s", m_argument.c_str(),
              operand.c_str());
        return true;
    }
    if (*m_type == "INT" && (std::stoi(m_argument) == std::stoi(operand)) == equal) {
        Print(Info, "INT match in ConditionList , argument:%s, conditionValue:%s", m_argument.c_str(), operand.c_str());
        return true;
    }
    return false;
}

// One operand that holds is enough, whatever the condition type; all of them are read.
QxEventEvaluation::Verdict QxEventEvaluation::CompareOrder(const std::vector<std::string>& operands,
                                                           bool greater) const {
    const char* const sign = greater ? ">" : "<";
    bool result = false;
    for (const std::string& operand : operands) {
        if (*m_type != "INT") {
            Complain("Wrong type[%s] passed for %s operator", m_type->c_str(), sign);
            return Verdict::WrongType;
        }
        const int number = std::stoi(m_argument);
        const int bound = std::stoi(operand);
        if (greater ? number > bound : number < bound) {
            Print(Info, "INT Condition %s match, argument:%s, conditionValue:%s", sign, m_argument.c_str(),
                  operand.c_str());
            result = true;
        }
    }
    return result ? Verdict::True : Verdict::False;
}

QxEventEvaluation::Verdict QxEventEvaluation::CompareRange() const {
    std::vector<std::string> bounds;
    split(*m_conditionValue, ",", bounds);
    if (bounds.size() != 2) {
        Complain("Wrong ConditionValue[%s] passed for range", m_conditionValue->c_str());
        return Verdict::WrongRange;
    }
    const int low = std::stoi(bounds[0]);
    const int high = std::stoi(bounds[1]);
    if (*m_type != "INT") {
        Complain("Wrong type[%s] passed for range operator", m_type->c_str());
        return Verdict::WrongType;
    }
    const int number = std::stoi(m_argument);
    if (number < low || number > high) return Verdict::False;
    Print(Info, "INT Condition range match, argument:%s, conditionValue:%s", m_argument.c_str(),
          m_conditionValue->c_str());
    return Verdict::True;
}
