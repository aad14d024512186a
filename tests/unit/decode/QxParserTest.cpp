// Framing and dispatch.
#include "Decoding.h"

#include <cstdint>

namespace {

using namespace dump;
using QxParserTest = Decoding;

constexpr char kTagException[] = "Exception : 0";
constexpr char kSizeException[] = "Exception : 1";

TEST_F(QxParserTest, AnEmptyDumpIsGoodANegativeOneIsNot) {
    std::pair<int, char*> empty(0, nullptr);
    std::pair<int, char*> negative(-1, nullptr);
    EXPECT_EQ(parser.Parse(empty, store), 1);
    EXPECT_EQ(parser.Parse(negative, store), 0);
    EXPECT_TRUE(store->operations.empty());
}

TEST_F(QxParserTest, KeepsTheStoreWhenNoneIsGiven) {
    ExactBytes bytes(Properties(3, dump::Item(kThreadName, ThreadName("a"))));
    EXPECT_EQ(parser.Parse(bytes.Pair(), nullptr), 1);
    EXPECT_EQ(store->threads.size(), 1u);
    const auto other = std::make_shared<ListingStore>();
    EXPECT_EQ(parser.Parse(bytes.Pair(), other), 1);
    EXPECT_EQ(store->threads.size(), 1u);
    EXPECT_EQ(other->threads.size(), 1u);
    EXPECT_EQ(parser.Data(), other);
}

TEST_F(QxParserTest, DecodingWithoutAnyStoreIsRefused) {
    QxParser without(nullptr, nullptr);
    ExactBytes bytes(Properties(3, dump::Item(kThreadName, ThreadName("a"))));
    EXPECT_EQ(without.Parse(bytes.Pair(), nullptr), 0);
    EXPECT_EQ(without.Extract(), 1);
}

TEST_F(QxParserTest, APacketThatRunsPastTheEndGivesZeroAfterTheEarlierOnes) {
    const std::string good = Properties(3, dump::Item(kThreadName, ThreadName("a")));
    // The thread packet claims more than there is; its stream bytes are all there.
    const std::string claims = "\x01\x20" + Fragment(4, 0, 2, "ab");
    EXPECT_EQ(Parse(good + claims), 0);
    EXPECT_EQ(store->threads.size(), 1u);
    EXPECT_EQ(Logged(kSizeException, DLOG_ERROR), 0);
    EXPECT_EQ(parser.StoppedAt(), good.size() + claims.size());
}

TEST_F(QxParserTest, SizesNearTheEndOfAnIntRunPastTheEnd) {
    for (const std::uint32_t size : {0x7FFFFFF0u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFF0u, 0xFFFFFFFAu, 0xFFFFFFFFu}) {
        EXPECT_EQ(Parse('\x01' + Varint(size) + Fragment(4, 0, 1, "a") + Flush()), 0) << size;
    }
}

TEST_F(QxParserTest, ReadsThePrefix) {
    // The prefix differs from the used size, so it says how much of the stream is there.
    const std::string stream = StreamItem(kTime, "") + StreamItem(kProxy, Varint(1)) + std::string(200, 'x');
    const std::string packet = PrefixedPacket(133, kThread, Fragment(4, 0, 200, stream));
    EXPECT_EQ(packet.substr(0, 3), "\xFF\x85\x01");
    EXPECT_EQ(parser.Packet(packet.data()), static_cast<int>(packet.size()));
}

TEST_F(QxParserTest, APrefixKeepsSixteenBits) {
    // 65536 + 2 counts as 2, which equals the used size: an ordinary fragment.
    EXPECT_EQ(Decode("\xFF" + Varint(65538) + Packet(kThread, Fragment(4, 0, 2, Marker()))), 1);
}

TEST_F(QxParserTest, RefusesUnknownBufferTags) {
    for (const unsigned tag : {0u, 3u, 6u, 63u, 254u}) {
        RecordingLog::Clear();
        EXPECT_EQ(Parse(Packet(tag, "ab")), 0);
        char message[80];
        std::snprintf(message, sizeof message, "QxParser::Payload throw PERR_INVALID_TAG, tag = [%X]", tag);
        EXPECT_EQ(Logged(message, DLOG_INFO), 1);
        EXPECT_EQ(Logged(kTagException, DLOG_ERROR), 1);
    }
}

TEST_F(QxParserTest, RefusesUnknownItemTags) {
    EXPECT_EQ(Item(11, "a"), kInvalidTag);
    EXPECT_EQ(Logged("QxParser::ParseItem throw PERR_INVALID_TAG, tag = [B]", DLOG_INFO), 1);
    for (const unsigned tag : {12u, 62u, 64u, 255u}) EXPECT_EQ(Item(tag, "a"), kInvalidTag);
}

TEST_F(QxParserTest, WhatStandsBeforeTheDamageStays) {
    const std::string good = Properties(3, dump::Item(kThreadName, ThreadName("a")));
    const std::string later = Properties(4, dump::Item(kThreadName, ThreadName("b")));
    EXPECT_EQ(Parse(good + Packet(9, "") + later), 0);
    ASSERT_EQ(store->threads.size(), 1u);
    EXPECT_EQ(store->threads[0].name, "a");
    EXPECT_EQ(parser.StoppedAt(), good.size());
}

TEST_F(QxParserTest, ACutHeaderIsRefusedWithItsReader) {
    for (const std::string& bytes : {std::string("\xFF"), std::string("\xFF\x80"), std::string("\x02"),
                                     std::string("\x02\x80"), std::string("\xFF\x01\x02")}) {
        RecordingLog::Clear();
        EXPECT_EQ(Parse(bytes), 0);
        EXPECT_EQ(RecordingLog::Messages(DLOG_ERROR).front().rfind("[QxParser::Packet] ", 0), 0u);
        EXPECT_EQ(Logged(kSizeException, DLOG_ERROR), 1);
    }
}

TEST_F(QxParserTest, APacketOfNoLengthIsRefused) {
    // A size varint so long that prefix and header together wrap round to nothing.
    const std::string header = '\x02' + LongVarint(0, 65535);
    EXPECT_EQ(Parse(header + std::string(10, '\0')), 0);
    EXPECT_EQ(Logged(kSizeException, DLOG_ERROR), 1);
}

TEST_F(QxParserTest, CompressedDataWaitsForAPacketOfAnotherKind) {
    const std::string inner = Persistent(dump::Item(kHeader, Header(1, "p")));
    const std::string items = dump::Item(kPacked, Bzip2(inner));
    const std::string run = CompressedRun(items, items.size() / 2 + 1);
    EXPECT_EQ(Parse(run), 1);
    EXPECT_TRUE(store->headers.empty());
    // In a later dump even.
    EXPECT_EQ(Parse(Thread(1, Marker())), 1);
    EXPECT_EQ(store->headers.size(), 1u);
    EXPECT_EQ(Parse(Flush() + Flush()), 1);
    EXPECT_EQ(store->headers.size(), 1u);
}

TEST_F(QxParserTest, ExtractReportsDamageAndKeepsTheStreams) {
    const std::string stream = StreamItem(kAfter, After(1));
    EXPECT_EQ(Parse(Thread(1, stream)), 1);
    EXPECT_EQ(parser.Extract(), 0);
    EXPECT_EQ(Logged("Exception!!!", DLOG_ERROR), 1);
    EXPECT_EQ(Logged("Exception : 2", DLOG_ERROR), 1);
    EXPECT_EQ(RecordingLog::Lines().back().tag, "QXLT");
    RecordingLog::Clear();
    EXPECT_EQ(parser.Extract(), 0) << "the stream is decoded again";
    parser.DropJoined();
    EXPECT_EQ(parser.Extract(), 1);
}

TEST_F(QxParserTest, ReadsCommonHeaders) {
    unsigned size = 0;
    unsigned short length = 0;
    EXPECT_EQ(QxData::ParseCommonHeader("\x02\x81\x01", size, length), 2);
    EXPECT_EQ(size, 129u);
    EXPECT_EQ(length, 3u);
    EXPECT_EQ(QxData::ParseCommonHeader("\x02\x80\x80\x80\x80\x7F", size, length), 2);
    EXPECT_EQ(size, 0xF0000000u) << "the bits that fit in 32";
    EXPECT_EQ(length, 6u);
    std::vector<char> bytes = {'\x05', '\x02', 'a', 'b'};
    EXPECT_EQ(QxData::ParseCommonHeader(bytes, size, length), 5);
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()), "ab");
    EXPECT_EQ(size, 2u);
    EXPECT_EQ(length, 2u);
    std::vector<char> cut = {'\x05', '\x80'};
    EXPECT_THROW(QxData::ParseCommonHeader(cut, size, length), QxData::_PERR_TYPE);
    EXPECT_EQ(cut.size(), 2u);
}

