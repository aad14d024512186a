#include "Decoding.h"

namespace {

using namespace dump;
using QxProxyMarkerTest = Decoding;
using namespace std::string_literals;

TEST_F(QxProxyMarkerTest, IsOneVarintOfAnyLength) {
    EXPECT_EQ(Item(kProxy, "\x85\x01"), 2);
    EXPECT_EQ(Item(kProxy, "\x00"s), 1);
    EXPECT_EQ(Item(kProxy, LongVarint(1, 40)), 40);
    EXPECT_TRUE(store->operations.empty());
}

TEST_F(QxProxyMarkerTest, RefusesAnythingMore) {
    EXPECT_EQ(Item(kProxy, "\x05\x00"s), kInvalidSize);
    EXPECT_EQ(Logged("[QxProxyMarker::Append] Throwing Invalid Size..", DLOG_ERROR), 1);
}

TEST_F(QxProxyMarkerTest, RefusesEveryPrefix) {
    ExpectNoPrefixIsAccepted(kProxy, LongVarint(1, 5));
}

}  // namespace
