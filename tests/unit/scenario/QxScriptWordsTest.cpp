#include "QxScriptWords.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using namespace qxscript;

TEST(QxScriptWords, AnyOtherWordHasAMeaningToo) {
    EXPECT_EQ(MeaningOf("RET", kTags), Tag::Ret);
    EXPECT_EQ(MeaningOf("ret", kTags), Tag::Other);
    EXPECT_EQ(MeaningOf("INT ", kTypes), Type::Other);
    EXPECT_EQ(MeaningOf("D-CONDITIONAL", kWatches), Watch::Rising);
    EXPECT_EQ(MeaningOf("DCONDITIONAL", kWatches), Watch::Other);
    EXPECT_EQ(MeaningOf("", kConditions), Condition::Other);
    EXPECT_EQ(MeaningOf("XOR", kConditionTypes), Combination::Other);
}

TEST(QxScriptWords, ReadsAnIndexOfThirtyTwoBits) {
    struct Row {
        const char* text;
        std::optional<std::uint32_t> index;
        std::size_t end;
    };
    const Row rows[] = {{"0", 0, 1},
                        {" 7x", 7, 2},
                        {"+1 apples", 1, 2},
                        {"-0", 0, 2},
                        {"4294967295", UINT32_MAX, 10},
                        {"-1", std::nullopt, 2},
                        {"-4294967295", std::nullopt, 11}};
    for (const Row& row : rows) {
        std::size_t end = 99;
        EXPECT_EQ(ReadIndex(row.text, &end), row.index) << row.text;
        EXPECT_EQ(end, row.end) << row.text;
        EXPECT_EQ(ReadIndex(row.text), row.index) << row.text;
    }
}

template <typename Error, typename Read>
void ExpectThrows(const Read& read, const char* text, const char* what) {
    try {
        read(text);
        FAIL() << text;
    } catch (const Error& error) {
        EXPECT_STREQ(error.what(), what) << text;
    }
}

TEST(QxScriptWords, RefusesNumbersAsTheStandardConversionsDo) {
    const auto index = [](const char* text) { ReadIndex(text); };
    const auto number = [](const char* text) { ReadNumber(text); };
    for (const char* const text : {"", " ", "x", "-", "&1"}) {
        ExpectThrows<std::invalid_argument>(index, text, "stoul");
        ExpectThrows<std::invalid_argument>(number, text, "stoi");
    }
    for (const char* const text : {"4294967296", "-4294967296", "99999999999999999999999"}) {
        ExpectThrows<std::out_of_range>(index, text, "stoul");
        ExpectThrows<std::out_of_range>(number, text, "stoi");
    }
    ExpectThrows<std::out_of_range>(number, "2147483648", "stoi");
}

TEST(QxScriptWords, ReadsANumberAsFarAsItGoes) {
    std::size_t end = 0;
    EXPECT_EQ(ReadNumber(" -2147483648%", &end), INT32_MIN);
    EXPECT_EQ(end, 12u);
    EXPECT_EQ(ReadNumber("80&90", &end), 80);
    EXPECT_EQ(end, 2u);
}

}  // namespace
