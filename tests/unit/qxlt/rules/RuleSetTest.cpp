// What names a set of rules, and which events are still the same in another one.
#include "RuleSet.h"

#include <gmock/gmock.h>

#include "Digest.h"
#include "ScriptText.h"

namespace {

using namespace qxlt;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kLoud[] = R"(<event name="LOUD" tag="IN" value="0" type="INT" watch="CHANGED"/>)";
constexpr char kMuted[] = R"(<event name="MUTED" tag="IN" value="1" watch="CHANGED"/>)";

std::string Action(const std::string& events, const std::string& attributes = "name=\"a\"",
                   const std::string& methods = "<method name=\"SetVolume\"/>") {
    return "<action " + attributes + ">" + methods + events + "</action>";
}

RuleSet Rules(const std::string& actions, const std::string& file = "v.xml") {
    const ScriptText script(file, "<Scenario>" + actions + "</Scenario>");
    const std::vector<const ScriptText*> scripts = {&script};
    return RuleSet(std::make_shared<JoinedScripts>(scripts), {file});
}

std::vector<std::string> Changed(const std::string& before, const std::string& after) {
    return Rules(before).definitions.ChangedIn(Rules(after).definitions);
}

// The published values of the hash.
TEST(Digest, IsThePublishedHash) {
    const auto of = [](const char* text) {
        Digest digest;
        digest.Add(text);
        return DigestText(digest.Value());
    };
    EXPECT_EQ(of(""), "cbf29ce484222325");
    EXPECT_EQ(of("a"), "af63dc4c8601ec8c");
    EXPECT_EQ(of("foobar"), "85944171f73967e8");
}

TEST(Digest, TellsPiecesApart) {
    Digest one;
    one.AddPiece("ab");
    one.AddPiece("c");
    Digest other;
    other.AddPiece("a");
    other.AddPiece("bc");
    EXPECT_NE(one.Value(), other.Value());
}

TEST(RuleNumbers, NameWhatTheScriptsSayAndWhereItStands) {
    const RuleSet rules = Rules(Action(kLoud));
    EXPECT_EQ(rules.numbers.Hash(), Rules("<!-- loud -->\n" + Action(kLoud)).numbers.Hash());
    EXPECT_NE(rules.numbers.Hash(), Rules(Action(kMuted)).numbers.Hash());
    EXPECT_NE(rules.numbers.Hash(), Rules(Action(kLoud), "w.xml").numbers.Hash());
    EXPECT_EQ(rules.numbers.Text(), "rules " + DigestText(rules.numbers.Hash()) + " (1 script, 1 event)");
}

TEST(JoinedScripts, AreTheSameWhenNothingMovedInThem) {
    const auto scripts = [](const std::string& actions) { return Rules(actions).scripts; };
    EXPECT_TRUE(*scripts(Action(kLoud)) == *scripts(Action(kLoud) + "<!-- loud -->"));
    EXPECT_FALSE(*scripts(Action(kLoud)) == *scripts("\n" + Action(kLoud))) << "errors name another line";
    EXPECT_FALSE(*scripts(Action(kLoud)) == *scripts(Action(kMuted)));
}

TEST(RuleSet, IsLoadedWithThePlacesOfItsElements) {
    const RuleSet rules = Rules("\n" + Action(kLoud, "name=\"a\" process=\"media-server\""));
    ASSERT_EQ(rules.tree->children.size(), 1U);
    const IQxData::_HSScriptPtr& action = *rules.tree->children[0];
    EXPECT_EQ(action.attributes.size(), 1U) << "processes are the run's to find";
    EXPECT_EQ(rules.places.Of(*action.children[1]).Text(), "v.xml:2");
}

TEST(EventDefinitions, StayWhereverTheEventStands) {
    const std::string before = Action(std::string(kLoud) + kMuted);
    EXPECT_THAT(Changed(before, before), IsEmpty());
    EXPECT_THAT(Changed(before, "\n<!-- x -->" + Action(std::string(kMuted) + "\n " + kLoud)), IsEmpty());
    EXPECT_THAT(Changed(before, Action("", "name=\"b\"") + Action(kMuted) + Action(kLoud)), IsEmpty());
    EXPECT_THAT(Changed(before, Action(std::string(kLoud) + kMuted, "name='a' process='media-server'")), IsEmpty())
        << "which processes are watched does not decide which calls an event is for";
    EXPECT_THAT(Changed(Action(R"(<event name="E" tag="IN"/>)"), Action(R"(<event tag="IN" name="E"></event>)")),
                IsEmpty());
}

TEST(EventDefinitions, ChangeWithTheEventAndWithItsCalls) {
    const std::string before = Action(std::string(kLoud) + kMuted);
    EXPECT_THAT(Changed(before, Action(kLoud)), ElementsAre("MUTED"));
    EXPECT_THAT(Changed(before, Action(kLoud) + Action(kMuted, "name=\"b\"")), ElementsAre("MUTED"));
    EXPECT_THAT(Changed(before, Action(kLoud) + Action(kMuted, "name=\"a\"", "<method name=\"Mute\"/>")),
                ElementsAre("MUTED"));
    EXPECT_THAT(Changed(before, Action(kLoud) + Action(kMuted, "name=\"a\" who=\"me\"")), ElementsAre("MUTED"));
    EXPECT_THAT(Changed(Action(R"(<event name="E" tag="IN"/>)"), Action(R"(<event name="E" tag="OUT"/>)")),
                ElementsAre("E"));
    EXPECT_THAT(Changed(Action(R"(<event name="E"/>)"), Action(R"(<event name="E"><more/></event>)")),
                ElementsAre("E"));
    EXPECT_THAT(Changed(before, before + Action(kLoud, "name=\"b\"")), ElementsAre("LOUD"))
        << "events of one name share what is remembered";
    EXPECT_THAT(Changed(before, ""), ElementsAre("LOUD", "MUTED"));
}

TEST(EventDefinitions, TakeTheNameOfTheActionBefore) {
    const std::string nameless = Action(kLoud, "x=\"1\"");
    EXPECT_THAT(Changed(Action("") + nameless, Action("", "name=\"b\"") + nameless), ElementsAre("LOUD"));
}

// The walk is no recursion.
TEST(EventDefinitions, TakeDeepEvents) {
    constexpr int kDepth = 100000;
    std::string inner;
    for (int i = 0; i < kDepth; ++i) inner += "<x>\n";
    for (int i = 0; i < kDepth; ++i) inner += "</x>\n";
    const std::string event = R"(<event name="E">)";
    EXPECT_THAT(Changed(Action(event + inner + "</event>"), Action(event + "<x>" + inner + "</x></event>")),
                ElementsAre("E"));
}

}  // namespace
