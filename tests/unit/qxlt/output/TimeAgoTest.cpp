// Spans of time and amounts of memory, on both sides of where the unit changes.
#include "TimeAgo.h"

#include <gmock/gmock.h>

#include <utility>

namespace {

using namespace qxlt;

TEST(TimeAgo, TakesTheUnitThatReadsBest) {
    constexpr std::uint64_t kSecond = 1'000'000'000;
    constexpr std::uint64_t kDay = 86400 * kSecond;
    const std::pair<std::uint64_t, const char*> rows[] = {{0, "0.0 s ago"},
                                                          {kSecond / 10 - 1, "0.0 s ago"},
                                                          {kSecond / 10, "0.1 s ago"},
                                                          {10 * kSecond - 1, "9.9 s ago"},
                                                          {10 * kSecond, "10 s ago"},
                                                          {119 * kSecond, "119 s ago"},
                                                          {120 * kSecond, "2 min ago"},
                                                          {119 * 60 * kSecond, "119 min ago"},
                                                          {120 * 60 * kSecond, "2 h ago"},
                                                          {2 * kDay - 1, "47 h ago"},
                                                          {2 * kDay, "2 days ago"},
                                                          {10 * kDay - 1, "9 days ago"}};
    for (const auto& [ns, text] : rows) EXPECT_EQ(AgoText(ns), text) << ns;
}

TEST(TimeAgo, RoundsSmallAmountsUp) {
    constexpr std::uint64_t kMib = 1048576;
    const std::pair<std::uint64_t, const char*> rows[] = {
        {0, "0 KiB"},           {1, "1 KiB"},      {1024, "1 KiB"},           {1025, "2 KiB"},
        {kMib - 1, "1024 KiB"}, {kMib, "1.0 MiB"}, {kMib / 2 * 3, "1.5 MiB"}, {25 * kMib, "25.0 MiB"}};
    for (const auto& [bytes, text] : rows) EXPECT_EQ(BytesText(bytes), text) << bytes;
}

}  // namespace
