#include "QxCompressedBuffer.h"

#include "Decoding.h"
#include "Expose.h"

// Tags of exposed members stand outside unnamed namespaces.
struct CompressedBytes {
    friend constexpr auto Private(CompressedBytes);
};
template struct Expose<CompressedBytes, &QxCompressedBuffer::m_compressedBuffer>;

namespace {

using namespace dump;

class QxCompressedBufferTest : public Decoding {
protected:
    int Fragments(const std::string& payload, unsigned short prefixSize = 0) {
        ExactBytes bytes(payload);
        return m_buffer.Parse(bytes.Data(), bytes.Size(), prefixSize, &parser);
    }
    std::string Bytes() {
        const auto& joined = m_buffer.*Private(CompressedBytes());
        return std::string(joined.begin(), joined.end());
    }
    void Extract(const std::string& items) {
        Fragments(CompressedFragment(0, static_cast<unsigned>(items.size()), items));
        m_buffer.Extract(&parser);
    }
    QxCompressedBuffer m_buffer;
};

TEST_F(QxCompressedBufferTest, SkipsTheTailOfTheFirstFragmentOnly) {
    EXPECT_EQ(Fragments(CompressedFragment(3, 10, "0123456789")), 12);
    EXPECT_EQ(Bytes(), "3456789");
    Fragments(CompressedFragment(4, 6, "abcdef"));
    EXPECT_EQ(Bytes(), "3456789abcdef");
    Fragments(CompressedFragment(0, 0, ""));
    EXPECT_EQ(Bytes(), "3456789abcdef");
}

TEST_F(QxCompressedBufferTest, ADifferingPrefixKeepsTheTail) {
    Fragments(CompressedFragment(3, 10, "0123456789"), 8);
    EXPECT_EQ(Bytes(), "0123456789");
}

TEST_F(QxCompressedBufferTest, AnEqualPrefixSkipsTheTail) {
    Fragments(CompressedFragment(3, 10, "0123456789"), 10);
    EXPECT_EQ(Bytes(), "3456789");
}

TEST_F(QxCompressedBufferTest, RefusesEveryCut) {
    const std::string whole = CompressedFragment(200, 300, std::string(300, 'x'));
    for (std::size_t size = 0; size < whole.size(); ++size) {
        ASSERT_THROW(Fragments(Cut(whole, size)), QxData::_PERR_TYPE) << size;
    }
    EXPECT_EQ(Bytes(), "");
}

TEST_F(QxCompressedBufferTest, DecodesItemsAndForgetsThem) {
    Extract(dump::Item(kThreadName, ThreadName("a")) + dump::Item(kThreadName, ThreadName("b")));
    EXPECT_EQ(store->threads.size(), 2u);
    EXPECT_EQ(Bytes(), "");
}

TEST_F(QxCompressedBufferTest, ReportsATruncatedItemAndForgetsAll) {
    const std::string items = dump::Item(kThreadName, ThreadName("a")) + "\x06\x05" + "abc";
    Extract(items);
    EXPECT_EQ(Logged("[QxCompressedBuffer::Extract] count + size not expected, count: 6, size:5, "
                     "m_compressedBuffer.size():9",
                     DLOG_ERROR),
              1);
    EXPECT_EQ(store->threads.size(), 1u);
    EXPECT_EQ(Bytes(), "");
}

TEST_F(QxCompressedBufferTest, ACutHeaderEndsTheRunWithOneLine) {
    Extract(dump::Item(kThreadName, ThreadName("a")) + "\x06\x80");
    ASSERT_EQ(RecordingLog::Messages(DLOG_ERROR).size(), 1u);
    EXPECT_EQ(RecordingLog::Messages().front().rfind("[QxCompressedBuffer::Extract] ", 0), 0u);
    EXPECT_EQ(Bytes(), "");
}

TEST_F(QxCompressedBufferTest, ItemsStayWhenADecoderThrows) {
    const std::string items = dump::Item(kThreadName, ThreadName("a")) + dump::Item(kProxy, "ab");
    EXPECT_THROW(Extract(items), QxData::_PERR_TYPE);
    EXPECT_EQ(Bytes(), items);
    EXPECT_THROW(m_buffer.Extract(&parser), QxData::_PERR_TYPE) << "decoded again from the start";
    EXPECT_EQ(store->threads.size(), 2u);
}

TEST_F(QxCompressedBufferTest, GoesOnOverWhatItsOwnItemsAppend) {
    // The packed dump holds a compressed packet and one of another kind, which asks for extraction while it is running.
    const std::string late = dump::Item(kThreadName, ThreadName("late"));
    const std::string inner = CompressedRun(late, 100) + Persistent(dump::Item(kThreadName, ThreadName("early")));
    EXPECT_EQ(Parse(Compressed(inner) + Flush()), 1);
    ASSERT_EQ(store->threads.size(), 2u);
    EXPECT_EQ(store->threads[0].name, "early");
    EXPECT_EQ(store->threads[1].name, "late");
}

// A header of 65,536 bytes has a length of nothing in 16 bits: an item of nothing would be read for ever.
TEST_F(QxCompressedBufferTest, AnItemOfNoLengthIsRefused) {
    const std::string items = '\x3F' + LongVarint(0, 65535) + dump::Item(kThreadName, ThreadName("a"));
    EXPECT_EQ(Parse(CompressedRun(items, 40000) + Flush()), 0);
    EXPECT_EQ(
        Logged("[QxCompressedBuffer::Extract] Item of no length, offset: 0, size: " + std::to_string(items.size()),
               DLOG_ERROR),
        1);
    EXPECT_EQ(Logged("Exception : 1", DLOG_ERROR), 1);
}

TEST_F(QxCompressedBufferTest, OverlappingFragmentsAreHeldToTheDumpsSize) {
    // Each packet is 7 bytes long and claims the 40,000 that follow.
    std::string dump;
    for (int i = 0; i < 8000; ++i) dump += Packet(kCompressed, CompressedFragment(0, 40000, ""));
    EXPECT_EQ(Parse(dump + std::string(40000, '\0')), 0);
    EXPECT_EQ(Logged("[QxDumpBudget::Take] The dump holds too many joined stream bytes", DLOG_ERROR), 1);
}

TEST_F(QxCompressedBufferTest, SizesKeepSixteenBits) {
    Fragments(Varint(65536 + 1) + Varint(65536 + 3) + "abc");
    EXPECT_EQ(Bytes(), "bc");
}

TEST_F(QxCompressedBufferTest, ATailLongerThanTheFragmentWrapsTheCount) {
    // 3 - 5 is 65534: so many bytes are not there.
    EXPECT_THROW(Fragments(CompressedFragment(5, 3, "abcde")), QxData::_PERR_TYPE);
    EXPECT_EQ(Bytes(), "");
}

TEST_F(QxCompressedBufferTest, ExtractsBeforeThePacketThatFollows) {
    const std::string packed = dump::Item(kPacked, Bzip2(Persistent(dump::Item(kThreadName, ThreadName("packed"))) +
                                                         Thread(4, StreamItem(kThreadName, ThreadName("stream 1")))));
    const std::string run = CompressedRun(packed, packed.size() / 2 + 1);
    EXPECT_EQ(Decode(run + Persistent(dump::Item(kThreadName, ThreadName("after")))), 1);
    ASSERT_EQ(store->threads.size(), 3u);
    EXPECT_EQ(store->threads[0].name, "packed");
    EXPECT_EQ(store->threads[1].name, "after");
    store->threads.clear();
    EXPECT_EQ(Decode(run + Thread(4, StreamItem(kThreadName, ThreadName("stream 2")))), 1);
    ASSERT_EQ(store->threads.size(), 3u);
    EXPECT_EQ(store->threads[1].name, "stream 1");
    EXPECT_EQ(store->threads[2].name, "stream 2");
}

TEST_F(QxCompressedBufferTest, ExtractsBeforeATagThatIsNone) {
    EXPECT_EQ(Parse(CompressedRun(dump::Item(kThreadName, ThreadName("a")), 100) + Packet(3, "")), 0);
    EXPECT_EQ(store->threads.size(), 1u);
    EXPECT_EQ(Logged("Exception : 0", DLOG_ERROR), 1);
}

}  // namespace
