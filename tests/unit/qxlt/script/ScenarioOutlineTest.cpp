// The names that were meant by others.
#include "ScenarioOutline.h"

#include <gmock/gmock.h>

namespace {

using namespace qxlt;

TEST(ScenarioOutline, FindsAWordThatIsWrittenInAnotherWay) {
    EXPECT_EQ(Meant("set_volume", {"GetVolume", "SetVolume"}), "SetVolume");
    EXPECT_EQ(Meant("conditiontype", {"condition", "conditionType"}), "conditionType");
    // Nothing but letters and digits counts, and case does not.
    EXPECT_EQ(Meant("@A[Z`a{z/0:9", {"azAZ09"}), "azAZ09");
    EXPECT_EQ(Meant("@A[Z`a{z/0:9", {"bzAZ09"}), "");
    // Words without any are no more alike than others.
    EXPECT_EQ(Meant("---", {"+", "--"}), "--");
}

TEST(ScenarioOutline, FindsAWordThatIsWrittenNearlySo) {
    EXPECT_EQ(Meant("keywort", {"key", "keyword"}), "keyword");
    EXPECT_EQ(Meant("keywort", {"filter"}), "");
}

TEST(ScenarioOutline, TakesThePackageOffAMethod) {
    EXPECT_EQ(WithoutPackage("audio.SetVolume"), "SetVolume");
    EXPECT_EQ(WithoutPackage("a.b.c"), "c");
    EXPECT_EQ(WithoutPackage(".c"), "c");
    EXPECT_EQ(WithoutPackage("c."), "");
    EXPECT_EQ(WithoutPackage("c"), "");
}

}  // namespace
