#include "QxRetries.h"

#include <gtest/gtest.h>

namespace {

using qxhost::QxRetries;

TEST(QxRetries, ARingIsTriedSixteenTimes) {
    QxRetries retries;
    for (int ring = 0; ring < 3; ++ring) {
        for (int tries = 1; tries < 16; ++tries) EXPECT_TRUE(retries.Take(tries, 512)) << tries;
        EXPECT_FALSE(retries.Take(16, 512));
    }
}

TEST(QxRetries, AllRingsTogetherTakeAtMost64MiB) {
    QxRetries retries;
    for (int ring = 0; ring < 3; ++ring) EXPECT_TRUE(retries.Take(1, 16 << 20));
    EXPECT_FALSE(retries.Take(1, (16 << 20) + 8));
    EXPECT_TRUE(retries.Take(1, 16 << 20)) << "what was refused took nothing";
    EXPECT_FALSE(retries.Take(1, 8));
}

}  // namespace
