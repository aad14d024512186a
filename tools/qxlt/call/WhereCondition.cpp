#include "WhereCondition.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <limits>
#include <optional>
#include <string_view>

#include "Failure.h"
#include "ScriptNumber.h"
#include "Text.h"
#include "Vocabulary.h"
#include "Xml.h"

namespace qxlt {

namespace {

using Number = std::int64_t;
constexpr Number kLeast = std::numeric_limits<std::int32_t>::min();
constexpr Number kGreatest = std::numeric_limits<std::int32_t>::max();
constexpr char kSeparator = '&';  // of the operands in a list

enum class Operator { Equal, NotEqual, Less, Greater, AtMost, AtLeast, Contains };

struct OperatorWord {
    std::string_view text;
    Operator meaning;
};
constexpr OperatorWord kOperators[] = {
    {"==", Operator::Equal},  {"!=", Operator::NotEqual}, {"<", Operator::Less},           {">", Operator::Greater},
    {"<=", Operator::AtMost}, {">=", Operator::AtLeast},  {"contains", Operator::Contains}};

struct Token {
    std::string text;
    bool isQuoted = false;
};

struct Term {
    std::string value;
    Operator compares = Operator::Equal;
    Token operand;
    std::optional<Number> number;  // of an operand without quotes

    bool ComparesOrder() const { return compares >= Operator::Less && compares <= Operator::AtLeast; }
};

// A condition, taken to pieces.
class Reader final {
public:
    explicit Reader(const std::string& text) : m_text(text) {}

    WhereCondition Read();

private:
    [[noreturn]] void Fail(const std::string& why) const {
        throw Failure(kCannotStart, "--where \"" + Printable(m_text) + "\": " + why);
    }
    [[noreturn]] void FailToSay(const std::string& why) const { Fail("no event of a scenario can say that: " + why); }

    void Split();
    void SplitQuoted(std::size_t& at);
    const Token& Next(const std::string& expected);
    Term ReadTerm();
    void ReadTerms();
    void ReadValue(const std::string& value);
    void RequireSameKind() const;
    void Say(QxEventWords::Attribute attribute, const std::string& word) {
        m_result.attributes.emplace_back(attribute, word);
    }
    void SayCondition(qxscript::Condition condition, const std::string& operand);
    void SayTerms();
    void SayContained();
    void SayOne(const Term& term);
    void SayList(Operator all, qxscript::Condition condition, qxscript::Combination combination);
    void SayRange();

