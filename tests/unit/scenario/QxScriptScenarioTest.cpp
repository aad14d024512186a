#include "QxScriptScenario.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "Expose.h"
#include "IQxEventObserver.h"
#include "Scripting.h"

struct Subscriptions {
    friend constexpr auto Private(Subscriptions);
};
template struct Expose<Subscriptions, &QxScriptScenario::m_Subscribers>;

namespace {

using namespace std::string_literals;

TEST(QxScriptScenario, ConvertsStoredBytes) {
    EXPECT_EQ(QxScriptScenario::ConverStringArg("\x49\x6C\x00"s), "Hk\xFF");
    EXPECT_EQ(QxScriptScenario::ConverIntArg("\0\0\0\0"s), "-1");
}

class QxScriptScenarioTest : public Scripting {
protected:
    IQxData::_HSScriptPtr* Root() {
        IQxData::_HSScript* slot = nullptr;
        store->GetScript(&slot);
        return *slot;
    }
    std::vector<std::pair<std::string, std::string>> Keys() {
        m_scenario.SetSubscriber(Root());
        std::vector<std::pair<std::string, std::string>> keys;
        for (const auto& entry : m_scenario.*Private(Subscriptions())) keys.push_back(entry.first);
        return keys;
    }
    IQxData::_HSScriptPtr* Subscriber(const std::string& method, const std::string& action) {
        return (m_scenario.*Private(Subscriptions())).at({method, action});
    }
    using List = std::vector<std::pair<std::string, std::string>>;
    QxScriptScenario m_scenario;
};

TEST_F(QxScriptScenarioTest, SubscribesMethodsUnderTheirActionsName) {
    Load(
        "<Scenario><x name='b'><method name='M'/><method other='N'/><event name='E'/></x>"
        "<x name='a'><method name='M'/></x></Scenario>");
    EXPECT_EQ(Keys(), (List{{"M", "a"}, {"M", "b"}, {"N", "b"}}));
    EXPECT_EQ(Keys().size(), 3u) << "again adds nothing";
}

TEST_F(QxScriptScenarioTest, OneNameSubscribesAMethodOnceToTheFirstAction) {
    Load("<Scenario><x name='a'><method name='M'/></x><x name='a'><method name='M'/></x></Scenario>");
    EXPECT_EQ(Keys(), (List{{"M", "a"}}));
    EXPECT_EQ(Subscriber("M", "a"), Root()->children[0]);
}

TEST_F(QxScriptScenarioTest, AnActionWithoutNameTakesThatOfTheNearestBefore) {
    Load("<Scenario><x><method name='K'/></x><x name='a'><method name='L'/></x><x><method name='M'/></x></Scenario>");
    EXPECT_EQ(Keys(), (List{{"K", ""}, {"L", "a"}, {"M", "a"}}));
}

TEST_F(QxScriptScenarioTest, OnlyTheFirstAttributeOfAMethodCounts) {
    Load("<Scenario><x name='a'><method process='P' name='M'/></x></Scenario>");
    EXPECT_EQ(Keys(), (List{{"P", "a"}}));
}

TEST_F(QxScriptScenarioTest, AMethodWithoutAttributeIsSkippedWithALine) {
    Load("<Scenario><x name='a'><method/><method name='M'/></x></Scenario>");
    EXPECT_EQ(Keys(), (List{{"M", "a"}}));
    const std::vector<std::string> lines = RecordingLog::Messages(DLOG_ERROR);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_NE(lines[0].find("action: a"), std::string::npos);
}

TEST_F(QxScriptScenarioTest, AMethodWithoutAttributeIsReportedOnceForItsScript) {
    const std::string script = "<Scenario><x name='a'><method/></x><x name='b'><method/><method/></x></Scenario>";
    for (int round = 0; round < 2; ++round) {
        store = std::make_shared<ListingStore>();
        Load(script);
        RecordingLog::Clear();
        for (int cycle = 0; cycle < 3; ++cycle) {
            QxParser each(OnEvent, this);
            std::pair<int, char*> nothing(0, nullptr);
            each.Parse(nothing, store);
            EXPECT_TRUE(each.Trace());
        }
        const std::string lead = "[QxScriptScenario::SetSubscriber] method without attribute, action: ";
        EXPECT_EQ(RecordingLog::Messages(DLOG_ERROR), (std::vector<std::string>{lead + "a", lead + "b", lead + "b"}));
    }
}

TEST_F(QxScriptScenarioTest, NothingIsSubscribedDeeper) {
    Load("<Scenario><Scenario><x name='a'><method name='M'/></x></Scenario></Scenario>");
    EXPECT_EQ(Keys(), List{});
}

TEST_F(QxScriptScenarioTest, WithoutAScriptThePassSaysSo) {
    EXPECT_EQ(m_scenario.Trace(&tracing), 0);
    EXPECT_EQ(Logged("GetScript Failed", DLOG_INFO), 1);
    EXPECT_FALSE(tracing.Trace());
}

TEST_F(QxScriptScenarioTest, AStoreWithoutCallsIsAPassWithoutEvents) {
    Load("<Scenario><x name='a'><method name='M'/><event name='E'/></x></Scenario>");
    EXPECT_EQ(m_scenario.Trace(&tracing), 1);
    EXPECT_TRUE(fired.empty());
}

TEST_F(QxScriptScenarioTest, VisitsActionsInOrderOfTheirNamesAndCallsInOrderOfTheirKeys) {
    Load(
        "<Scenario><x name='b'><method name='M'/><event name='B1'/><event name='B2'/></x>"
        "<x name='a'><method name='M'/><event name='A'/></x><x name='c'><method name='MM'/><event "
        "name='C'/></x></Scenario>");
    IQxData::HSCall late = Call("M");
    IQxData::HSCall early = Call("M");
    late.time = 9;
    early.time = 3;
    store->AppendBeforeCall(late);
    store->AppendBeforeCall(early);
    EXPECT_TRUE(tracing.Trace());
    EXPECT_EQ(FiredNames(), (std::vector<std::string>{"A", "B1", "B2", "A", "B1", "B2"}));
    EXPECT_EQ(fired[0].call.time, 3u);
    EXPECT_EQ(store->events.size(), 6u) << "each is stored as well";
    EXPECT_EQ(Calls().size(), 2u) << "calls stay";
}

TEST_F(QxScriptScenarioTest, AnUnknownLocationMatchesTheEmptyMethodOnly) {
    Load(
        "<Scenario><x name='a'><method name=''/><event name='E'/></x><x name='b'><method name='M'/><event "
        "name='F'/></x>"
        "</Scenario>");
    IQxData::HSCall call;
    call.locId = 77;
    store->AppendBeforeCall(call);
    tracing.Trace();
    EXPECT_EQ(FiredNames(), std::vector<std::string>{"E"});
}

TEST_F(QxScriptScenarioTest, LocationsAreLookedUpByTheCallsOwnProcess) {
    Load("<Scenario><x name='a'><method name='M'/><event name='E'/></x></Scenario>");
    IQxData::HSCall call = Call("M");
    store->AppendBeforeCall(call);
    call.pid = 9;
    store->AppendBeforeCall(call);
    store->AppendProcessName(9, "other");
    store->AppendCurrentProcess("other");
    tracing.Trace();
    EXPECT_EQ(fired.size(), 1u);
}

TEST_F(QxScriptScenarioTest, AnEventInErrorIsReportedAndTheNextOneEvaluated) {
    Load(
        "<Scenario><x name='a'><method name='M'/><event name='BAD' tag='IN' value='x'/><event name='GOOD'/></x>"
        "</Scenario>");
    for (int i = 0; i < 2; ++i) {
        IQxData::HSCall call = Call("M");
        store->AppendBeforeCall(call);
    }
    EXPECT_TRUE(tracing.Trace());
    EXPECT_EQ(FiredNames(), (std::vector<std::string>{"GOOD", "GOOD"}));
    EXPECT_EQ(Logged("[QxScriptScenario::MakeEvent] Event in error, event: BAD, error: stoul", DLOG_ERROR), 2);
}

// A process decides how many calls there are, and how many of them have returned.
TEST_F(QxScriptScenarioTest, OnePassSaysSoManyTimesThatSomethingIsWrong) {
    Load(
        "<Scenario><x name='a'><method name='M'/><event name='BAD' tag='IN' value='x'/>"
        "<event name='OPEN' tag='RET' value='0'/></x></Scenario>");
    for (unsigned i = 0; i < 3000; ++i) {
        IQxData::HSCall call = Call("M");
        call.time = i;
        store->AppendBeforeCall(call);
    }
    for (int pass = 1; pass <= 2; ++pass) {
        RecordingLog::Clear();
        EXPECT_TRUE(tracing.Trace());
        EXPECT_EQ(RecordingLog::Messages(DLOG_ERROR).size(), 4097u);
        EXPECT_EQ(Logged("[QxDecodeLog::End] Too many messages, left out: 1904", DLOG_ERROR), 1);
    }
}

TEST_F(QxScriptScenarioTest, WhatIsWrongIsSaidAtLevelMajorAndNotBelow) {
    Load(
        "<Scenario><x name='a'><method/><method name='M'/><event name='E'/><event name='BAD' "
        "tag='IN'/></x></Scenario>");
    IQxData::HSCall call = Call("M");
    store->AppendBeforeCall(call);
    for (const int level : {Major, Fatal}) {
        QxDebugPrint::GetInstance()->SetLevel(level);
        RecordingLog::Clear();
        QxScriptScenario().SetSubscriber(Root());
        during = [] { throw std::runtime_error("boom"); };
        EXPECT_TRUE(tracing.Trace());
        during = [] { throw 5; };
        EXPECT_TRUE(tracing.Trace());
        EXPECT_THAT(RecordingLog::Messages(),
                    level == Fatal ? testing::ElementsAreArray(std::vector<std::string>())
                                   : testing::ElementsAreArray(std::vector<std::string>{
                                         "[QxScriptScenario::SetSubscriber] method without attribute, action: a",
                                         "[QxScriptScenario::SetSubscriber] method without attribute, action: a",
                                         "[QxParser::SendEvent] Callback threw, event: E, error: boom",
                                         "[QxScriptScenario::MakeEvent] Event in error, event: BAD, error: stoul",
                                         "[QxParser::SendEvent] Callback threw, event: E",
                                         "[QxScriptScenario::MakeEvent] Event in error, event: BAD, error: stoul"}));
    }
}

TEST_F(QxScriptScenarioTest, ASessionDoesNothing) {
    Load("<session><x name='a'><method name='M'/><event name='E'/></x></session>");
    IQxData::HSCall call = Call("M");
    store->AppendBeforeCall(call);
    EXPECT_TRUE(tracing.Trace());
    EXPECT_TRUE(fired.empty());
}

TEST_F(QxScriptScenarioTest, AnUnknownTopElementRunsNothing) {
    Load("<scenario><x name='a'><method name='M'/><event name='E'/></x></scenario>");
    IQxData::HSCall call = Call("M");
    store->AppendBeforeCall(call);
    EXPECT_FALSE(tracing.Trace());
    EXPECT_FALSE(tracing.Trace()) << "nothing was registered under that name";
    EXPECT_TRUE(fired.empty());
}

// Writes down what it is told.
class Notes final : public IQxEventObserver {
public:
    void OnCall(unsigned long long key, const IQxData::HSCall&, const std::string& callerName) override {
        lines.push_back("call " + std::to_string(key) + " " + callerName);
    }
    void OnEvent(const IQxData::_HSScriptPtr& event, unsigned long long key, const IQxData::HSCall&, QxOutcome outcome,
                 const std::string& argument) override {
        lines.push_back("event " + event.attributes.front().second + " " + std::to_string(key) + " " +
                        (outcome == QxOutcome::Fires ? "fires " : "rests ") + argument);
    }
    void OnError(const IQxData::_HSScriptPtr& event, unsigned long long key, const IQxData::HSCall&, QxStage stage,
                 const std::string& error) override {
        lines.push_back("error " + event.attributes.front().second + " " + std::to_string(key) + " " +
                        (stage == QxStage::Index ? "index " : "other ") + error);
    }

