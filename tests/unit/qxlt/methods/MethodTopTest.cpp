// The intervals of a live run.
#include "MethodTop.h"

#include <gmock/gmock.h>

#include "Calls.h"
#include "Platform.h"

namespace {

using namespace qxlt;
using testing::ElementsAre;
using testing::IsEmpty;

// Keeps what is shown, and what is told of beginning and end.
class Display final : public IMethodDisplay {
public:
    void Open() override { told.emplace_back("open"); }
    void Close() override { told.emplace_back("close"); }
    void Show(const MethodInterval& interval) override { shown.push_back(interval); }
    void Finish() override { told.emplace_back("finish"); }

    std::vector<MethodInterval> shown;
    std::vector<std::string> told;
};

class TestTop {
public:
    explicit TestTop(double seconds, bool once = false, const FilterPatterns& filter = {})
        : top({filter, {}, seconds, once}, display, [this] { ++ends; }) {}

    void Dump(std::uint64_t cycle, std::uint64_t lost = 0) {
        std::optional<LossCounts> counts{LossCounts()};
        counts->overwritten = lost;
        top.OnDump({cycle, m_process, counts, 0, 0});
    }
    // A call that is made now.
    void Call(const std::string& name) {
        const std::uint64_t now = CallClockNow().value();
        top.OnCall(MadeCall(name, now, now + 5000).View());
    }

    Display display;
    int ends = 0;

private:
    const std::string m_process = "m";

public:
    MethodTop top;
};

constexpr double kNow = 1e-9;
constexpr double kLater = 3600;

TEST(MethodTop, ShowsAnIntervalWithTheCycleThatEndsIt) {
    TestTop test(kNow);
    test.top.OnBegin();
    test.Dump(1);
    test.top.OnCycleEnd();  // the calls of a cycle that primes come with the next one
    EXPECT_THAT(test.display.shown, IsEmpty());
    test.Dump(2, 4);
    test.Call("Set");
    test.top.OnCycleEnd();
    test.Dump(3, 1);
    test.top.OnCycleEnd();
    ASSERT_EQ(test.display.shown.size(), 2U);
    EXPECT_EQ(test.display.shown[0].number, 1U);
    EXPECT_EQ(test.display.shown[0].last.rows[0].calls, 1U);
    EXPECT_EQ(test.display.shown[0].processes[0].calls, 1U);
    EXPECT_EQ(test.display.shown[0].processes[0].lost, 4U);
    EXPECT_GT(test.display.shown[0].last.seconds, 0);
    EXPECT_EQ(test.display.shown[1].last.rows[0].calls, 0U);
    EXPECT_EQ(test.display.shown[1].whole.rows[0].calls, 1U);
    EXPECT_EQ(test.display.shown[1].processes[0].lost, 5U);
    EXPECT_GT(test.display.shown[1].whole.seconds, test.display.shown[1].last.seconds);
}

TEST(MethodTop, GoesOnUntilTheIntervalIsOver) {
    TestTop test(kLater);
    test.top.OnBegin();
    for (std::uint64_t cycle = 1; cycle < 4; ++cycle) {
        test.Dump(cycle);
        test.Call("Set");
        test.top.OnCycleEnd();
    }
    EXPECT_THAT(test.display.shown, IsEmpty());
    test.top.OnEnding();
    test.top.Finish();
    ASSERT_EQ(test.display.shown.size(), 1U);
    EXPECT_EQ(test.display.shown[0].last.rows[0].calls, 3U);
    EXPECT_THAT(test.display.told, ElementsAre("open", "close", "finish"));
    EXPECT_EQ(test.ends, 0);
}

TEST(MethodTop, EndsTheRunWithTheFirstOfOneInterval) {
    TestTop test(kNow, true);
    test.top.OnBegin();
    for (std::uint64_t cycle = 1; cycle < 5; ++cycle) {
        test.Dump(cycle);
        test.Call("Set");
        test.top.OnCycleEnd();
    }
    test.top.Finish();
    EXPECT_EQ(test.ends, 1);
    ASSERT_EQ(test.display.shown.size(), 1U);
    EXPECT_EQ(test.display.shown[0].last.rows[0].calls, 2U);
}

TEST(MethodTop, LeavesOutWhatIsOlderAndWhatFiltersHoldBack) {
    FilterPatterns filter;
    filter.methods = {"S*"};
    TestTop test(kNow, false, filter);
    test.top.OnBegin();
    test.Dump(2);
    test.top.OnCall(MadeCall("Set", 1000, 2000).View());
    test.Call("Set");
    test.Call("Get");
    test.top.OnCycleEnd();
    ASSERT_EQ(test.display.shown.size(), 1U);
    ASSERT_EQ(test.display.shown[0].last.rows.size(), 1U);
    EXPECT_EQ(test.display.shown[0].last.rows[0].calls, 1U);
}

TEST(MethodTop, ShowsNothingOfARunThatDidNotBegin) {
    TestTop test(kNow);
    test.top.Finish();
    EXPECT_THAT(test.display.shown, IsEmpty());
    EXPECT_THAT(test.display.told, ElementsAre("finish"));
}

}  // namespace
