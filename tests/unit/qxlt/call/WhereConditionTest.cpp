// What a condition of the command line says is what the event says that stands for it.
#include "WhereCondition.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <string>
#include <vector>

#include "Failure.h"
#include "QxEventEvaluation.h"
#include "Vocabulary.h"

namespace {

using namespace qxlt;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// As a store keeps bytes.
std::string Stored(std::string bytes) {
    for (char& byte : bytes) ++byte;
    return bytes;
}

std::string Stored(std::int32_t number) {
    std::string bytes;
    for (unsigned i = 0; i < 4; ++i) bytes += static_cast<char>(static_cast<std::uint32_t>(number) >> (8 * i));
    return Stored(bytes);
}

template <typename Value>
bool Fires(const WhereCondition& condition, const Value& value) {
    IQxData::_HSScriptPtr event;
    for (const auto& [attribute, word] : condition.attributes) event.attributes.emplace_back(TextOf(attribute), word);
    IQxData::HSCall call{};
    call.args.in = {{{"", Stored(0)}}, {{"", Stored(value)}}};
    return QxEventEvaluation(event, QxEventWords(event), call).Decide() == QxOutcome::Fires;
}

// Those of some values that it fires for.
template <typename Value>
std::vector<Value> Fired(const std::string& where, const std::vector<Value>& values) {
    const WhereCondition condition = ReadWhere(where);
    std::vector<Value> fired;
    for (const Value& value : values) {
        if (Fires(condition, value)) fired.push_back(value);
    }
    return fired;
}

std::vector<std::int32_t> Numbers(const std::string& where) {
    return Fired<std::int32_t>(where, {INT32_MIN, -80, -1, 0, 1, 79, 80, 81, INT32_MAX});
}

std::vector<std::string> Texts(const std::string& where) {
    return Fired<std::string>(where, {"", "on", "off", "it's on", "a&b"});
}

std::string Refusal(const std::string& where) {
    try {
        ReadWhere(where);
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.Status(), kCannotStart);
        return failure.what();
    }
    return "";
}

TEST(WhereConditionTest, ComparesNumbers) {
    EXPECT_THAT(Numbers("in.1 == 80"), ElementsAre(80));
    EXPECT_THAT(Numbers("in.1 != 80"), ElementsAre(INT32_MIN, -80, -1, 0, 1, 79, 81, INT32_MAX));
    EXPECT_THAT(Numbers("in.1 > 79"), ElementsAre(80, 81, INT32_MAX));
    EXPECT_THAT(Numbers("in.1<-1"), ElementsAre(INT32_MIN, -80));
    EXPECT_THAT(Numbers("in.1 >= 80"), ElementsAre(80, 81, INT32_MAX));
    EXPECT_THAT(Numbers("in.1 <= -80"), ElementsAre(INT32_MIN, -80));
    EXPECT_THAT(Numbers("in.1 >= 2147483647"), ElementsAre(INT32_MAX));
    EXPECT_THAT(Numbers("in.1 <= -2147483648"), ElementsAre(INT32_MIN));
}

TEST(WhereConditionTest, JoinsConditionsOnOneValue) {
    EXPECT_THAT(Numbers("in.1 > 0 and in.1 < 80"), ElementsAre(1, 79));
    EXPECT_THAT(Numbers("in.1 >= 0 and in.1 <= 80 and in.1 > 1"), ElementsAre(79, 80));
    EXPECT_THAT(Numbers("in.1 == 80 or in.1 == -1"), ElementsAre(-1, 80));
    EXPECT_THAT(Numbers("in.1 != 80 and in.1 != 0 and in.1 != 1"), ElementsAre(INT32_MIN, -80, -1, 79, 81, INT32_MAX));
}

TEST(WhereConditionTest, ComparesTexts) {
    EXPECT_THAT(Texts("in.1 == 'on'"), ElementsAre("on"));
    EXPECT_THAT(Texts("in.1 == \"it's on\""), ElementsAre("it's on"));
    EXPECT_THAT(Texts("in.1 == ''"), ElementsAre(""));
    EXPECT_THAT(Texts("in.1 == 'a&b'"), ElementsAre("a&b"));
    EXPECT_THAT(Texts("in.1 != 'on'"), ElementsAre("", "off", "it's on", "a&b"));
    EXPECT_THAT(Texts("in.1 contains 'on'"), ElementsAre("on", "it's on"));
    EXPECT_THAT(Texts("in.1 == 'on' or in.1 == 'off'"), ElementsAre("on", "off"));
    EXPECT_THAT(Texts("in.1 != 'on' and in.1 != 'off'"), ElementsAre("", "it's on", "a&b"));
}