    std::vector<std::string> lines;
};

// Two calls that differ in nothing but their place in the store.
TEST_F(QxScriptScenarioTest, TheObserverIsToldTheKeyOfTheCall) {
    Load(
        "<Scenario><x name='a'><method name='M'/><event name='E' keyword='' tag='NONE'/>"
        "<event name='BAD' tag='IN' value='x'/><event name='F' keyword='k'/></x></Scenario>");
    IQxData::HSCall other = Call("N", 2);
    other.time = 7;
    IQxData::HSCall call = Call("M");
    call.time = 7;
    for (IQxData::HSCall* const one : {&other, &call, &call}) store->AppendBeforeCall(*one);
    Notes notes;
    tracing.SetObserver(&notes);
    during = [&] { notes.lines.push_back("callback"); };
    EXPECT_TRUE(tracing.Trace());
    EXPECT_EQ(notes.lines,
              (std::vector<std::string>{
                  "call 7000 N", "call 7001 M", "call 7002 M",                                                 //
                  "event E 7001 fires NONE", "callback", "error BAD 7001 index stoul", "event F 7001 rests ",  //
                  "event E 7002 fires NONE", "callback", "error BAD 7002 index stoul", "event F 7002 rests "}));
}

// The location of a call is looked up when the pass comes to it: what a callback makes of it counts.
TEST_F(QxScriptScenarioTest, ALocationThatACallbackRenamesMatchesByItsNewName) {
    Load(
        "<Scenario><x name='a'><method name='M'/><event name='E' tag='NONE'/></x>"
        "<x name='b'><method name='Renamed'/><event name='F' tag='NONE'/></x></Scenario>");
    IQxData::HSCall call = Call("M");
    for (int i = 0; i < 2; ++i) store->AppendBeforeCall(call);
    Notes notes;
    tracing.SetObserver(&notes);
    during = [&] {
        IQxData::_HSCallLocation site = store->GetCallLocation(call.locId);
        site.callerName = "Renamed";
        store->AppendCallLocation(site);
    };
    EXPECT_TRUE(tracing.Trace());
    EXPECT_EQ(notes.lines.size(), 4u);
    EXPECT_EQ(notes.lines.back().substr(0, 7), "event F");
}

// Events are read once for a pass; a callback that adds to one is heeded from the next call on.
TEST_F(QxScriptScenarioTest, AnAttributeThatACallbackAddsCounts) {
    Load("<Scenario><x name='a'><method name='M'/><event name='E' tag='NONE'/></x></Scenario>");
    IQxData::HSCall call = Call("M");
    for (int i = 0; i < 3; ++i) store->AppendBeforeCall(call);
    Notes notes;
    tracing.SetObserver(&notes);
    IQxData::_HSScript* slot = nullptr;
    IQxData::_HSScriptPtr& event = *(*store->GetScript(&slot))->children[0]->children[1];
    bool isFirst = true;
    during = [&] {
        if (std::exchange(isFirst, false)) event.attributes.emplace_back("tag", "IN");
    };
    EXPECT_TRUE(tracing.Trace());
    EXPECT_EQ(std::count_if(notes.lines.begin(), notes.lines.end(),
                            [](const std::string& line) { return line.find(" fires ") != std::string::npos; }),
              1);
}

TEST_F(QxScriptScenarioTest, OutsideAPassThereIsNoKey) {
    Notes notes;
    tracing.SetObserver(&notes);
    Evaluate("name='E' tag='NONE'", Number(5));
    EXPECT_EQ(notes.lines, std::vector<std::string>{"event E 0 fires NONE"});
    IQxData::HSCall call;
    QxScriptScenario().PushEvent(&LoadEvent("name='F' tag='NONE'"), call, &tracing);
    EXPECT_EQ(notes.lines.back(), "event F 0 fires NONE");
}

TEST_F(QxScriptScenarioTest, AnObserverNeedNotWatchEverything) {
    Load(
        "<Scenario><x name='a'><method name='M'/><event name='BAD' tag='IN' value='x'/><event "
        "name='E'/></x></Scenario>");
    IQxData::HSCall call = Call("M");
    store->AppendBeforeCall(call);
    IQxEventObserver nobody;
    tracing.SetObserver(&nobody);
    EXPECT_TRUE(tracing.Trace());
    EXPECT_EQ(FiredNames(), std::vector<std::string>{"E"});
}

}  // namespace
