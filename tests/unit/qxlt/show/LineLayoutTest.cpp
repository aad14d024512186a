// Lines with columns: as wide as a terminal allows, and whole elsewhere.
#include "LineLayout.h"

#include <gmock/gmock.h>

#include "Table.h"
#include "Text.h"

namespace {

using namespace qxlt;
using testing::ElementsAre;

const Colors kPlain(-1);

Cells Sample(const std::string& call = "audio.SetVolume(85)") {
    return {"0.104233", "VOLUME_HIGH", "85", "12.0 us", "2", "media-server[412]", "mixer", call};
}

TEST(LineLayout, ShowsWholeLinesElsewhere) {
    LineLayout layout({}, 0);
    const std::string call = "a." + std::string(500, 'x') + "()";
    EXPECT_EQ(layout.Line(Sample(call), kPlain),
              "0.104233  VOLUME_HIGH  85        12.0 us  media-server[412]  mixer   " + call);
}

TEST(LineLayout, KeepsColumnsAsWideAsTheyHaveBeen) {
    LineLayout layout({Column::Time, Column::Event, Column::Call}, 0);
    layout.Reserve(Column::Event, 6);
    EXPECT_EQ(layout.Line({"10", "A", "", "", "", "", "", "f()"}, kPlain), "  10  A       f()");
    EXPECT_EQ(layout.Line({"123456", "LONGEST", "", "", "", "", "", "f()"}, kPlain), "123456  LONGEST  f()");
    EXPECT_EQ(layout.Line({"7", "A", "", "", "", "", "", "f()"}, kPlain), "     7  A        f()");
    EXPECT_EQ(layout.Header(), "  time  event    call");
}

TEST(LineLayout, LeavesOutWhatIsDropped) {
    LineLayout layout({Column::Time, Column::Event, Column::Call}, 0);
    layout.Drop(Column::Call);
    layout.Drop(Column::Time);
    EXPECT_EQ(layout.Line(Sample(), [](Column, const std::string& text) { return "<" + text + ">"; }), "<VOLUME_HIGH>");
}

TEST(LineLayout, FitsATerminal) {
    for (std::size_t width = 60; width <= 200; ++width) {
        LineLayout layout({}, width);
        layout.Reserve(Column::Event, 20);
        const std::string line = layout.Line(Sample(std::string(300, 'x')), kPlain);
        EXPECT_LE(CharactersOf(line), width) << line;
        EXPECT_THAT(line, testing::EndsWith("x\xE2\x80\xA6")) << width;
        EXPECT_THAT(line, testing::HasSubstr("85")) << width;
        EXPECT_LE(CharactersOf(layout.Header()), width);
    }
}

// A value is cut, too, so that it does not take the others' room.
TEST(LineLayout, CutsWhatTakesTheOthersRoom) {
    LineLayout layout({}, 100);
    Cells cells = Sample();
    cells[static_cast<std::size_t>(Column::Value)] = std::string(90, 'v');
    const std::string line = layout.Line(cells, kPlain);
    EXPECT_THAT(line, testing::HasSubstr(std::string(31, 'v') + "\xE2\x80\xA6  "));
    EXPECT_THAT(line, testing::EndsWith("audio.SetVolume(85)"));
}

TEST(LineLayout, ShowsTheColumnsThatWereAskedFor) {
    LineLayout layout({Column::Value, Column::Cycle, Column::Thread}, 40);
    EXPECT_EQ(layout.Line(Sample(), kPlain), "85            2  mixer");
    EXPECT_EQ(layout.Header(), "value     cycle  thread");
}

TEST(LineLayout, ReadsColumns) {
    EXPECT_THAT(ReadColumns("time,took,call").value(), ElementsAre(Column::Time, Column::Duration, Column::Call));
    EXPECT_THAT(ReadColumns("thread").value(), ElementsAre(Column::Thread));
    for (const char* const text : {"", ",", "time,", ",time", "time,,call", "tim", "time,time", "time call"}) {
        EXPECT_FALSE(ReadColumns(text)) << text;
    }
}

TEST(Table, StandsInLinesOfItsOwnWhereItIsTooWide) {
    const std::vector<std::vector<std::string>> rows = {
        {"process", "recorded", "lost", "place"}, {"a", "12", "0", "v.xml:1"}, {"bcdefghi", "7", "3", "v.xml:20"}};
    const std::vector<std::string> wide = {"process   recorded  lost  place", "a               12     0  v.xml:1",
                                           "bcdefghi         7     3  v.xml:20"};
    EXPECT_EQ(TableLines(rows, 0, 1), wide);
    EXPECT_EQ(TableLines(rows, 34, 1), wide);
    EXPECT_THAT(TableLines(rows, 33, 1),
                ElementsAre("process a", "  recorded  12", "  place     v.xml:1", "process bcdefghi", "  recorded  7",
                            "  lost      3", "  place     v.xml:20"));
}

TEST(Text, IsCutBetweenCharacters) {
    const std::string euros = "\xE2\x82\xAC\xE2\x82\xAC\xE2\x82\xAC";
    EXPECT_EQ(Cut(euros, 3), euros);
    EXPECT_EQ(Cut(euros, 2), "\xE2\x82\xAC\xE2\x80\xA6");
    EXPECT_EQ(Cut("abc", 1), "\xE2\x80\xA6");
    EXPECT_EQ(Cut("abc", 3), "abc");
    EXPECT_EQ(Cut("", 1), "");
    EXPECT_EQ(CharactersOf("a" + euros), 4U);
}

}  // namespace
