#include "QxTidPool.h"

#include <gtest/gtest.h>

using qxhost::QxTidPool;

TEST(QxTidPoolTest, TheLowestFreeNumberIsNext) {
    QxTidPool pool;
    EXPECT_EQ(pool.Take(), 1u);
    EXPECT_EQ(pool.Take(), 2u);
    EXPECT_EQ(pool.Take(), 3u);
    pool.GiveBack(2);
    pool.GiveBack(1);
    EXPECT_EQ(pool.Take(), 1u);
    EXPECT_EQ(pool.Take(), 2u);
    EXPECT_EQ(pool.Take(), 4u);
}

// A reader gives back all that it was given, the 0 of an empty pool included.
TEST(QxTidPoolTest, APoolThatWasEmptyRecovers) {
    QxTidPool pool;
    for (unsigned i = 1; i <= 65535; ++i) ASSERT_EQ(pool.Take(), i);
    EXPECT_EQ(pool.Take(), 0u);
    pool.GiveBack(0);
    EXPECT_EQ(pool.Take(), 0u);
    pool.GiveBack(65535);
    EXPECT_EQ(pool.Take(), 65535u);
    EXPECT_EQ(pool.Take(), 0u);
}