    const std::string& m_text;
    std::vector<Token> m_tokens;
    std::size_t m_next = 0;
    std::vector<Term> m_terms;
    bool m_isOr = false;
    WhereCondition m_result;
};

bool IsOperatorCharacter(char byte) {
    return byte == '=' || byte == '!' || byte == '<' || byte == '>';
}

void Reader::SplitQuoted(std::size_t& at) {
    const std::size_t end = m_text.find(m_text[at], at + 1);
    if (end == std::string::npos) Fail("the quote is not closed");
    m_tokens.push_back({m_text.substr(at + 1, end - at - 1), true});
    at = end + 1;
}

void Reader::Split() {
    for (std::size_t at = 0; at < m_text.size();) {
        if (m_text[at] == ' ') {
            ++at;
        } else if (m_text[at] == '\'' || m_text[at] == '"') {
            SplitQuoted(at);
        } else {
            const std::size_t begin = at;
            const bool isOperator = IsOperatorCharacter(m_text[at]);
            while (at < m_text.size() && m_text[at] != ' ' && IsOperatorCharacter(m_text[at]) == isOperator) ++at;
            m_tokens.push_back({m_text.substr(begin, at - begin)});
        }
    }
}

const Token& Reader::Next(const std::string& expected) {
    if (m_next == m_tokens.size()) Fail(expected + " is missing; write it as in \"in.0 > 80\" or \"ret == 'text'\"");
    return m_tokens[m_next++];
}

std::optional<Number> NumberIn(const Token& token) {
    Number number = 0;
    const char* const end = token.text.data() + token.text.size();
    const auto [rest, error] = std::from_chars(token.text.data(), end, number);
    if (token.isQuoted || rest != end || error != std::errc()) return std::nullopt;
    return number;
}

Term Reader::ReadTerm() {
    Term term;
    term.value = Next("the value").text;
    const std::string word = Next("the operator").text;
    const auto known = std::find_if(std::begin(kOperators), std::end(kOperators),
                                    [&word](const OperatorWord& entry) { return entry.text == word; });
    if (known == std::end(kOperators)) {
        Fail("\"" + Printable(word) + "\" is no operator; there are == != < > <= >= and contains");
    }
    term.compares = known->meaning;
    term.operand = Next("what the value is compared with");
    term.number = NumberIn(term.operand);
    return term;
}

void Reader::ReadTerms() {
    m_terms.push_back(ReadTerm());
    while (m_next < m_tokens.size()) {
        const std::string join = Next("and").text;
        if (join != "and" && join != "or") {
            Fail("behind a condition stands \"and\", \"or\" or nothing, but not \"" + Printable(join) +
                 "\"; write texts with blanks in quotes");
        }
        if (m_terms.size() > 1 && m_isOr != (join == "or")) FailToSay("\"and\" beside \"or\"");
        m_isOr = join == "or";
        m_terms.push_back(ReadTerm());
    }
}

// The places in a call are those that its values are shown under.
void Reader::ReadValue(const std::string& value) {
    const std::string list = value.substr(0, value.find('.'));
    const std::string index = value == list ? std::string() : value.substr(list.size() + 1);
    const bool isResult = list == "ret";
    if (!isResult && list != "in" && list != "out") {
        Fail("\"" + Printable(value) + "\" is no value of a call; there are in.0, in.1, ..., out.0, ... and ret");
    }
    if (isResult && index.empty() && value == list) {
        m_result.tag = qxscript::Tag::Ret;
        return;
    }
    if (index.find('.') != std::string::npos || isResult) {
        FailToSay("of a composite value it reads the first member; leave out \"" +
                  Printable(value.substr(isResult ? list.size() : value.rfind('.'))) + "\" for that");
    }
    const bool isNumber = !index.empty() && index.find_first_not_of("0123456789") == std::string::npos;
    const std::optional<ScriptNumber> number = isNumber ? ReadIndex(index) : std::nullopt;
    if (!number) Fail("\"" + Printable(value) + "\" has no index; the first is " + list + ".0");
    m_result.tag = list == "in" ? qxscript::Tag::In : qxscript::Tag::Out;
    m_result.index = static_cast<std::uint32_t>(number->value);
}

void Reader::RequireSameKind() const {
    const Term& first = m_terms.front();
    for (const Term& term : m_terms) {
        if (term.value != first.value) {
            FailToSay("it looks at one value of a call; give " + Printable(first.value) + " and " +
                      Printable(term.value) + " a --where each, which are events of their own");
        }
        if (term.number.has_value() != first.number.has_value()) FailToSay("a value is a number or a text, not both");
        if (!term.operand.isQuoted && !term.number) {
            Fail("\"" + Printable(term.operand.text) +
                 "\" is no whole number, and no other is compared; write a text in quotes");
        }
        if (term.number && (*term.number < kLeast || *term.number > kGreatest)) {
            FailToSay(term.operand.text + " does not fit 32 bits");
        }
        if (!term.number && term.ComparesOrder()) FailToSay("texts are equal or not, none is greater than another");
        if (term.number && term.compares == Operator::Contains) FailToSay("texts alone contain something");
        if (!IsXmlText(term.operand.text)) FailToSay("the text has characters that no script can hold");
    }
}

void Reader::SayCondition(qxscript::Condition condition, const std::string& operand) {
    Say(QxEventWords::kWatch, TextOf(qxscript::Watch::Conditional));
    Say(QxEventWords::kCondition, TextOf(condition));
    Say(QxEventWords::kConditionValue, operand);
}

// What is greater than a number is at least the next one. A bound that no number is beyond says nothing.
void Reader::SayOne(const Term& term) {
    const std::string& operand = term.operand.text;
    switch (term.compares) {
        case Operator::Equal:
            return SayCondition(qxscript::Condition::Equal, operand);
        case Operator::NotEqual:
            return SayCondition(qxscript::Condition::NotEqual, operand);
        case Operator::Less:
            return SayCondition(qxscript::Condition::Less, operand);
        case Operator::Greater:
            return SayCondition(qxscript::Condition::Greater, operand);
        case Operator::AtMost:
        case Operator::AtLeast:
            return SayRange();
        case Operator::Contains:
            return SayContained();
    }
}

// Of a value that contains the text the event has what stands behind it.
void Reader::SayContained() {
    const std::string& text = m_terms.front().operand.text;
    if (m_terms.size() > 1) FailToSay("\"contains\" stands for itself alone");
    if (text.empty()) Fail("every text contains the empty one");
    if (text.find(kSeparator) != std::string::npos) FailToSay("a text that is searched for holds no &");
    Say(QxEventWords::kFilter, text);
    Say(QxEventWords::kDatakey, text + kSeparator);
    Say(QxEventWords::kWatch, TextOf(qxscript::Watch::Always));
}

void Reader::SayList(Operator all, qxscript::Condition condition, qxscript::Combination combination) {
    std::string operands;
    for (const Term& term : m_terms) {
        if (term.compares != all) {
            FailToSay(m_isOr ? "\"or\" stands between == alone; give each a --where, which are events of their own"
                             : "\"and\" stands between != alone, or between two bounds");
        }
        const std::string& operand = term.operand.text;
        if (operand.empty()) FailToSay("a list of operands has no empty one");
        if (operand.find(kSeparator) != std::string::npos) FailToSay("operands in a list hold no &");
        operands += (operands.empty() ? "" : std::string(1, kSeparator)) + operand;
    }
    SayCondition(condition, operands);
    Say(QxEventWords::kConditionType, TextOf(combination));
}

void Reader::SayRange() {
    Number least = kLeast;
    Number greatest = kGreatest;
    for (const Term& term : m_terms) {
        switch (term.compares) {
            case Operator::Less:
                greatest = std::min(greatest, *term.number - 1);
                break;
            case Operator::AtMost:
                greatest = std::min(greatest, *term.number);
                break;
            case Operator::Greater:
                least = std::max(least, *term.number + 1);
                break;
            case Operator::AtLeast:
                least = std::max(least, *term.number);
                break;
            default:
                FailToSay("\"and\" stands between != alone, or between two bounds");
        }
    }
    if (least > greatest) Fail("no number is that");
    SayCondition(qxscript::Condition::Range, std::to_string(least) + "," + std::to_string(greatest));
}

void Reader::SayTerms() {
    if (m_terms.size() == 1) return SayOne(m_terms.front());
    if (m_isOr) return SayList(Operator::Equal, qxscript::Condition::Equal, qxscript::Combination::Any);
    if (m_terms.front().ComparesOrder()) return SayRange();
    SayList(Operator::NotEqual, qxscript::Condition::NotEqual, qxscript::Combination::All);
}

WhereCondition Reader::Read() {
    m_result.text = m_text;
    Split();
    ReadTerms();
    RequireSameKind();
    ReadValue(m_terms.front().value);
    m_result.type = m_terms.front().number ? qxscript::Type::Int : qxscript::Type::String;
    Say(QxEventWords::kTag, TextOf(m_result.tag));
    Say(QxEventWords::kValue, std::to_string(m_result.index));
    Say(QxEventWords::kType, TextOf(m_result.type));
    SayTerms();
    return m_result;
}

}  // namespace

std::string WhereCondition::Value() const {
    if (tag == qxscript::Tag::Ret) return "ret";
    return (tag == qxscript::Tag::In ? "in." : "out.") + std::to_string(index);
}

WhereCondition ReadWhere(const std::string& text) {
    return Reader(text).Read();
}

}  // namespace qxlt
