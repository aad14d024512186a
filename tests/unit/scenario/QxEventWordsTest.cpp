#include "QxEventWords.h"

#include <gtest/gtest.h>

#include <map>

namespace {

using Words = QxEventWords;
using Texts = std::vector<std::string>;

// An event of these attributes, and what is read of it.
struct Event {
    Event(std::initializer_list<std::pair<std::string, std::string>> attributes) { element.attributes = attributes; }
    Words Read() const { return Words(element); }
    IQxData::_HSScriptPtr element;
};

TEST(QxEventWords, TakesTheLastOfRepeatedAttributesAndNoUnknownOnes) {
    const Event event{{"name", "A"}, {"Tag", "IN"}, {"name", "B"}, {"keyword", "k"}};
    const Words words = event.Read();
    EXPECT_EQ(words[Words::kName], "B");
    EXPECT_EQ(words[Words::kTag], "");
    EXPECT_EQ(words[Words::kKeyword], "k");
    EXPECT_EQ(words.Tag(), qxscript::Tag::Other);
}

TEST(QxEventWords, KnowsEachAttributeByItsName) {
    Words words;
    std::map<std::string, std::string> values;
    for (const std::string_view name : Words::kNames) values[std::string(name)] = "value of " + std::string(name);
    for (const auto& [name, value] : values) EXPECT_TRUE(words.Take(name, value)) << name;
    for (unsigned i = 0; i < Words::kAttributes; ++i) {
        EXPECT_EQ(words[static_cast<Words::Attribute>(i)], "value of " + std::string(Words::kNames[i]));
    }
    EXPECT_EQ(words.Take("conditionType", "x"), Words::kConditionType);
    EXPECT_EQ(words.Take("conditiontype", "x"), std::nullopt);
}

TEST(QxEventWords, SplitsAListOnlyWhereThereIsAConditionType) {
    struct Row {
        const char* condition;
        const char* value;
        const char* type;
        Texts operands;
    };
    const Row rows[] = {{"==", "a&b", "", {"a&b"}},
                        {"==", "a&b", "OR", {"a", "b"}},
                        {"==", "a&b", "XOR", {"a", "b"}},
                        {"==", "", "", {""}},
                        {"!=", "", "AND", {}},
                        {">", "1&2", "", {"1&2"}},
                        {">", "1&2&", "x", {"1", "2"}},
                        {"<", "&1", "OR", {"", "1"}},
                        {"range", "1,5", "", {"1", "5"}},
                        {"range", "1&2,5", "OR", {"1&2", "5"}},
                        {"range", "", "", {}},
                        {"range", "1,5,9", "", {"1", "5", "9"}},
                        {"", "a,b&c", "", {"a,b&c"}},
                        {"between", "1,5", "OR", {"1,5"}}};
    for (const Row& row : rows) {
        const Event event{{"condition", row.condition}, {"conditionValue", row.value}, {"conditionType", row.type}};
        EXPECT_EQ(event.Read().Operands(), row.operands) << row.condition << " " << row.value << " " << row.type;
    }
}

TEST(QxEventWords, CombinesOperandsByTheConditionType) {
    using qxscript::Combination;
    struct Row {
        const char* condition;
        const char* type;
        Combination combination;
    };
    const Row rows[] = {{"==", "AND", Combination::All},   {"!=", "OR", Combination::Any},
                        {"==", "XOR", Combination::Other}, {"!=", "", Combination::Other},
                        {">", "AND", Combination::Any},    {"<", "", Combination::Any}};
    for (const Row& row : rows) {
        const Event event{{"condition", row.condition}, {"conditionType", row.type}};
        EXPECT_EQ(event.Read().Combination(), row.combination) << row.condition << " " << row.type;
    }
}

TEST(QxEventWords, SplitsTheDatakeyAtItsFirstAmpersand) {
    struct Row {
        const char* datakey;
        const char* left;
        const char* right;
    };
    for (const Row& row : {Row{"id=&;", "id=", ";"}, Row{"id=", "id=", "id="}, Row{"id=&", "id=", ""},
                           Row{"&;", "", ";"}, Row{"a&b&c", "a", "b&c"}, Row{"", "", ""}}) {
        const Event event{{"datakey", row.datakey}};
        EXPECT_EQ(event.Read().FieldMarkers().left, row.left) << row.datakey;
        EXPECT_EQ(event.Read().FieldMarkers().right, row.right) << row.datakey;
    }
}

TEST(QxEventWords, SaysWhatIsConsulted) {
    EXPECT_TRUE((Event{{"tag", "OUT"}}.Read().HasSource()));
    EXPECT_FALSE((Event{{"tag", "NONE"}}.Read().HasSource()));
    EXPECT_FALSE((Event{}.Read().HasSource()));
    EXPECT_TRUE((Event{{"watch", "CONDITIONAL"}}.Read().IsConditional()));
    EXPECT_TRUE((Event{{"watch", "D-CONDITIONAL"}}.Read().IsConditional()));
    EXPECT_FALSE((Event{{"watch", "CHANGED"}, {"condition", "=="}}.Read().IsConditional()));
}

}  // namespace
