#include "Decoding.h"

namespace {

using namespace dump;
using QxThreadDataTest = Decoding;

TEST_F(QxThreadDataTest, NamesTheCurrentThread) {
    store->SetCurrentThread(9);
    EXPECT_EQ(Item(kThreadName, "\x02mxz"), 4);
    ASSERT_EQ(store->threads.size(), 1u);
    EXPECT_EQ(store->threads[0].name, "mx");
    EXPECT_EQ(store->threads[0].tid, 9);
    EXPECT_EQ(store->threads[0].pid, kPid);
}

TEST_F(QxThreadDataTest, RefusesANameThatPassesTheEnd) {
    EXPECT_EQ(Item(kThreadName, "\x03mx"), kInvalidSize);
    EXPECT_EQ(Logged("[QxThreadData::Append] Invalid size+count: 4, payload.size: 3", DLOG_ERROR), 1);
    EXPECT_TRUE(store->threads.empty());
}

TEST_F(QxThreadDataTest, TestsTheWholeLengthButKeepsSixteenBits) {
    EXPECT_EQ(Item(kThreadName, Varint(65536) + "ab"), kInvalidSize);
    EXPECT_EQ(Item(kThreadName, Varint(65536) + std::string(65536, 'x')), 65539);
    EXPECT_EQ(store->threads.at(0).name, "");
    EXPECT_EQ(Item(kThreadName, Varint(65538) + std::string(65538, 'x')), 65541);
    EXPECT_EQ(store->threads.at(1).name, "xx");
    // A length that would wrap round in 32 bits is as wrong as any other.
    EXPECT_EQ(Item(kThreadName, Varint(0xFFFFFFFF) + "ab"), kInvalidSize);
}

TEST_F(QxThreadDataTest, RefusesEveryPrefix) {
    ExpectNoPrefixIsAccepted(kThreadName, ThreadName("abc"));
}

}  // namespace
