// JSON lines as they are written, key by key.
#include "JsonLine.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <limits>

#include "Json.h"

namespace {

using namespace qxlt;

// The one value that `add` adds under "a".
template <typename Add>
std::string Added(const Add& add) {
    JsonLine line;
    add(line);
    return std::move(line).Finish();
}

TEST(JsonLine, WritesFractionsInTheFewestDigits) {
    const std::pair<double, const char*> rows[] = {{0.1, "0.1"},
                                                   {1, "1"},
                                                   {-0.0, "-0"},
                                                   {1.0 / 3, "0.3333333333333333"},
                                                   {-2.2250738585072014e-308, "-2.2250738585072014e-308"},
                                                   {1e22, "1e+22"},
                                                   {std::numeric_limits<double>::infinity(), "null"},
                                                   {std::numeric_limits<double>::quiet_NaN(), "null"}};
    for (const auto& [number, text] : rows) {
        EXPECT_EQ(Added([value = number](JsonLine& line) { line.AddFraction("a", value); }),
                  std::string(R"({"a":)") + text + "}");
    }
    EXPECT_EQ(Added([](JsonLine& line) { line.AddFraction("a", 0.1F); }), R"({"a":0.1})");
}

TEST(JsonLine, SeparatesWhatStandsInObjectsAndLists) {
    JsonLine line("kind");
    line.BeginList("empty");
    line.EndList();
    line.BeginList("objects");
    for (const int number : {1, 2}) {
        line.BeginObject();
        line.Add("a", number);
        line.AddNull("b");
        line.EndObject();
    }
    line.BeginObject();
    line.EndObject();
    line.EndList();
    line.BeginList("lists");
    line.BeginList();
    line.EndList();
    line.BeginList();
    line.AddJson("7");
    line.AddJson("[8]");
    line.EndList();
    line.EndList();
    line.BeginObject("object");
    line.AddText("text", "ends with [");
    line.AddHex("hex", "\x01\xFF");
    line.EndObject();
    line.AddJson("json", "{}");
    EXPECT_EQ(std::move(line).Finish(),
              R"({"record":"kind","empty":[],"objects":[{"a":1,"b":null},{"a":2,"b":null},{}],"lists":[[],[7,[8]]],)"
              R"("object":{"text":"ends with [","hex":"01ff"},"json":{}})");
}

TEST(JsonLine, WritesWholeNumbersOfAllKinds) {
    const auto text = [](auto number) { return Added([&](JsonLine& line) { line.Add("a", number); }); };
    EXPECT_EQ(text(UINT64_MAX), R"({"a":18446744073709551615})");
    EXPECT_EQ(text(INT64_MIN), R"({"a":-9223372036854775808})");
    EXPECT_EQ(text(static_cast<unsigned char>(7)), R"({"a":7})");
    EXPECT_EQ(text(static_cast<short>(-7)), R"({"a":-7})");
    EXPECT_EQ(text(true), R"({"a":true})");
    EXPECT_EQ(text(false), R"({"a":false})");
    EXPECT_EQ(Added([](JsonLine& line) {
                  line.AddNumbers("a", std::vector<unsigned>{0, 4294967295u});
              }),
              R"({"a":[0,4294967295]})");
}

TEST(JsonLine, AddsTheBytesOfTextThatIsNotUtf8) {
    const auto text = [](const std::string& value) { return Added([&](JsonLine& line) { line.AddText("a", value); }); };
    EXPECT_EQ(text("ok\"\\\n"), R"({"a":"ok\"\\\n"})");
    EXPECT_EQ(text("x\xFF\n"), "{\"a\":\"x\xEF\xBF\xBD\\n\",\"aHex\":\"78ff0a\"}");
    const auto texts = [](const std::vector<std::string>& values) {
        return Added([&](JsonLine& line) { line.AddTexts("a", values); });
    };
    EXPECT_EQ(texts({"x", "\x1F"}), R"({"a":["x","\u001f"]})");
    EXPECT_EQ(texts({"x", "\xFF"}), "{\"a\":[\"x\",\"\xEF\xBF\xBD\"],\"aHex\":[\"78\",\"ff\"]}");
}

// What is read from a line is what was added, whatever bytes it has.
TEST(JsonLine, IsReadAsItWasWritten) {
    for (int first = 0; first < 0x80; ++first) {
        for (const char* const second : {"", "a", "\"", "\xC3\xA9", "\xF0\x9F\x98\x80"}) {
            const std::string text = std::string(1, static_cast<char>(first)) + second;
            const std::string line = Added([&](JsonLine& object) { object.AddText("a", text); });
            EXPECT_EQ(ParseJson("line", line).at("a").get<std::string>(), text) << line;
        }
    }
}

TEST(JsonLine, TakesTheKeysOfAnotherLine) {
    const auto with = [](const std::string& other) {
        return Added([&](JsonLine& line) {
            line.Add("a", 1);
            line.AddKeysOf(other);
            line.Add("z", 2);
        });
    };
    EXPECT_EQ(with(R"({"b":"}","c":[]})"), R"({"a":1,"b":"}","c":[],"z":2})");
    EXPECT_EQ(with("{}"), R"({"a":1,"z":2})");
}

}  // namespace
