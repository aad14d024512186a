// Whether the time that is taken from a counter is that of the system's clock, whatever the two do.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <string>

#include "HostTest.h"
#include "QxBasicThreadClock.h"
#include "QxTickCounter.h"

namespace {

using qxhost::NowNs;
using qxhost::QxTickCounter;

// Two clocks of one world, which goes on by what it takes to read them.
struct World {
    static inline double time;          // nanoseconds
    static inline double readingTime;   // of each reading
    static inline double interruption;  // before the next reading of the system's clock, once
    static inline double ticks;
    static inline double ticksOfNs;
    static inline double system;
    static inline double slew;  // of the system's clock
    static inline int counterReadings;
    static inline int systemReadings;

    static void Begin() {
        time = interruption = slew = 0;
        readingTime = 10;
        ticks = 5e12;
        ticksOfNs = 2.5;
        system = 3e14;
        counterReadings = systemReadings = 0;
    }
    static void Pass(double ns) {
        time += ns;
        ticks += ns * ticksOfNs;
        system += ns * (1 + slew);
    }
    static std::uint64_t Counter() {
        ++counterReadings;
        Pass(readingTime);
        return static_cast<std::uint64_t>(ticks);
    }
    static std::uint64_t System() {
        ++systemReadings;
        Pass(interruption);
        interruption = 0;
        Pass(readingTime);
        return static_cast<std::uint64_t>(system);
    }
};

class QxThreadClockTest : public testing::Test {
protected:
    QxThreadClockTest() { World::Begin(); }

    // How far the time is from the system's clock, after a pause.
    double ErrorAfter(double pauseNs) {
        World::Pass(pauseNs);
        const auto now = static_cast<double>(m_clock.Now());
        return std::max(now - World::system, World::system - now);
    }
    // The largest error in so many readings.
    double WorstOf(int readings, double pauseNs) {
        double worst = 0;
        for (int i = 0; i < readings; ++i) worst = std::max(worst, ErrorAfter(pauseNs));
        return worst;
    }

    qxhost::QxBasicThreadClock<World> m_clock{true};
};

constexpr double kMs = 1e6;

TEST_F(QxThreadClockTest, ACounterThatIsNotTrustedIsNotRead) {
    qxhost::QxBasicThreadClock<World> clock(false);
    for (int i = 0; i < 1000; ++i) {
        World::Pass(10000);
        const std::uint64_t now = clock.Now();
        ASSERT_EQ(now, static_cast<std::uint64_t>(World::system));
    }
    EXPECT_EQ(World::counterReadings, 0);
}

TEST_F(QxThreadClockTest, TheSystemIsAskedNowAndThen) {
    WorstOf(10000, 200);
    World::systemReadings = 0;
    WorstOf(1000000, 990);
    EXPECT_NEAR(World::systemReadings, 1000, 20) << "once in a millisecond of the second that passed";
}

TEST_F(QxThreadClockTest, TheSystemsClockIsFollowedWhereItIsSlewedTo) {
    EXPECT_LT(WorstOf(100000, 5000), 50);
    for (const double slew : {0.0001, -0.0002, 0.0003, 0.0}) {
        World::slew = slew;
        EXPECT_LT(WorstOf(500000, 5000), 500) << slew;
    }
}

TEST_F(QxThreadClockTest, PausesMakeNoDifference) {
    for (const double pause : {100.0, 2.0 * kMs, 700.0 * kMs, 3e9, 5e9, 3.6e12, 8.64e13}) {
        EXPECT_LT(WorstOf(3, pause), 60) << pause;
        EXPECT_LT(WorstOf(10000, 300), 60) << pause;
    }
}

TEST_F(QxThreadClockTest, ASlowCounterWillDo) {
    World::ticksOfNs = 0.024;
    EXPECT_LT(WorstOf(100000, 700), 150);
    World::systemReadings = 0;
    WorstOf(100000, 700);
    EXPECT_LT(World::systemReadings, 100);
}

TEST_F(QxThreadClockTest, AReadingThatIsInterruptedIsNotBelieved) {
    for (int i = 0; i < 2000; ++i) {
        if (i % 3 == 0) World::interruption = 20.0 * kMs;
        EXPECT_LT(WorstOf(50, 30000), 100) << i;
    }
}

TEST_F(QxThreadClockTest, ReadingsThatBecomeWiderAreTakenAfterAWhile) {
    WorstOf(10000, 1000);
    World::readingTime = 200;
    WorstOf(100000, 1000);
    World::systemReadings = 0;
    EXPECT_LT(WorstOf(100000, 1000), 300);
    EXPECT_LT(World::systemReadings, 500);
}

TEST_F(QxThreadClockTest, ACounterThatJumpsIsNotFollowed) {
    for (const double jump : {1e15, -1e12, 1e7, -1e7}) {
        WorstOf(100000, 1000);
        World::ticks += jump;
        EXPECT_LT(WorstOf(100000, 1000), 100) << jump;
    }
}

TEST_F(QxThreadClockTest, ACounterThatChangesItsPaceIsWrongForAMillisecondAtMost) {
    for (const double pace : {1.25, 3.0, 0.7, 2.5}) {
        WorstOf(100000, 1000);
        World::ticksOfNs = pace;
        WorstOf(5000, 1000);
        EXPECT_LT(WorstOf(100000, 1000), 100) << pace;
    }
}

using QxTickCounterTest = HostTest;

TEST_F(QxTickCounterTest, IsTrustedWhereTheSystemTakesItsTimeFromIt) {
    const std::string path = m_directory + "/source";
    EXPECT_FALSE(QxTickCounter::IsTrusted(path)) << "there is no such file";
    for (const std::string source : {"", "\n", "jiffies\n", "acpi_pm\n", "tscx\n", "arch_sys_counter2\n"}) {
        WriteFile(path, source);
        EXPECT_FALSE(QxTickCounter::IsTrusted(path)) << source;
    }
    EXPECT_FALSE(QxTickCounter::IsTrusted(m_directory));
}

TEST_F(QxTickCounterTest, GoesWithTheSystemsClockWhereItIsTrusted) {
    qxhost::QxBasicThreadClock<QxTickCounter> clock(QxTickCounter::IsTrusted());
    const std::uint64_t end = NowNs() + 50000000;
    constexpr std::uint64_t kToleranceNs = 100000;
    for (std::uint64_t before = NowNs(); before < end; before = NowNs()) {
        const std::uint64_t now = clock.Now();
        ASSERT_GE(now + kToleranceNs, before);
        ASSERT_LE(now, NowNs() + kToleranceNs);
    }
}

}  // namespace
