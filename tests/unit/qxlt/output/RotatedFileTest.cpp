// A file of lines that is rotated, moved away, removed, or has no room.
#include "RotatedFile.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>

#include "Failure.h"
#include "FileSizeLimit.h"
#include "Workplace.h"

namespace {

namespace fs = std::filesystem;

using qxlt::RotatedFile;
using testing::HasSubstr;

TEST(RotatedFile, GoesOnBehindWhatIsThere) {
    const Workplace place;
    const std::string path = place.Write("log", "before\n");
    RotatedFile file(path, {});
    file.Write("a", {});
    EXPECT_EQ(place.Read("log"), "before\na\n");
}

TEST(RotatedFile, EndsALineThatWasCutOff) {
    const Workplace place;
    const std::string path = place.Write("log", "whole\ncu");
    RotatedFile file(path, {});
    file.Write("a", {});
    file.Write("b", {});
    EXPECT_EQ(place.Read("log"), "whole\ncu\na\nb\n");
}

TEST(RotatedFile, KeepsSoManyFullFiles) {
    const Workplace place;
    RotatedFile file(place.At("log"), {6, 2});
    for (const char* const line : {"a1", "a2", "b1", "b2", "c1", "c2", "d1"}) file.Write(line, {});
    EXPECT_EQ(place.Read("log"), "d1\n");
    EXPECT_EQ(place.Read("log.1"), "c1\nc2\n");
    EXPECT_EQ(place.Read("log.2"), "b1\nb2\n");
    EXPECT_FALSE(fs::exists(place.At("log.3")));
    EXPECT_FALSE(file.Failed());
}

// Six bytes fit exactly; a seventh does not.
TEST(RotatedFile, KeepsLinesWholeWhateverTheirLength) {
    const Workplace place;
    RotatedFile file(place.At("log"), {6, 5});
    file.Write("12345", {});
    file.Write("a line that is longer than the bound", {});
    file.Write("x", {});
    EXPECT_EQ(place.Read("log.2"), "12345\n");
    EXPECT_EQ(place.Read("log.1"), "a line that is longer than the bound\n");
    EXPECT_EQ(place.Read("log"), "x\n");
}

TEST(RotatedFile, BeginsAnewWhenItWasMovedAwayOrRemoved) {
    const Workplace place;
    RotatedFile file(place.At("log"), {});
    file.Write("a", {});
    fs::rename(place.At("log"), place.At("moved"));
    file.Write("b", {});
    fs::remove(place.At("log"));
    file.Write("c", {});
    EXPECT_EQ(place.Read("moved"), "a\n");
    EXPECT_EQ(place.Read("log"), "c\n");
}

TEST(RotatedFile, TellsOnceThatLinesAreLostAndWhenItGoesOn) {
    const Workplace place;
    RotatedFile file(place.At("log"), {});
    const std::string first(993, 'x');  // what is said has room in a file, too
    file.Write(first, {});
    testing::internal::CaptureStderr();
    {
        const FileSizeLimit limit(998);
        for (int i = 0; i < 3; ++i) file.Write("does not fit", {});
        file.Write("fit", {});  // the end of the lines before left nothing behind
        file.Write("no more", {});
    }
    file.Write("last", {});
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "error: " + place.At("log") + ": File too large; lines are lost until it can be written again\n" +
                  "warning: " + place.At("log") + ": can be written again; 3 lines lost\n" +
                  "error: " + place.At("log") + ": File too large; lines are lost until it can be written again\n" +
                  "warning: " + place.At("log") + ": can be written again; 1 line lost\n");
    EXPECT_EQ(place.Read("log"), first + "\nfit\nlast\n");
    EXPECT_TRUE(file.Failed());
}

TEST(RotatedFile, CountsAtItsEndWhatWasLost) {
    RotatedFile file("/dev/full", {1, 1});
    testing::internal::CaptureStderr();
    file.Write("a", {});
    file.Write("b", {});
    file.End();
    file.End();
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "error: /dev/full: No space left on device; lines are lost until it can be written again\n"
              "error: /dev/full: 2 lines lost\n");
}

// The name of the full file is a folder's.
TEST(RotatedFile, GrowsWhereItCannotBeRotated) {
    const Workplace place;
    place.Write("log.1/inside", "");
    RotatedFile file(place.At("log"), {4, 1});
    testing::internal::CaptureStderr();
    for (const char* const line : {"one", "two", "six"}) file.Write(line, {});
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "warning: " + place.At("log.1") + ": Is a directory; " +
                                                          place.At("log") + " is not rotated any more, and grows\n");
    EXPECT_EQ(place.Read("log"), "one\ntwo\nsix\n");
    EXPECT_FALSE(file.Failed());
}

TEST(RotatedFile, DoesNotBeginWithWhatIsNoFile) {
    const Workplace place;
    ASSERT_EQ(mkfifo(place.At("pipe").c_str(), 0600), 0);
    for (const std::string& path : {place.At("none/log"), place.Path(), place.At("pipe")}) {
        try {
            RotatedFile(path, {});
            ADD_FAILURE() << path;
        } catch (const qxlt::Failure& failure) {
            EXPECT_EQ(failure.Status(), qxlt::kCannotStart);
            EXPECT_THAT(failure.what(), HasSubstr(path + ": "));
        }
    }
}

}  // namespace
