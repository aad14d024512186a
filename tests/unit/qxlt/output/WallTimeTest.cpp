// Times of the recordings' clock on the wall clock.
#include "WallTime.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <ctime>
#include <limits>
#include <random>

#include "Platform.h"

namespace {

using namespace qxlt;

constexpr std::int64_t kSecond = 1000000000;

TEST(WallTime, AddsTheOffset) {
    EXPECT_EQ(WallTime(5, 10), 15U);
    EXPECT_EQ(WallTime(15, -10), 5U);
    EXPECT_EQ(WallTime(5, std::nullopt), std::nullopt);
}

TEST(WallTime, IsNoneOfWhatNoCalendarHas) {
    EXPECT_EQ(WallTime(5, -6), std::nullopt);
    EXPECT_EQ(WallTime(0, INT64_MIN), std::nullopt);
    EXPECT_EQ(WallTime(UINT64_MAX, 0), std::nullopt);
    EXPECT_EQ(WallTime(UINT64_MAX, -5), std::nullopt);
    EXPECT_EQ(WallTime(INT64_MAX, 1), std::nullopt);
    EXPECT_EQ(WallTime(INT64_MAX, 0), std::uint64_t{INT64_MAX});
    EXPECT_EQ(WallTime(1, INT64_MAX), std::nullopt);
}

TEST(WallTime, IsWrittenWithAllNanoseconds) {
    EXPECT_EQ(WallText(0), "1970-01-01T00:00:00.000000000Z");
    EXPECT_EQ(WallText(1000000001), "1970-01-01T00:00:01.000000001Z");
    EXPECT_EQ(WallText(951868799ULL * kSecond + 999999999), "2000-02-29T23:59:59.999999999Z");
    EXPECT_EQ(WallText(INT64_MAX), "2262-04-11T23:47:16.854775807Z");
}

// The system's calendar gives the same.
TEST(WallTime, HasTheDatesOfTheSystem) {
    std::mt19937_64 random(1);
    for (int i = 0; i < 20000; ++i) {
        const auto most = std::min<std::uint64_t>(9223372036, std::numeric_limits<std::time_t>::max());
        const auto seconds = static_cast<std::time_t>(random() % most);
        std::tm date{};
        ASSERT_NE(gmtime_r(&seconds, &date), nullptr);
        char text[32];
        ASSERT_NE(std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &date), 0U);
        ASSERT_EQ(WallText(static_cast<std::uint64_t>(seconds) * kSecond), std::string(text) + ".000000000Z");
    }
}

TEST(WallTime, IsReadAsItIsWritten) {
    std::mt19937_64 random(2);
    for (int i = 0; i < 20000; ++i) {
        const std::uint64_t wall = random() % INT64_MAX;
        ASSERT_EQ(ReadWallText(WallText(wall)), wall) << WallText(wall);
    }
    EXPECT_EQ(ReadWallText("2100-03-01T00:00:00.5Z"), 4107542400ULL * kSecond + kSecond / 2);
    EXPECT_EQ(ReadWallText("2026-03-01T12:30:00Z"), 1772368200ULL * kSecond);
    for (const char* const text :
         {"", "Z", "1969-12-31T23:59:59Z", "2300-01-01T00:00:00Z", "2026-03-01T12:30:00", "2026-03-01T12:30:00.Z",
          "2026-03-01T12:30:00.0000000001Z", "2026-13-01T00:00:00Z"}) {
        EXPECT_EQ(ReadWallText(text), std::nullopt) << text;
    }
}

// The host knows both clocks: the time of a call that is made now is the present one.
TEST(WallTime, IsKnownOnTheHost) {
    const auto before = static_cast<std::uint64_t>(std::time(nullptr));
    const std::optional<std::uint64_t> wall = WallTime(CallClockNow().value(), WallClockOffset());
    const auto after = static_cast<std::uint64_t>(std::time(nullptr));
    ASSERT_TRUE(wall);
    EXPECT_GE(*wall / kSecond + 1, before);
    EXPECT_LE(*wall / kSecond, after + 1);
}

}  // namespace
