#include "ChildLines.h"

#include <gmock/gmock.h>

#include "Failure.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

struct Ran {
    qxlt::ChildEnd end;
    std::vector<std::string> lines;
};

Ran RunScript(const std::string& script, std::size_t mostLine = 100) {
    Ran ran;
    ran.end = qxlt::ReadChildLines({"/bin/sh", "-c", script}, "", mostLine,
                                   [&ran](std::string_view line) { ran.lines.emplace_back(line); });
    return ran;
}

TEST(ChildLines, HandsOnLines) {
    const Ran ran = RunScript("printf 'a\\n\\nb'");
    EXPECT_TRUE(ran.end.isGood);
    EXPECT_THAT(ran.lines, ElementsAre("a", "", "b"));
}

TEST(ChildLines, CutsLinesThatAreTooLong) {
    EXPECT_THAT(RunScript("printf 'abcdef\\nabcdefghi\\nabcdefghijklm'", 6).lines,
                ElementsAre("abcdef", "abcdef", "ghi", "abcdef", "ghijkl", "m"));
}

TEST(ChildLines, TellsWhyTheChildFailed) {
    const Ran ran = RunScript("echo good; echo first >&2; echo last >&2; exit 3");
    EXPECT_FALSE(ran.end.isGood);
    EXPECT_EQ(ran.end.error, "last");
    EXPECT_THAT(ran.lines, ElementsAre("good"));
    EXPECT_EQ(RunScript("exit 3").end.error, "ended with status 3");
    EXPECT_EQ(RunScript("kill -9 $$").end.error, "ended by signal 9");
}

TEST(ChildLines, KeepsTheEndOfMuchThatIsSaidOnTheWay) {
    EXPECT_EQ(
        RunScript("i=0; while [ $i -lt 3000 ]; do echo noise; i=$((i + 1)); done >&2; echo last >&2; exit 1").end.error,
        "last");
}

TEST(ChildLines, AProgramThatIsMissingCannotBeRun) {
    try {
        qxlt::ReadChildLines({"qx-no-such-program"}, "install it", 100, [](std::string_view) {});
        FAIL();
    } catch (const qxlt::Failure& failure) {
        EXPECT_EQ(failure.Status(), qxlt::kCannotStart);
        EXPECT_STREQ(failure.what(), "qx-no-such-program: No such file or directory; install it");
    }
}

TEST(ChildLines, AChildThatIsNoLongerReadEnds) {
    EXPECT_THROW(qxlt::ReadChildLines({"/bin/sh", "-c", "while echo x; do :; done"}, "", 100,
                                      [](std::string_view) { throw std::runtime_error("enough"); }),
                 std::runtime_error);
}

}  // namespace
