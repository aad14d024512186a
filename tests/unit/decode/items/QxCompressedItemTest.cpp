#include "QxCompressedItem.h"

#include "Decoding.h"

namespace {

using namespace dump;
using QxCompressedItemTest = Decoding;

constexpr char kDropped[] = "boost::exception occurs !! IGNORE THIS PACKET";

std::string Nested(int levels) {
    std::string dump = Persistent(dump::Item(kHeader, Header(1, "inner")));
    for (int i = 0; i < levels; ++i) dump = Persistent(dump::Item(kPacked, Bzip2(dump)));
    return dump;
}

TEST_F(QxCompressedItemTest, AddsWholeItemsAtOnceAndThreadItemsAtTheNextExtract) {
    const std::string inner =
        Persistent(dump::Item(kHeader, Header(1, "p"))) + Thread(4, StreamItem(kThreadName, ThreadName("a")));
    const std::string packed = Bzip2(inner);
    EXPECT_EQ(Item(kPacked, packed), static_cast<int>(packed.size()));
    EXPECT_EQ(store->headers.size(), 1u);
    EXPECT_TRUE(store->threads.empty());
    EXPECT_EQ(parser.Extract(), 1);
    EXPECT_EQ(store->threads.size(), 1u);
}

TEST_F(QxCompressedItemTest, AnEmptyDumpAddsNothing) {
    EXPECT_EQ(Item(kPacked, Bzip2("")), 14);
    EXPECT_TRUE(store->operations.empty());
    EXPECT_TRUE(RecordingLog::Lines().empty());
}

TEST_F(QxCompressedItemTest, DropsWhatCannotBeUnpacked) {
    EXPECT_EQ(Item(kPacked, "no bzip2"), 8);
    EXPECT_EQ(Logged(kDropped, DLOG_INFO), 1);
}

TEST_F(QxCompressedItemTest, TheNextItemFollowsADroppedOne) {
    EXPECT_EQ(Parse(Persistent(dump::Item(kPacked, "x") + dump::Item(kThreadName, ThreadName("a")))), 1);
    EXPECT_EQ(store->threads.size(), 1u);
}

TEST_F(QxCompressedItemTest, ADamagedDumpInsideIsReportedInside) {
    EXPECT_EQ(Parse(Persistent(dump::Item(kPacked, Bzip2(Packet(3, ""))))), 1);
    EXPECT_EQ(Logged("Exception : 0", DLOG_ERROR), 1);
}

TEST_F(QxCompressedItemTest, DumpsNestEightDeep) {
    EXPECT_EQ(Parse(Nested(8)), 1);
    EXPECT_EQ(store->headers.size(), 1u);
    EXPECT_EQ(Parse(Nested(9)), 1) << "refused inside, which the outer dump does not see";
    EXPECT_EQ(store->headers.size(), 1u);
    EXPECT_EQ(Logged("Exception : 1", DLOG_ERROR), 1);
    EXPECT_EQ(RecordingLog::Messages(DLOG_ERROR).front().rfind("[QxParser::ParseNested] ", 0), 0u);
}

TEST_F(QxCompressedItemTest, UnpacksSixtyFourMebibytesAndNoByteMore) {
    // A run of empty items: each 4096 bytes are one item of a tag that ends the run.
    const auto bomb = [](std::size_t size) { return dump::Item(kPacked, Bzip2(std::string(size, '\0'))); };
    constexpr std::size_t kLimit = 64u << 20;
    EXPECT_EQ(Parse(Persistent(bomb(kLimit))), 1);
    EXPECT_EQ(Logged("[QxDumpBudget::Take] The dump holds too many unpacked bytes", DLOG_ERROR), 0);
    EXPECT_EQ(Parse(Persistent(bomb(kLimit + 1))), 0);
    EXPECT_EQ(Logged("[QxDumpBudget::Take] The dump holds too many unpacked bytes", DLOG_ERROR), 1);
    // In all, whatever becomes of the parts.
    RecordingLog::Clear();
    EXPECT_EQ(Parse(Persistent(bomb(kLimit / 2) + bomb(kLimit / 2) + bomb(1))), 0);
    EXPECT_EQ(Logged("[QxDumpBudget::Take] The dump holds too many unpacked bytes", DLOG_ERROR), 1);
}

TEST_F(QxCompressedItemTest, WhatACorruptItemUnpackedCounts) {
    // Everything unpacks, and the sum at the end is wrong.
    std::string corrupt = Bzip2(std::string(40u << 20, '\0'));
    corrupt[corrupt.size() - 2] = static_cast<char>(~corrupt[corrupt.size() - 2]);
    EXPECT_EQ(Parse(Persistent(dump::Item(kPacked, corrupt))), 1);
    EXPECT_EQ(Logged(kDropped, DLOG_INFO), 1);
    EXPECT_EQ(Parse(Persistent(dump::Item(kPacked, corrupt) + dump::Item(kPacked, corrupt))), 0);
    EXPECT_EQ(Logged("[QxDumpBudget::Take] The dump holds too many unpacked bytes", DLOG_ERROR), 1);
}

// A refusal ends the dump that it happens in, and the one around that goes on.
TEST_F(QxCompressedItemTest, NothingUnpacksOnceADumpInsideHeldTooMuch) {
    const auto packed = [](const std::string& dump) { return dump::Item(kPacked, Bzip2(Persistent(dump))); };
    const std::string bomb = dump::Item(kPacked, Bzip2(std::string((64u << 20) + 1, '\0')));
    EXPECT_EQ(Parse(Persistent(packed(bomb) + packed(dump::Item(kHeader, Header(1, "p"))))), 0);
    EXPECT_TRUE(store->headers.empty());
    EXPECT_EQ(Logged("[QxDumpBudget::Take] The dump holds too many unpacked bytes", DLOG_ERROR), 2);
}

// Their work is not in proportion to what comes out.
TEST_F(QxCompressedItemTest, OneDumpHoldsSoManyDamagedItems) {
    constexpr int kCount = 1024;
    std::string items;
    for (int i = 0; i < kCount; ++i) items += dump::Item(kPacked, "no bzip2");
    EXPECT_EQ(Parse(Persistent(items)), 1);
    EXPECT_EQ(Logged(kDropped, DLOG_INFO), kCount);
    EXPECT_EQ(Parse(Persistent(items + dump::Item(kPacked, "no bzip2"))), 0);
    EXPECT_EQ(Logged("[QxDumpBudget::Take] The dump holds too many unpacked bytes", DLOG_ERROR), 1);
}

TEST_F(QxCompressedItemTest, LongStreamsUnpackFromFewBytes) {
    // Far more stream bytes than the packed ones would allow to be joined.
    const std::string run = Thread(4, StreamItem(kProxy, LongVarint(1, 60000)));
    std::string inner;
    for (int i = 0; i < 100; ++i) inner += run;
    inner += Thread(4, StreamItem(kThreadName, ThreadName("last")));
    const std::string dump = Compressed(inner) + Flush();
    ASSERT_LT(dump.size(), 65536u);
    EXPECT_EQ(Decode(dump), 1);
    EXPECT_EQ(store->threads.size(), 1u);
    EXPECT_TRUE(RecordingLog::Lines().empty());
}

// Only what unpacks can hold so many.
TEST_F(QxCompressedItemTest, OneDumpStoresAMillionCallsAndNoMore) {
    constexpr std::size_t kCalls = 1100000;
    constexpr std::size_t kPerPacket = 10000;
    std::string others;
    for (std::size_t i = 1; i < kPerPacket; ++i) others += StreamItem(kBefore, Before(1, 1));
    std::string inner;
    // Each packet's time begins anew; no two calls have the same.
    for (std::size_t calls = 0; calls < kCalls; calls += kPerPacket) {
        inner += Thread(4, StreamItem(kBefore, Before(calls, 1)) + others);
    }
    const std::string dump = Compressed(inner) + Flush();
    const std::size_t limit = 1048576 + dump.size() / 4;
    ASSERT_LT(limit, kCalls);
    const auto plain = std::make_shared<QxData>();
    ExactBytes bytes(dump);
    EXPECT_EQ(parser.Parse(bytes.Pair(), plain), 1);
    EXPECT_EQ(parser.Extract(), 0);
    EXPECT_EQ(plain->GetCallIMap()->size(), limit);
    EXPECT_EQ(Logged("[QxDumpBudget::Take] The dump holds too many calls", DLOG_ERROR), 1);
}

}  // namespace
