// What callbacks may do to the store and the script while a pass runs.
#include <gmock/gmock.h>

#include <functional>
#include <string>
#include <vector>

#include "Scripting.h"

namespace {

using ScriptCallbackTest = Scripting;

TEST_F(ScriptCallbackTest, CallsThatACallbackAddsAreNotVisited) {
    Load("<Scenario><x name='a'><method name='M'/><event name='E'/></x></Scenario>");
    IQxData::HSCall call = Call("M");
    store->AppendBeforeCall(call);
    during = [&] {
        IQxData::HSCall more = call;
        more.time += 100;
        store->AppendBeforeCall(more);
    };
    tracing.Trace();
    EXPECT_EQ(fired.size(), 1u);
    EXPECT_EQ(Calls().size(), 2u);
}

TEST_F(ScriptCallbackTest, EachEventOfACallHasAllOfIt) {
    Load(
        "<Scenario><x name='a'><method name='M'/><event name='E'/><event name='F'/><method name='N'/></x>"
        "<x name='b'><method name='M'/><event name='G'/></x></Scenario>");
    for (int i = 0; i < 2; ++i) {
        IQxData::HSCall call = Call("M");
        call.args.in = {{{"", "a text that is longer than short ones"}}};
        store->AppendBeforeCall(call);
    }
    tracing.Trace();
    EXPECT_EQ(FiredNames(), (std::vector<std::string>{"E", "F", "G", "E", "F", "G"}));
    for (const auto& one : fired) {
        ASSERT_EQ(one.call.args.in.size(), 1u) << one.name;
        EXPECT_EQ(one.call.args.in[0][0].second, "a text that is longer than short ones");
    }
    for (const auto& entry : Calls()) EXPECT_EQ(entry.second.args.in.size(), 1u) << "the stored call stays whole";
}

TEST_F(ScriptCallbackTest, ThePassSeesCallsAsTheyWereBeforeTheFirstCallback) {
    Load(
        "<Scenario><x name='a'><method name='M'/><event name='E' tag='IN' value='0' type='STRING' watch='CONDITIONAL' "
        "condition='!=' conditionValue='one'/></x></Scenario>");
    const auto pass = [&](const std::function<void()>& callback) {
        store->clearCalls();
        for (const char* text : {"one", "two", "three", "four"}) {
            IQxData::HSCall call = Call("M");
            std::string raw = text;
            for (char& byte : raw) ++byte;
            call.args.in = {{{"", raw}}};
            store->AppendBeforeCall(call);
        }
        fired.clear();
        during = callback;
        tracing.Trace();
        std::vector<std::string> values;
        for (const auto& event : fired) values.push_back(event.value);
        return values;
    };
    const std::vector<std::string> values = {"two", "three", "four"};
    EXPECT_EQ(pass([] {}), values);
    EXPECT_EQ(pass([&] { store->clearCalls(); }), values);
    EXPECT_EQ(pass([&] {
                  for (auto& entry : *store->GetCallIMap()) entry.second.args.in.clear();
              }),
              values);
    EXPECT_EQ(fired.back().call.args.in.size(), 1u);
}

TEST_F(ScriptCallbackTest, NothingOfOnePassIsLeftInTheCallsOfTheNext) {
    Load("<Scenario><x name='a'><method name='M'/><event name='E'/><event name='F'/></x></Scenario>");
    for (const std::size_t arguments : {3u, 1u, 0u, 2u}) {
        store->clearCalls();
        IQxData::HSCall call = Call("M");
        call.args.in.assign(arguments, {{"name", std::string(arguments * 20, 'v')}});
        call.args.out.assign(arguments / 2, {});
        store->AppendBeforeCall(call);
        fired.clear();
        tracing.Trace();
        ASSERT_EQ(fired.size(), 2u);
        for (const auto& event : fired) {
            EXPECT_EQ(event.call.args.in, call.args.in);
            EXPECT_EQ(event.call.args.out, call.args.out);
        }
    }
}

TEST_F(ScriptCallbackTest, ACallbackMayClearTheStore) {
    Load("<Scenario><x name='a'><method name='M'/><event name='E'/><event name='F'/></x></Scenario>");
    for (int i = 0; i < 3; ++i) {
        IQxData::HSCall call = Call("M");
        store->AppendBeforeCall(call);
    }
    during = [&] { store->clear(); };
    EXPECT_TRUE(tracing.Trace());
    // The call in hand is evaluated to its end; the further ones have lost their location.
    EXPECT_EQ(FiredNames(), (std::vector<std::string>{"E", "F"}));
}

TEST_F(ScriptCallbackTest, ACallbackMayLoadAScript) {
    Load("<Scenario><x name='a'><method name='M'/><event name='E'/></x></Scenario>");
    for (int i = 0; i < 2; ++i) {
        IQxData::HSCall call = Call("M");
        store->AppendBeforeCall(call);
    }
    during = [&] { Load("<Scenario><x name='z'><method name='M'/><event name='Z'/></x></Scenario>"); };
    EXPECT_TRUE(tracing.Trace());
    EXPECT_EQ(FiredNames(), (std::vector<std::string>{"E", "E"}));
}

TEST_F(ScriptCallbackTest, ACallbackThatThrowsIsReportedAndThePassGoesOn) {
    Load("<Scenario><x name='a'><method name='M'/><event name='E'/><event name='F'/></x></Scenario>");
    IQxData::HSCall call = Call("M");
    store->AppendBeforeCall(call);
    during = [] { throw std::runtime_error("boom"); };
    EXPECT_TRUE(tracing.Trace());
    EXPECT_EQ(FiredNames(), (std::vector<std::string>{"E", "F"}));
    EXPECT_EQ(Logged("[QxParser::SendEvent] Callback threw, event: E, error: boom", DLOG_ERROR), 1);
    during = [] { throw 5; };
    EXPECT_TRUE(tracing.Trace());
    EXPECT_EQ(Logged("[QxParser::SendEvent] Callback threw, event: E", DLOG_ERROR), 1);
}

TEST_F(ScriptCallbackTest, WithoutACallbackEventsAreStoredAlone) {
    Load("<Scenario><x name='a'><method name='M'/><event name='E'/></x></Scenario>");
    IQxData::HSCall call = Call("M");
    store->AppendBeforeCall(call);
    EXPECT_TRUE(parser.Trace());
    EXPECT_EQ(store->events.size(), 1u);
}

}  // namespace
