// The words of the scenario language stand in one place; what must spell them again spells the same ones.
#include "Vocabulary.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <regex>
#include <string>
#include <vector>

#include "ReadFile.h"

namespace {

using namespace qxlt;
using testing::HasSubstr;
using testing::Not;

const std::string kSource = QXLT_SOURCE_DIR "/";

// What the attributes of an event may hold.
std::vector<std::string> Words() {
    std::vector<std::string> words;
    for (const std::vector<std::string>& texts :
         {TextsOf(qxscript::kTags), TextsOf(qxscript::kTypes), TextsOf(qxscript::kWatches),
          TextsOf(qxscript::kConditions), TextsOf(qxscript::kConditionTypes)}) {
        words.insert(words.end(), texts.begin(), texts.end());
    }
    return words;
}

std::vector<std::string> Matches(const std::string& text, const std::string& pattern) {
    std::vector<std::string> found;
    const std::regex expression(pattern);
    for (std::sregex_iterator at(text.begin(), text.end(), expression), end; at != end; ++at) found.push_back((*at)[1]);
    return found;
}

// A file whose attributes hold < and > as entities.
std::string ReadEscaped(const std::string& name) {
    const std::string text = std::regex_replace(ReadFile(kSource + name), std::regex("&lt;"), "<");
    return std::regex_replace(text, std::regex("&gt;"), ">");
}

TEST(Vocabulary, HasAWordForEachMeaningButTheOthers) {
    EXPECT_EQ(TextOf(QxEventWords::kConditionValue), "conditionValue");
    EXPECT_EQ(TextOf(qxscript::Tag::Ret), "RET");
    EXPECT_EQ(TextOf(qxscript::Type::Int), "INT");
    EXPECT_EQ(TextOf(qxscript::Watch::Rising), "D-CONDITIONAL");
    EXPECT_EQ(TextOf(qxscript::Condition::NotEqual), "!=");
    EXPECT_EQ(TextOf(qxscript::Combination::Any), "OR");
    EXPECT_EQ(TextOf(qxscript::Type::Other), "");
}

TEST(Vocabulary, IsThatOfTheSchema) {
    const std::string schema = ReadEscaped("tools/qxlt/scenario.rng");
    EXPECT_THAT(Matches(schema, "<value>([^/]+)</value>"), testing::UnorderedElementsAreArray(Words()));
    for (const char* const element : {qxscript::kScenario, qxscript::kSession, qxscript::kMethod, qxscript::kEvent}) {
        EXPECT_THAT(schema, HasSubstr("<element name=\"" + std::string(element) + "\""));
    }
    EXPECT_THAT(schema, HasSubstr("<attribute name=\"" + std::string(qxscript::kActionProcess) + "\""));
    for (const std::string_view name : QxEventWords::kNames) {
        EXPECT_THAT(schema, HasSubstr("<attribute name=\"" + std::string(name) + "\""));
    }
}

TEST(Vocabulary, IsThatOfThePageAboutTheLanguage) {
    const std::string page = ReadFile(kSource + "docs/scenarios.md");
    for (const std::string& word : Words()) EXPECT_THAT(page, HasSubstr("`" + word + "`"));
    for (const std::string_view name : QxEventWords::kNames) {
        EXPECT_THAT(page, HasSubstr("`" + std::string(name) + "`"));
    }
}

// Fuzzers put scripts together out of the dictionary.
TEST(Vocabulary, IsThatOfTheFuzzersDictionary) {
    const std::string dictionary = ReadEscaped("fuzz/script.dict");
    EXPECT_THAT(Matches(dictionary, "\n\"\\\\\"([^\n]+)\\\\\"\"(?=\n)"), testing::UnorderedElementsAreArray(Words()));
    std::vector<std::string> names = {qxscript::kActionProcess};
    for (const std::string_view name : QxEventWords::kNames) names.emplace_back(name);
    EXPECT_THAT(Matches(dictionary, "\n\" ([A-Za-z]+)=\\\\\"\""), testing::UnorderedElementsAreArray(names));
    for (const char* const element : {qxscript::kScenario, qxscript::kSession, qxscript::kMethod, qxscript::kEvent}) {
        EXPECT_THAT(dictionary, testing::ContainsRegex("\"<" + std::string(element) + "[ >]"));
    }
}

// Words in capitals are nothing but words of the language; names of attributes are keys of JSON, too.
TEST(Vocabulary, IsSpelledByNoSourceOfTheTool) {
    std::vector<std::string> literals;
    for (const std::string& word : Words()) {
        if (word.front() >= 'A' && word.front() <= 'Z') literals.push_back('"' + word + '"');
    }
    ASSERT_GE(literals.size(), 10u);
    std::size_t sources = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(kSource + "tools/qxlt")) {
        if (entry.path().extension() != ".cpp" && entry.path().extension() != ".h") continue;
        // The texts of the checks show whole scenarios.
        if (entry.path().filename() == "CheckTable.cpp") continue;
        ++sources;
        const std::string text = ReadFile(entry.path().string());
        for (const std::string& literal : literals) EXPECT_THAT(text, Not(HasSubstr(literal))) << entry.path();
    }
    EXPECT_GE(sources, 100u);
}

}  // namespace
