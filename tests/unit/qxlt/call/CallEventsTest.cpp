// The scenario of --call when the scripts beside it are changed.
#include "CallEvents.h"

#include <gmock/gmock.h>

#include "QxSubscriptions.h"
#include "RuleSet.h"
#include "ScriptText.h"

namespace {

using namespace qxlt;
using testing::ElementsAre;
using testing::IsEmpty;

class CallEventsTest : public testing::Test {
protected:
    CallEventsTest() {
        m_site.locId = 3;
        m_site.callerName = "SetVolume";
        m_site.packageName = "audio";
    }

    RuleSet Rules(const std::string& before) const {
        const ScriptText script("v.xml", "<Scenario>" + before + "</Scenario>");
        const std::vector<const ScriptText*> scripts = {&script};
        return RuleSet(std::make_shared<JoinedScripts>(scripts, m_script.Text()), {"v.xml"});
    }

    static std::vector<std::string> Methods(const RuleSet& rules) {
        std::vector<std::string> names;
        for (const IQxData::_HSScriptPtr* const child : rules.tree->children.back()->children) {
            if (qxscript::IsMethod(child)) names.push_back(qxscript::MethodNameOf(*child));
        }
        return names;
    }

    static const IQxData::_HSScriptPtr& LastEvent(const RuleSet& rules) {
        const IQxData::_HSScriptPtr* last = nullptr;
        for (const IQxData::_HSScriptPtr* const child : rules.tree->children.back()->children) {
            if (qxscript::IsEvent(child)) last = child;
        }
        return *last;
    }

    const CallScript m_script{{{"audio.Set*"}, {"in.0 > 1", "in.7 > 1"}}};
    IQxData::_HSCallLocation m_site;
    std::vector<std::string> m_told;
};

TEST_F(CallEventsTest, KeepUpWithOtherScripts) {
    auto first = std::make_unique<RuleSet>(Rules(""));
    CallEvents events(m_script, *first->tree, [this](const std::string& text) { m_told.push_back(text); });
    events.AddMethod(m_site);
    EXPECT_THAT(Methods(*first), ElementsAre("SetVolume"));
    IQxData::HSCall call{};
    call.locId = m_site.locId;
    const std::string process;
    const CallView view{call, m_site, process, std::nullopt};
    EXPECT_FALSE(events.LeavesOut(LastEvent(*first), call).has_value());
    EXPECT_FALSE(events.Look(LastEvent(*first), view));
    EXPECT_EQ(m_told.size(), 1U);
    const IQxData::_HSScriptPtr other;
    EXPECT_FALSE(events.Look(other, view)) << "an event of another script";
    const RuleSet second = Rules("<action name=\"a\"/>");
    EXPECT_THAT(Methods(second), IsEmpty());
    events.MoveTo(*second.tree);
    first.reset();
    EXPECT_THAT(Methods(second), ElementsAre("SetVolume"));
    EXPECT_EQ(events.LeavesOut(LastEvent(second), call), std::optional<bool>(false)) << "it was told of once";
    m_site.callerName = "SetMute";
    events.AddMethod(m_site);
    EXPECT_THAT(Methods(second), ElementsAre("SetVolume", "SetMute"));
}

}  // namespace