// A header that is drawn out over the dump counts as 16 bits, so that the packet behind it is read from inside of it.
TEST_F(QxParserTest, HeadersThatAreReadAgainAndAgainAreRefused) {
    const auto dump = [](std::size_t size) {
        std::string head(size, '\xFF');
        head.replace(size - 5, 5, Bytes("\x00\x01\x80\x80\x04", 5));
        return head + Bytes(70000, '\0');
    };
    EXPECT_EQ(Parse(dump(65536)), 0);
    EXPECT_EQ(Logged("[QxDumpBudget::Take] The dump holds too many header bytes", DLOG_ERROR), 0);
    EXPECT_EQ(Parse(dump(std::size_t{65536} * 50)), 0);
    EXPECT_EQ(Logged("[QxDumpBudget::Take] The dump holds too many header bytes", DLOG_ERROR), 1);
}

TEST_F(QxParserTest, PrintsAtMostSoManyLinesForADump) {
    // Each item is of an unknown location and is skipped with a line.
    std::string items;
    for (int i = 0; i < 5000; ++i) items += dump::Item(kLog, LogRecord(0, 9));
    EXPECT_EQ(Decode(Persistent(items)), 1);
    EXPECT_EQ(Logged("[QxLogItem::Append] locData.locId returned 0.. skipping..", DLOG_INFO), 4096);
    EXPECT_EQ(Logged("[QxDecodeLog::End] Too many messages, left out: 904", DLOG_ERROR), 1);
    RecordingLog::Clear();
    EXPECT_EQ(Decode(Persistent(dump::Item(kLog, LogRecord(0, 9)))), 1);
    EXPECT_EQ(RecordingLog::Lines().size(), 1u) << "each dump counts anew";
}

}  // namespace
