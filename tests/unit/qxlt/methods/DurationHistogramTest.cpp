// Percentiles of durations.
#include "DurationHistogram.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace {

using qxlt::DurationHistogram;

TEST(DurationHistogram, IsExactForSmallNumbers) {
    DurationHistogram histogram;
    EXPECT_EQ(histogram.Percentile(99), 0U);
    for (std::uint64_t i = 1; i <= 50; ++i) histogram.Add(i);
    EXPECT_EQ(histogram.Percentile(0), 0U);
    EXPECT_EQ(histogram.Percentile(2), 1U);
    EXPECT_EQ(histogram.Percentile(50), 25U);
    EXPECT_EQ(histogram.Percentile(51), 26U);  // 25.5 of them, rounded up
    EXPECT_EQ(histogram.Percentile(99), 50U);
    EXPECT_EQ(histogram.Percentile(100), 50U);
}

// At both ends of each bucket that lies at a power of two.
TEST(DurationHistogram, IsNeverBelowAndLittleAbove) {
    for (std::uint64_t power = 1; power < DurationHistogram::kLongest; power *= 2) {
        for (const std::uint64_t duration : {power - 1, power, power + 1, power + power / 2}) {
            DurationHistogram histogram;
            histogram.Add(duration);
            EXPECT_GE(histogram.Percentile(99), duration);
            EXPECT_LE(histogram.Percentile(99), duration + duration / DurationHistogram::kParts) << duration;
        }
    }
}

TEST(DurationHistogram, AgreesWithSortedNumbers) {
    std::mt19937_64 random(7);
    for (const std::size_t count : {1U, 99U, 100U, 101U, 5000U}) {
        DurationHistogram histogram;
        std::vector<std::uint64_t> durations;
        for (std::size_t i = 0; i < count; ++i) {
            durations.push_back(random() >> (26 + random() % 38));
            histogram.Add(durations.back());
        }
        std::sort(durations.begin(), durations.end());
        for (const unsigned percent : {1U, 50U, 90U, 99U, 100U}) {
            const std::uint64_t exact = durations[(count * percent + 99) / 100 - 1];
            const std::uint64_t told = histogram.Percentile(percent);
            EXPECT_GE(told, exact) << count << ", " << percent;
            EXPECT_LE(told, exact + exact / DurationHistogram::kParts) << count << ", " << percent;
        }
    }
}

TEST(DurationHistogram, TellsNothingOfVeryLongOnes) {
    DurationHistogram histogram;
    histogram.Add(DurationHistogram::kLongest - 1);
    histogram.Add(UINT64_MAX);
    EXPECT_EQ(histogram.Percentile(100), UINT64_MAX);
}

TEST(DurationHistogram, AddsUp) {
    DurationHistogram some;
    DurationHistogram others;
    some.Add(5);
    for (int i = 0; i < 99; ++i) others.Add(1000);
    some.Add(others);
    EXPECT_EQ(some.Percentile(1), 5U);
    EXPECT_GE(some.Percentile(2), 1000U);
    DurationHistogram none;
    none.Add(some);
    none.Add(DurationHistogram());
    EXPECT_EQ(none.Percentile(99), some.Percentile(99));
}

}  // namespace
