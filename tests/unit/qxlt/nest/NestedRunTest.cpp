// Calls of a run on their way to whoever writes them.
#include "NestedRun.h"

#include <gmock/gmock.h>

namespace {

using namespace qxlt;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint64_t kSecond = 1'000'000'000;

// Writes down the name of each item and when it is.
class Writer final : public INestedWriter {
public:
    std::optional<Texts> Hold(const CallView& call) override {
        if (call.location.callerName == "hidden") return std::nullopt;
        return Texts{call.location.callerName, ""};
    }
    std::string Hold(const EventView& event) override { return "event " + event.event; }
    std::string Hold(const DumpNews& loss) override { return "lost of " + loss.process; }
    void Enter(const NestedItem& item, const CallNesting::Place& place) override {
        lines.push_back(item.entry + " at " + std::to_string(item.times.time) + " in " + std::to_string(place.depth) +
                        (item.kind == NestedItem::Kind::Loss ? " until " + std::to_string(item.times.exitTime) : ""));
    }
    void Leave(const NestedItem&, const CallNesting::Place&) override {}

    std::vector<std::string> Taken() { return std::exchange(lines, {}); }

    std::vector<std::string> lines;
};

class TestRun {
public:
    void Call(const std::string& name, std::uint64_t time, std::uint64_t exitTime) {
        View(name, time, exitTime, [this](const CallView& call) { run.OnCall(call); });
    }
    void Primed(const std::string& name, std::uint64_t time, std::uint64_t exitTime) {
        View(name, time, exitTime, [this](const CallView& call) { run.OnPrimed(call); });
    }
    void Event(const std::string& name, std::uint64_t time) {
        View("x", time, 0, [&](const CallView& call) { run.OnEvent({1, name, "v", call}); });
    }
    void Dump(std::uint64_t open, std::uint64_t overwritten = 0) {
        std::optional<LossCounts> counts{LossCounts()};
        counts->open = open;
        counts->overwritten = overwritten;
        run.OnDump({1, m_process, counts, 0, 2});
    }

private:
    template <typename Show>
    void View(const std::string& name, std::uint64_t time, std::uint64_t exitTime, const Show& show) {
        IQxData::HSCall call;
        call.tid = 3;
        call.time = time;
        call.exitTime = exitTime;
        IQxData::_HSCallLocation location;
        location.callerName = name;
        show({call, location, m_process, time * 1000, 7});
    }

    const std::string m_process = "m";

public:
    Writer writer;
    NestedRun run{writer};
};

TEST(NestedRun, WritesACycleAtItsEndWhenNothingIsOpen) {
    TestRun run;
    run.Dump(0);
    run.Call("outer", 10, 50);
    run.Call("hidden", 15, 45);
    run.Call("inner", 20, 30);
    run.Event("E", 20);
    EXPECT_THAT(run.writer.Taken(), IsEmpty());
    run.run.OnCycleEnd();
    EXPECT_THAT(run.writer.Taken(), ElementsAre("outer at 10 in 0", "inner at 20 in 1", "event E at 20 in 0"));
}

// A call that is open is held back for 5 s at most.
TEST(NestedRun, WaitsForCallsThatAreOpen) {
    TestRun run;
    run.Dump(1);
    run.Call("old", 10, 20);
    run.Call("inner", 6 * kSecond, 6 * kSecond + 5);
    run.run.OnCycleEnd();
    EXPECT_THAT(run.writer.Taken(), ElementsAre("old at 10 in 0"));
    run.Dump(0);
    run.Call("outer", 2 * kSecond, 7 * kSecond);
    run.run.OnCycleEnd();
    EXPECT_THAT(run.writer.Taken(), ElementsAre("outer at 2000000000 in 0", "inner at 6000000000 in 1"));
}

TEST(NestedRun, WritesWhatWaitsWhenTheRunIsOver) {
    TestRun run;
    run.Dump(1);
    run.Call("a", 10, 20);
    run.run.OnCycleEnd();
    EXPECT_THAT(run.writer.Taken(), IsEmpty());
    run.run.Finish();
    EXPECT_THAT(run.writer.Taken(), ElementsAre("a at 10 in 0"));
}

TEST(NestedRun, MarksALossBehindWhatCameBefore) {
    TestRun run;
    run.Dump(0, 5);
    run.Call("a", 10, 20);
    run.run.OnCycleEnd();
    EXPECT_THAT(run.writer.Taken(), ElementsAre("a at 10 in 0", "lost of m at 10 in 0 until 0"));
    run.Dump(0);
    run.run.OnCycleEnd();
    EXPECT_THAT(run.writer.Taken(), IsEmpty());
    run.Dump(0, 5);
    run.Call("b", 70, 80);
    run.run.OnCycleEnd();
    EXPECT_THAT(run.writer.Taken(), ElementsAre("lost of m at 20 in 0 until 70", "b at 70 in 0"));
    EXPECT_EQ(run.run.History(), 6u);
}

// What a cycle that primes has brought is shown in the next one, and had come before.
TEST(NestedRun, MarksALossBehindWhatPrimed) {
    TestRun run;
    run.Dump(0);
    run.Primed("a", 10, 20);
    run.run.OnCycleEnd();
    run.Dump(0, 5);
    run.Call("a", 10, 20);
    run.Call("b", 70, 80);
    run.run.OnCycleEnd();
    EXPECT_THAT(run.writer.Taken(), ElementsAre("a at 10 in 0", "lost of m at 20 in 0 until 70", "b at 70 in 0"));
}

TEST(NestedRun, MarksALossOfWhichNoCallIsLeft) {
    TestRun run;
    run.Dump(0, 5);
    run.run.OnCycleEnd();
    EXPECT_THAT(run.writer.Taken(), ElementsAre("lost of m at 0 in 0 until 0"));
}

}  // namespace
