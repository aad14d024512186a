// The order in which calls and marks are handed on.
#include "NestedCalls.h"

#include <gmock/gmock.h>

namespace {

using namespace qxlt;
using testing::ElementsAre;
using testing::IsEmpty;

// Notes what is handed on: "+name depth", "-name", and a "*" behind a call that holds others.
class Notes final : public INestedSink {
public:
    void Enter(const NestedItem& item, const CallNesting::Place& place) override {
        lines.push_back("+" + item.entry + " " + std::to_string(place.depth) + (place.holds ? "*" : ""));
    }
    void Leave(const NestedItem& item, const CallNesting::Place&) override { lines.push_back("-" + item.exit); }

    std::vector<std::string> Taken() { return std::exchange(lines, {}); }

    std::vector<std::string> lines;
};

NestedItem Call(const std::string& name, std::uint64_t time, std::uint64_t exitTime, std::uint16_t tid = 1) {
    NestedItem item;
    item.thread = {"m", 7, tid};
    item.times = {time, exitTime, time * 1000};
    item.entry = item.exit = name;
    return item;
}

NestedItem Mark(const std::string& name, std::uint64_t time) {
    NestedItem item = Call(name, time, 0);
    item.kind = NestedItem::Kind::Event;
    return item;
}

TEST(NestedCalls, HandsOnInTheOrderOfTimes) {
    Notes notes;
    NestedCalls calls(notes);
    calls.Add(Call("inner", 20, 30));
    calls.Add(Call("outer", 10, 40));
    calls.Add(Call("next", 40, 50));
    EXPECT_THAT(notes.Taken(), IsEmpty());
    calls.Finish();
    EXPECT_THAT(notes.Taken(), ElementsAre("+outer 0*", "+inner 1", "-inner", "-outer", "+next 0", "-next"));
    EXPECT_EQ(calls.Newest(), 50u);
}

TEST(NestedCalls, NestsEachThreadByItself) {
    Notes notes;
    NestedCalls calls(notes);
    calls.Add(Call("a", 10, 40));
    calls.Add(Call("b", 20, 30, 2));
    NestedItem other = Call("c", 25, 26);
    other.thread.pid = 8;
    calls.Add(other);
    calls.Finish();
    EXPECT_THAT(notes.Taken(), ElementsAre("+a 0", "+b 0", "+c 0", "-c", "-b", "-a"));
}

TEST(NestedCalls, EndsInnerCallsFirst) {
    Notes notes;
    NestedCalls calls(notes);
    calls.Add(Call("a", 10, 40));
    calls.Add(Call("b", 20, 40));
    calls.Add(Call("c", 30, 99));
    calls.Finish();
    EXPECT_THAT(notes.Taken(), ElementsAre("+a 0*", "+b 1*", "+c 2", "-c", "-b", "-a"));
}

TEST(NestedCalls, PutsAMarkBehindItsCall) {
    Notes notes;
    NestedCalls calls(notes);
    calls.Add(Mark("first", 10));
    calls.Add(Mark("second", 10));
    calls.Add(Call("a", 10, 40));
    calls.Add(Call("log", 20, 0));
    calls.Finish();
    EXPECT_THAT(notes.Taken(), ElementsAre("+a 0*", "+first 0", "+second 0", "+log 1", "-a"));
}

// The caller of what came before may be in the next dump.
TEST(NestedCalls, HoldsBackWhatMayLieInACallThatComesLater) {
    Notes notes;
    NestedCalls calls(notes);
    calls.Add(Call("before", 10, 20));
    calls.Add(Call("inner", 50, 60));
    calls.Settle(40);
    EXPECT_THAT(notes.Taken(), ElementsAre("+before 0", "-before"));
    calls.Add(Call("outer", 40, 90));
    calls.Settle(80);
    EXPECT_THAT(notes.Taken(), ElementsAre("+outer 0*", "+inner 1", "-inner"));
    calls.Finish();
    EXPECT_THAT(notes.Taken(), ElementsAre("-outer"));
}

TEST(NestedCalls, TakesACallThatGoesOnToHoldOthers) {
    Notes notes;
    NestedCalls calls(notes);
    calls.Add(Call("outer", 10, 90));
    calls.Add(Call("inner", 50, 60));
    calls.Settle(40);
    EXPECT_THAT(notes.Taken(), ElementsAre("+outer 0*"));
    calls.Finish();
    EXPECT_THAT(notes.Taken(), ElementsAre("+inner 1", "-inner", "-outer"));
}

TEST(NestedCalls, ShowsByItselfWhatComesTooLate) {
    Notes notes;
    NestedCalls calls(notes);
    calls.Add(Call("inner", 50, 60));
    calls.Finish();
    calls.Add(Call("outer", 40, 90));
    calls.Add(Call("next", 95, 96));
    calls.Finish();
    EXPECT_THAT(notes.Taken(), ElementsAre("+inner 0", "-inner", "+outer 0", "-outer", "+next 0", "-next"));
}

}  // namespace
