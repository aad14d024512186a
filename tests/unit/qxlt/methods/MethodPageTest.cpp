// What stands on the screen of a live table.
#include "MethodPage.h"

#include <gmock/gmock.h>

#include "Text.h"

namespace {

using namespace qxlt;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

using Answer = MethodPage::Answer;

MethodRow Row(const std::string& method, std::uint64_t calls, std::uint64_t mean) {
    MethodRow row;
    row.method = method;
    row.process = "m";
    row.calls = row.timed = calls;
    row.least = row.mean = row.p99 = row.greatest = mean;
    row.threads = 1;
    return row;
}

MethodInterval Interval() {
    MethodInterval interval;
    interval.last = {{Row("audio.Get", 4, 1000), Row("audio.Set", 2, 5000)}, 2};
    interval.whole = {{Row("audio.Get", 40, 1000), Row("audio.Set", 60, 5000)}, 20};
    interval.processes = {{"m", 6, 3}, {"n", 0, std::nullopt}};
    return interval;
}

MethodPage Page() {
    MethodPage page({}, {});
    page.Show(Interval());
    return page;
}

// The methods of the table, in their order.
std::vector<std::string> Methods(const MethodPage& page, std::size_t height = 12) {
    std::vector<std::string> names;
    for (const std::string& line : page.Lines(100, height)) {
        if (line.rfind("audio.", 0) == 0) names.push_back(line.substr(0, line.find(' ')));
    }
    return names;
}

TEST(MethodPage, ShowsTheLastInterval) {
    const std::vector<std::string> lines = Page().Lines(70, 7);
    ASSERT_EQ(lines.size(), 7U);
    EXPECT_EQ(lines[0], "m  3.0 calls/s, 3 lost; n  0.0 calls/s");
    EXPECT_EQ(lines[1], "the last 2.0 s, by calls");
    EXPECT_EQ(lines[MethodPage::kTitleLine], "method     calls/s   least    mean     p99  greatest  threads");
    EXPECT_EQ(lines[3], "audio.Get      2.0  1.0 us  1.0 us  1.0 us    1.0 us        1");
    EXPECT_EQ(lines[4], "audio.Set      1.0  5.0 us  5.0 us  5.0 us    5.0 us        1");
    EXPECT_EQ(lines[5], "");
    EXPECT_THAT(lines[6], StartsWith("q quit  r reverse  a all"));
}

TEST(MethodPage, IsSortedByTheKeyThatIsTyped) {
    MethodPage page = Page();
    EXPECT_THAT(Methods(page), ElementsAre("audio.Get", "audio.Set"));
    EXPECT_EQ(page.Press('m'), Answer::Changed);
    EXPECT_THAT(Methods(page), ElementsAre("audio.Set", "audio.Get"));
    EXPECT_EQ(page.Lines(80, 10)[1], "the last 2.0 s, by mean");
    EXPECT_EQ(page.Press('r'), Answer::Changed);
    EXPECT_THAT(Methods(page), ElementsAre("audio.Get", "audio.Set"));
    EXPECT_EQ(page.Lines(80, 10)[1], "the last 2.0 s, by mean, reversed");
    for (const MethodColumnName& column : kMethodColumns) {
        EXPECT_EQ(page.Press(column.key), Answer::Changed);
        EXPECT_THAT(page.Lines(80, 10)[1], testing::EndsWith(std::string(", by ") + column.word));
    }
    EXPECT_EQ(page.Press('x'), Answer::None);
    EXPECT_EQ(page.Press('M'), Answer::None);
    EXPECT_EQ(page.Press(27), Answer::None);
    EXPECT_EQ(page.Press('q'), Answer::Quit);
}

TEST(MethodPage, ShowsAllSinceTheStart) {
    MethodPage page = Page();
    EXPECT_EQ(page.Press('a'), Answer::Changed);
    EXPECT_EQ(page.Lines(80, 10)[1], "all 20.0 s, by calls");
    EXPECT_THAT(page.Lines(80, 10)[3], StartsWith("audio.Set      3.0 "));
    EXPECT_EQ(page.Press('a'), Answer::Changed);
    EXPECT_THAT(Methods(page), ElementsAre("audio.Get", "audio.Set"));
}

TEST(MethodPage, IsThereBeforeAnIntervalHasEnded) {
    MethodPage page({MethodColumn::P99, true}, {});
    const std::vector<std::string> lines = page.Lines(80, 10);
    EXPECT_EQ(lines[1], "the last, by p99, reversed");
    EXPECT_EQ(lines[2], "no interval has ended yet");
}

TEST(MethodPage, FitsAnyTerminal) {
    MethodPage page = Page();
    page.AddMessage("ready");
    MethodInterval interval = Interval();
    interval.last.rows.push_back(Row("audio." + std::string(300, 'x'), 1, 1));
    page.Show(interval);
    for (std::size_t width = 1; width < 120; width += 7) {
        for (std::size_t height = 1; height < 20; ++height) {
            const std::vector<std::string> lines = page.Lines(width, height);
            EXPECT_EQ(lines.size(), height);
            for (const std::string& line : lines) EXPECT_LE(CharactersOf(line), width);
        }
    }
    EXPECT_THAT(page.Lines(80, 12)[5], testing::MatchesRegex("audio\\.x+… +0\\.5 .* 1"));
    EXPECT_EQ(CharactersOf(page.Lines(80, 12)[5]), 80U);
}

TEST(MethodPage, CountsTheMethodsThatHaveNoRoom) {
    MethodPage page({MethodColumn::Name, false}, {});
    MethodInterval interval;
    for (int i = 0; i < 10; ++i) interval.last.rows.push_back(Row("audio." + std::to_string(i), 1, 1));
    page.Show(interval);
    EXPECT_EQ(Methods(page, 14).size(), 10U);
    EXPECT_THAT(page.Lines(80, 14), Each(testing::Not(HasSubstr("more"))));
    EXPECT_EQ(Methods(page, 13).size(), 8U);
    EXPECT_EQ(page.Lines(80, 13)[11], "and 2 more methods");
}

TEST(MethodPage, ShowsTheLastMessages) {
    MethodPage page = Page();
    for (const char* const text : {"one", "two", "three"}) page.AddMessage(text);
    const std::vector<std::string> lines = page.Lines(80, 10);
    EXPECT_EQ(lines[7], "two");
    EXPECT_EQ(lines[8], "three");
}

// The process has a column where there are several, and so have errors where somebody asks for them.
TEST(MethodPage, HasColumnsThatTellSomething) {
    MethodPage page({}, {false, true});
    MethodInterval interval = Interval();
    interval.last.rows[1].process = "n\x1b";
    page.Show(interval);
    EXPECT_THAT(page.Lines(100, 10)[2], StartsWith("method     process  calls/s  errors  "));
    EXPECT_THAT(page.Lines(100, 10)[4], StartsWith("audio.Set    n\\x1b      1.0       0  "));
}

}  // namespace
