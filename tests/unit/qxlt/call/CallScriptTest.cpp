// The scenario that --call stands for.
#include "CallScript.h"

#include <gmock/gmock.h>

#include "CallFilter.h"
#include "Failure.h"

namespace {

using namespace qxlt;
using testing::ElementsAre;
using testing::HasSubstr;

TEST(CallScriptTest, HasAnEventForEachCondition) {
    const CallScript script(CallChoice{{"SetVolume"}, {"in.0 > 80", "ret == 'a<b'"}});
    EXPECT_EQ(script.Text(),
              "<Scenario>\n"
              "  <action name=\"SetVolume\">\n"
              "    <method name=\"SetVolume\"/>\n"
              "    <event name=\"SetVolume: in.0 &gt; 80\" tag=\"IN\" value=\"0\" type=\"INT\" watch=\"CONDITIONAL\" "
              "condition=\"&gt;\" conditionValue=\"80\"/>\n"
              "    <event name=\"SetVolume: ret == 'a&lt;b'\" tag=\"RET\" value=\"0\" type=\"STRING\" "
              "watch=\"CONDITIONAL\" condition=\"==\" conditionValue=\"a&lt;b\"/>\n"
              "  </action>\n"
              "</Scenario>\n");
}

TEST(CallScriptTest, HasThoseMethodsThatMatch) {
    const CallScript script(CallChoice{{"audio.Set*", "Get*", "Get*"}, {}});
    EXPECT_THAT(script.Calls(), ElementsAre("audio.Set*", "Get*"));
    EXPECT_EQ(script.Text({{"audio", "SetVolume"}, {"audio", "SetBass"}, {"video", "SetZoom"}}, {"a", "b", "c"}),
              "<Scenario>\n"
              "  <action name=\"audio.Set*\" process=\"a\">\n"
              "    <method name=\"SetBass\"/>\n"
              "    <method name=\"SetVolume\"/>\n"
              "    <event name=\"audio.Set*\" tag=\"NONE\" watch=\"ALWAYS\"/>\n"
              "  </action>\n"
              "  <action name=\"Get*\" process=\"b\">\n"
              "    <!-- no method that matches is recorded so far -->\n"
              "    <event name=\"Get*\" tag=\"NONE\" watch=\"ALWAYS\"/>\n"
              "  </action>\n"
              "  <action name=\"c\" process=\"c\"/>\n"
              "</Scenario>\n");
}

TEST(CallScriptTest, IsEmptyWithoutCalls) {
    EXPECT_EQ(CallScript(CallChoice{}).Text(), "");
    EXPECT_EQ(CallScript().Text(), "");
}

TEST(CallScriptTest, RefusesWhatNamesNoMethod) {
    EXPECT_THROW(CallScript(CallChoice{{""}, {}}), Failure);
    EXPECT_THROW(CallScript(CallChoice{{"a\x01"}, {}}), Failure);
    EXPECT_THROW(CallScript(CallChoice{{}, {"ret < 0"}}), Failure);
}

TEST(CallScriptTest, MatchesByNameOrWithThePackage) {
    EXPECT_TRUE(MatchesMethod("Set*", "audio", "SetVolume"));
    EXPECT_TRUE(MatchesMethod("audio.Set*", "audio", "SetVolume"));
    EXPECT_TRUE(MatchesMethod("*", "audio", "a.b"));
    EXPECT_FALSE(MatchesMethod("video.*", "audio", "SetVolume"));
    EXPECT_FALSE(MatchesMethod("Set", "audio", "SetVolume"));
    EXPECT_TRUE(IsCallPattern("audio.SetVolume"));
    EXPECT_FALSE(IsCallPattern("Volume::Set"));
}

}  // namespace