TEST(WhereConditionTest, NamesTheValueThatItIsAbout) {
    EXPECT_EQ(ReadWhere("in.1 == 1").Value(), "in.1");
    EXPECT_EQ(ReadWhere("out.12 == 1").Value(), "out.12");
    EXPECT_EQ(ReadWhere("ret<0").Value(), "ret");
    EXPECT_EQ(ReadWhere("ret < 0").attributes.front().second, "RET");
}

TEST(WhereConditionTest, SaysWhatNoScenarioCanSay) {
    const std::string cannot = "no event of a scenario can say that: ";
    EXPECT_EQ(Refusal("in.0 > 80 and ret < 0"),
              "--where \"in.0 > 80 and ret < 0\": " + cannot +
                  "it looks at one value of a call; give in.0 and ret a --where each, "
                  "which are events of their own");
    EXPECT_THAT(Refusal("in.0 > 1 or in.0 < 0"), HasSubstr(cannot + "\"or\" stands between == alone"));
    EXPECT_THAT(Refusal("in.0 == 1 or in.0 == 2 and in.0 == 3"), HasSubstr(cannot + "\"and\" beside \"or\""));
    EXPECT_THAT(Refusal("in.0 > 1 and in.0 != 2"), HasSubstr(cannot + "\"and\" stands between"));
    EXPECT_THAT(Refusal("in.0 != 2 and in.0 > 1"), HasSubstr(cannot + "\"and\" stands between"));
    EXPECT_THAT(Refusal("in.0 == 1 or in.0 == 'a'"), HasSubstr(cannot + "a value is a number or a text"));
    EXPECT_THAT(Refusal("in.0 > 2147483648"), HasSubstr(cannot + "2147483648 does not fit 32 bits"));
    EXPECT_THAT(Refusal("in.0 > 'a'"), HasSubstr(cannot + "texts are equal or not"));
    EXPECT_THAT(Refusal("in.0 contains 1"), HasSubstr(cannot + "texts alone"));
    EXPECT_THAT(Refusal("in.0 contains 'a&b'"), HasSubstr(cannot));
    EXPECT_THAT(Refusal("in.0 contains 'a' and in.0 != 'b'"), HasSubstr(cannot));
    EXPECT_THAT(Refusal("in.0 == 'a&b' or in.0 == 'c'"), HasSubstr(cannot + "operands in a list hold no &"));
    EXPECT_THAT(Refusal("in.0.x == 1"),
                HasSubstr(cannot + "of a composite value it reads the first member; leave out \".x\""));
    EXPECT_THAT(Refusal("in.0 == 'a\x01'"), HasSubstr(cannot));
}

TEST(WhereConditionTest, SaysWhatIsNoCondition) {
    EXPECT_THAT(Refusal(""), HasSubstr("the value is missing"));
    EXPECT_THAT(Refusal("in.0"), HasSubstr("the operator is missing"));
    EXPECT_THAT(Refusal("in.0 >"), HasSubstr("what the value is compared with is missing"));
    EXPECT_THAT(Refusal("in.0 = 5"), HasSubstr("\"=\" is no operator"));
    EXPECT_THAT(Refusal("arg > 5"), HasSubstr("\"arg\" is no value of a call"));
    EXPECT_THAT(Refusal("in > 5"), HasSubstr("\"in\" has no index; the first is in.0"));
    EXPECT_THAT(Refusal("out.-1 > 5"), HasSubstr("has no index"));
    EXPECT_THAT(Refusal("in.99999999999 > 5"), HasSubstr("has no index"));
    EXPECT_THAT(Refusal("in.0 == on"), HasSubstr("\"on\" is no whole number"));
    EXPECT_THAT(Refusal("in.0 > 0.5"), HasSubstr("\"0.5\" is no whole number"));
    EXPECT_THAT(Refusal("in.0 == 'on"), HasSubstr("the quote is not closed"));
    EXPECT_THAT(Refusal("in.0 == it is on"), HasSubstr("not \"is\""));
    EXPECT_THAT(Refusal("in.0 > 5 and in.0 < 6"), HasSubstr("no number is that"));
}

}  // namespace
