#include "QxTimer.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <utility>
#include <vector>

#include "Diagnostics.h"
#include "SystemCalls.h"
#include "dlog.h"

namespace {

using Time = std::pair<time_t, long>;  // seconds, nanoseconds

constexpr unsigned long kNoTime = 0xFFFFFFFF;

unsigned long MsPerClockTick() {
    return static_cast<unsigned long>(1000 / sysconf(_SC_CLK_TCK));
}

unsigned long TickAt(clock_t clock) {
    SystemCalls calls;
    calls.times = [clock] { return clock; };
    return QxTimer::Tick();
}

// Answers nanosleep with the given results in turn: 0, or -1 with the time that is left.
class Naps final {
public:
    struct Result {
        int result;
        Time left;
    };

    explicit Naps(std::vector<Result> results) : m_results(std::move(results)) {
        m_calls.nanosleep = [this](const timespec& asked, timespec& left) {
            m_asked.emplace_back(asked.tv_sec, asked.tv_nsec);
            const Result& now = m_results.at(m_asked.size() - 1);
            if (now.result != 0) left = {now.left.first, now.left.second};
            errno = EINTR;
            return now.result;
        };
    }

    const std::vector<Time>& Asked() const { return m_asked; }

private:
    SystemCalls m_calls;
    std::vector<Result> m_results;
    std::vector<Time> m_asked;
};

}  // namespace

TEST(QxTimer, TicksInMilliseconds) {
    EXPECT_EQ(TickAt(0), 0u);
    EXPECT_EQ(TickAt(1), MsPerClockTick());
    EXPECT_EQ(TickAt(12345), 12345 * MsPerClockTick());
}

TEST(QxTimer, TickWrapsAt32Bits) {
    const auto clocks = static_cast<unsigned long>(0x100000000 / MsPerClockTick() + 1);
    EXPECT_EQ(TickAt(static_cast<clock_t>(clocks)), (clocks * MsPerClockTick()) & 0xFFFFFFFF);
}

TEST(QxTimer, TickNeverRunsBackwards) {
    const unsigned long first = QxTimer::Tick();
    const unsigned long second = QxTimer::Tick();
    EXPECT_LT((second - first) & 0xFFFFFFFF, 60000u);
}

TEST(QxTimer, TickWarnsWhenTheClockFails) {
    const Diagnostics diagnostics(Warning);
    EXPECT_EQ(TickAt(-1), kNoTime);
    EXPECT_EQ(RecordingLog::Messages(), std::vector<std::string>{"KLP Warning: times() return error(-1).\n"});
    EXPECT_EQ(RecordingLog::Count("KLP Warning: times() return error(-1).\n", DLOG_ERROR), 1);
}

TEST(QxTimer, TickWarnsAtLevelWarning) {
    const Diagnostics diagnostics(Major);
    EXPECT_EQ(TickAt(-1), kNoTime);
    EXPECT_TRUE(RecordingLog::Lines().empty());
}

TEST(QxTimer, SleepsSecondsAndTheRestInNanoseconds) {
    struct Row {
        unsigned long ms;
        Time asked;
    };
    const Row rows[] = {{0, {0, 0}},    {1, {0, 1000000}},      {999, {0, 999000000}},
                        {1000, {1, 0}}, {2345, {2, 345000000}}, {4294967295, {4294967, 295000000}}};
    for (const Row& row : rows) {
        const Naps naps(std::vector<Naps::Result>{{0, {}}});
        EXPECT_EQ(QxTimer::Sleep(row.ms), 0) << row.ms;
        EXPECT_EQ(naps.Asked(), std::vector<Time>{row.asked}) << row.ms;
    }
}

TEST(QxTimer, SleepsTheRestAfterEachInterruption) {
    const Naps naps({{-1, {1, 5}}, {-1, {0, 4}}, {0, {}}});
    EXPECT_EQ(QxTimer::Sleep(2000), 0);
    EXPECT_EQ(naps.Asked(), (std::vector<Time>{{2, 0}, {1, 5}, {0, 4}}));
}

TEST(QxTimer, SleepEndsWithTheFailureWhenNothingRemains) {
    const Naps naps(std::vector<Naps::Result>{{-1, {0, 0}}});
    EXPECT_EQ(QxTimer::Sleep(2000), -1);
    EXPECT_EQ(naps.Asked(), (std::vector<Time>{{2, 0}}));
}

TEST(QxTimer, SleepTakesTheTime) {
    timespec before = {};
    timespec after = {};
    clock_gettime(CLOCK_MONOTONIC, &before);
    EXPECT_EQ(QxTimer::Sleep(2), 0);
    clock_gettime(CLOCK_MONOTONIC, &after);
    EXPECT_GE((after.tv_sec - before.tv_sec) * 1000000000 + after.tv_nsec - before.tv_nsec, 2000000);
}
