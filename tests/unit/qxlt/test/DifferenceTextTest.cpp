// Differences as a person reads them.
#include "DifferenceText.h"

#include <gmock/gmock.h>

#include "EventCells.h"
#include "Json.h"

namespace {

using namespace qxlt;
using testing::ElementsAre;

const Colors kPlain(-1);

SharedJson Line(const std::string& text) {
    return Shared(JsonObject::parse(text));
}

std::vector<std::string> Shown(const std::vector<Difference>& differences, std::size_t width = 0,
                               std::size_t most = 9) {
    return DifferenceLines(differences, most, 1000, kPlain, width);
}

const char* const kWhole =
    R"({"cycle":2,"event":"HIGH","value":"81","call":{"process":"m","pid":4,"tid":3,"locId":3,"callerName":"Set",)"
    R"("packageName":"audio","time":3000,"in":[[{"name":"","hex":"51","int":81}]],"out":[],"ret":[],"process_id":7,)"
    R"("thread":"main","duration":2500}})";

TEST(DifferenceText, ShowsWhatThereIsOfAnEvent) {
    EXPECT_THAT(Shown({{Line(R"({"event":"HIGH","value":"79"})"), nullptr, {}}}), ElementsAre("- HIGH   79"));
    EXPECT_THAT(Shown({{nullptr, Line(kWhole), {}}}),
                ElementsAre("+ 0.000002  HIGH   81        2.5 us  m[7]     main    audio.Set(81)"));
}

TEST(DifferenceText, SetsBothSidesUnderEachOther) {
    EXPECT_THAT(Shown({{Line(R"({"event":"HIGH","value":"79","call":{"callerName":"Set"}})"), Line(kWhole), {"a note"}},
                       {Line(R"({"event":"LONGER"})"), nullptr, {}}}),
                ElementsAre("-           HIGH    79                                 Set",
                            "+ 0.000002  HIGH    81        2.5 us  m[7]     main    audio.Set(81)", "  a note",
                            "-           LONGER"));
}

TEST(DifferenceText, ShowsFaultsByTheirKeys) {
    EXPECT_THAT(Shown({{Line(R"({"cycle":1,"error":"VOLUME","what":"stoi"})"), nullptr, {}},
                       {nullptr, Line(R"({"cycle":2,"damaged":"2.qxdump","offset":360})"), {}}}),
                ElementsAre("- cycle 1, error VOLUME, what stoi", "+ cycle 2, damaged 2.qxdump, offset 360"));
}

TEST(DifferenceText, FitsATerminal) {
    for (std::size_t width = 50; width < 120; ++width) {
        const std::vector<std::string> lines = Shown({{nullptr, Line(kWhole), {}}}, width);
        EXPECT_LE(lines.front().size(), width + 2) << lines.front();  // the mark of a cut has three bytes
        EXPECT_THAT(lines.front(), testing::HasSubstr("81")) << width;
    }
}

TEST(DifferenceText, ShowsNoMoreThanAskedFor) {
    const Difference difference = {Line(R"({"event":"A"})"), nullptr, {}};
    EXPECT_THAT(Shown({difference, difference, difference}, 0, 2), ElementsAre("- A", "- A", "and 1 more"));
    EXPECT_THAT(Shown({difference, difference}, 0, 2), ElementsAre("- A", "- A"));
}

// What an expectation holds was written by anybody.
TEST(DifferenceText, TakesAnyJson) {
    const char* const rows[] = {
        R"({"event":7,"value":[],"call":3})",
        R"({"event":"A","call":{"in":3,"out":{"a":1},"ret":"x","time":-1,"duration":"d","process_id":[]}})",
        R"({"event":"A","call":{"in":[3,"x",{"int":1},[3],[{"int":"i"}],[{"float":null,"hex":"0"}],[{"text":5}]]}})",
        R"({"event":"A","call":{"in":[[{"hex":7}],[{"hex":"zz"}],[{}]],"ret":[{}],"locId":null}})",
        R"({"error":{"a":[]}})",
        "{}"};
    for (const char* const row : rows) EXPECT_EQ(Shown({{Line(row), nullptr, {}}}).size(), 1U) << row;
}

TEST(EventCells, ShowEachKindOfValue) {
    const std::pair<const char*, const char*> rows[] = {{R"([{"name":"","hex":"05000000"}])", "5"},
                                                        {R"([{"name":"","hex":"ff","int":-1}])", "-1"},
                                                        {R"([{"int":18446744073709551615}])", "18446744073709551615"},
                                                        {R"([{"float":0.1}])", "0.1"},
                                                        {R"([{"bool":true}])", "true"},
                                                        {R"([{"text":"on\n"}])", "\"on\\n\""},
                                                        {R"([{"text":"\ufffd","textHex":"ff"}])", "\"\\xff\""},
                                                        {R"([{"name":"x","int":1},{"name":"y","int":2}])", "{x:1 y:2}"},
                                                        {R"([{"name":"x","int":1}])", "{x:1}"},
                                                        {"[]", "{}"}};
    for (const auto& [argument, text] : rows) EXPECT_EQ(JsonArgumentText(JsonObject::parse(argument)), text);
}

}  // namespace
