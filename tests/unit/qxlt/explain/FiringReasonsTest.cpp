// Why events fired, as the evaluation tells of them.
#include "FiringReasons.h"

#include <gmock/gmock.h>

#include <deque>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace qxlt;

using Attributes = std::vector<std::pair<std::string, std::string>>;

class FiringReasonsTest : public testing::Test {
protected:
    FiringReasonsTest() { m_reasons.Watch(m_places); }

    const IQxData::_HSScriptPtr& Event(Attributes attributes) {
        IQxData::_HSScriptPtr& event = m_events.emplace_back();
        event.attributes = std::move(attributes);
        m_places.Add(event, {"v.xml", m_events.size()});
        return event;
    }

    std::string After(const IQxData::_HSScriptPtr& event, QxOutcome outcome, const std::string& argument) {
        m_reasons.OnEvent(event, 1, IQxData::HSCall(), outcome, argument);
        return m_reasons.Last();
    }

private:
    std::deque<IQxData::_HSScriptPtr> m_events;
    ScriptPlaces m_places;
    FiringReasons m_reasons;
};

Attributes Watching(const std::string& watch, const std::string& name = "E") {
    return {{"name", name}, {"watch", watch}, {"condition", ">"}, {"conditionValue", "80"}};
}

TEST_F(FiringReasonsTest, TellsTheConditionThatHolds) {
    EXPECT_EQ(After(Event(Watching("CONDITIONAL")), QxOutcome::Fires, "85"), "v.xml:1: condition > \"80\" holds");
}

TEST_F(FiringReasonsTest, TellsWhatAChangedValueWas) {
    const auto& event = Event(Watching("CHANGED"));
    EXPECT_EQ(After(event, QxOutcome::Fires, "1"), "v.xml:1: it is the first value");
    After(event, QxOutcome::Unchanged, "1");
    EXPECT_EQ(After(event, QxOutcome::Fires, "2\n"), "v.xml:1: the value changed; it was \"1\"");
    EXPECT_EQ(After(event, QxOutcome::Fires, "3"), "v.xml:1: the value changed; it was \"2\\n\"");
}

// Events of one name share their value; one that fires for every call gives the first, and no later one.
TEST_F(FiringReasonsTest, ComparesWithWhatAnotherEventOfTheNameHasSeen) {
    const auto& always = Event(Watching("ALWAYS"));
    EXPECT_EQ(After(always, QxOutcome::Fires, "1"), "v.xml:1: it fires for every call");
    After(always, QxOutcome::Fires, "2");
    EXPECT_EQ(After(Event(Watching("CHANGED")), QxOutcome::Fires, "3"), "v.xml:2: the value changed; it was \"1\"");
    EXPECT_EQ(After(Event(Watching("CHANGED", "F")), QxOutcome::Fires, "3"), "v.xml:3: it is the first value");
}

TEST_F(FiringReasonsTest, TellsForWhichValueTheConditionDidNotHold) {
    const auto& event = Event(Watching("D-CONDITIONAL"));
    EXPECT_EQ(After(event, QxOutcome::Fires, "81"), "v.xml:1: condition > \"80\" holds; it is the first value");
    After(event, QxOutcome::NotRising, "82");
    After(event, QxOutcome::ConditionFalse, "45");
    After(event, QxOutcome::FilterMissing, "x");
    EXPECT_EQ(After(event, QxOutcome::Fires, "90"),
              "v.xml:1: condition > \"80\" holds; before, with \"45\", it did not");
}

TEST_F(FiringReasonsTest, TellsWhatElseAValueHasToBe) {
    EXPECT_EQ(
        After(Event({{"watch", "ALWAYS"}, {"filter", "id="}, {"keyword", "7"}}), QxOutcome::Fires, "7"),
        "v.xml:1: it fires for every call; the value contains the filter \"id=\"; the value is the keyword \"7\"");
}

}  // namespace
