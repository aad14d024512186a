#include "QxThreadBuffer.h"

#include <stdexcept>

#include "Decoding.h"
#include "Expose.h"

// Tags of exposed members stand outside unnamed namespaces.
struct ThreadStreams {
    friend constexpr auto Private(ThreadStreams);
};
template struct Expose<ThreadStreams, &QxThreadBuffer::m_threads>;

namespace {

using namespace dump;

class QxThreadBufferTest : public Decoding {
protected:
    int Fragments(const std::string& payload, unsigned short prefixSize = 0) {
        ExactBytes bytes(payload);
        return m_buffer.Parse(bytes.Data(), bytes.Size(), prefixSize, &parser);
    }
    std::string Stream(unsigned short tid) {
        const auto& stream = (m_buffer.*Private(ThreadStreams())).at(tid);
        return std::string(stream.begin(), stream.end());
    }
    bool Knows(unsigned short tid) { return (m_buffer.*Private(ThreadStreams())).count(tid) != 0; }
    // Decodes a stream as it stands, without a marker put ahead.
    void Extract(const std::string& stream) {
        Fragments(Fragment(4, 0, 0, stream), static_cast<unsigned short>(stream.size()));
        m_buffer.Extract(&parser);
    }
    static std::string Numbered(std::size_t size) {
        std::string bytes;
        for (std::size_t i = 0; i < size; ++i) bytes.push_back(static_cast<char>('a' + i % 26));
        return bytes;
    }

    QxThreadBuffer m_buffer;
};

TEST_F(QxThreadBufferTest, TheFirstFragmentDropsItsTailAndBeginsARun) {
    EXPECT_EQ(Fragments(Fragment(9, 5, 20, Numbered(20))), 24);
    EXPECT_EQ(Stream(9), Marker() + Numbered(20).substr(5));
}

TEST_F(QxThreadBufferTest, AFragmentThatIsAllTailAddsNoMarker) {
    Fragments(Fragment(9, 5, 20, Numbered(20)));
    Fragments(Fragment(9, 20, 20, Numbered(20)));
    EXPECT_EQ(Stream(9), Marker() + Numbered(20).substr(5) + Numbered(20));
}

TEST_F(QxThreadBufferTest, AFragmentThatIsAllTailMakesAnUnknownThreadKnown) {
    Fragments(Fragment(9, 3, 3, "abc"));
    EXPECT_EQ(Stream(9), "");
}

TEST_F(QxThreadBufferTest, TailThenMarkerThenRun) {
    Fragments(Fragment(9, 0, 2, "ab"));
    Fragments(Fragment(9, 2, 5, "cdefg"));
    EXPECT_EQ(Stream(9), Marker() +
                             "ab"
                             "cd" +
                             Marker() + "efg");
}

TEST_F(QxThreadBufferTest, ADifferingPrefixReplacesTheStream) {
    Fragments(Fragment(9, 0, 4, "abcd"));
    Fragments(Fragment(9, 2, 9, Numbered(9)), 7);
    EXPECT_EQ(Stream(9), Numbered(7));
}

TEST_F(QxThreadBufferTest, AnEqualPrefixChangesNothing) {
    Fragments(Fragment(9, 0, 4, "abcd"), 4);
    EXPECT_EQ(Stream(9), Marker() + "abcd");
}

TEST_F(QxThreadBufferTest, SizesKeepSixteenBits) {
    ExactBytes bytes(Fixed16(9) + Varint(65536) + Varint(65536 + 3) + "abc");
    m_buffer.Parse(bytes.Data(), bytes.Size(), 0, &parser);
    EXPECT_EQ(Stream(9), Marker() + "abc");
}

TEST_F(QxThreadBufferTest, ATailLongerThanTheFragmentWrapsTheCount) {
    // 3 - 5 is 65534: so many bytes are not there.
    EXPECT_THROW(Fragments(Fragment(9, 5, 3, Numbered(5))), QxData::_PERR_TYPE);
    EXPECT_NO_THROW(Fragments(Fragment(9, 5, 3, Numbered(5 + 65534))));
    EXPECT_EQ(Stream(9).size(), 65534u) << "no marker, since the tail is not shorter";
}

TEST_F(QxThreadBufferTest, StreamBytesMayLeaveThePacketButNotTheDump) {
    const std::string stream = StreamItem(kProxy, "\x01") + StreamItem(kProxy, "\x02");
    const std::string packet = '\x01' + Varint(4 + 3) + Fragment(4, 0, 6, stream.substr(0, 3));
    EXPECT_EQ(Parse(packet + stream.substr(3)), 0) << "what follows is read as a packet as well, and is none";
    EXPECT_EQ(parser.Extract(), 1);
    RecordingLog::Clear();
    EXPECT_EQ(Parse(packet), 0);
    EXPECT_EQ(RecordingLog::Messages(DLOG_ERROR).front().rfind("[QxThreadBuffer::Parse] ", 0), 0u);
}

TEST_F(QxThreadBufferTest, OverlappingFragmentsAreHeldToTheDumpsSize) {
    // Each packet is 8 bytes long and claims the 40,000 that follow.
    std::string dump;
    for (int i = 0; i < 8000; ++i) dump += '\x01' + Varint(6) + Fragment(4, 0, 40000, "");
    EXPECT_EQ(Parse(dump + std::string(40000, '\0')), 0);
    EXPECT_EQ(Logged("[QxDumpBudget::Take] The dump holds too many joined stream bytes", DLOG_ERROR), 1);
}

TEST_F(QxThreadBufferTest, EveryCutHeaderIsRefused) {
    const std::string whole = Fragment(9, 200, 300, "");
    for (std::size_t size = 0; size < whole.size(); ++size) {
        EXPECT_THROW(Fragments(Cut(whole, size)), QxData::_PERR_TYPE) << size;
    }
    EXPECT_FALSE(Knows(9));
}

TEST_F(QxThreadBufferTest, NothingIsKeptOfAFragmentThatIsNotThere) {
    Fragments(Fragment(9, 0, 2, "ab"));
    EXPECT_THROW(Fragments(Fragment(9, 2, 5, "cdef")), QxData::_PERR_TYPE) << "the tail is there, the run is not";
    EXPECT_EQ(Stream(9), Marker() + "ab");
}

TEST_F(QxThreadBufferTest, SkipsADamagedItemToTheNextMarker) {
    store->SetCurrentThread(4);
    store->SetThreadTime(50);
    Extract(std::string("\x3F\x00\x63\x00\x3F\x00", 6));
    EXPECT_EQ(store->GetThreadTime(), 0u);
    EXPECT_TRUE(RecordingLog::Messages(DLOG_ERROR).empty());
}

TEST_F(QxThreadBufferTest, GoesOnAfterEveryKindOfDamagedItem) {
    const std::string good = Marker() + StreamItem(kThreadName, ThreadName("a"));
    for (const std::string& damaged :
         {std::string("\x00\x01x", 3), std::string("\x0B\x01x", 3), std::string("\x3E\x00", 2),
          std::string("\x40\x01x", 3), std::string("\x02\x00", 2), std::string("\xFF\x05", 2)}) {
        store->threads.clear();
        Extract(damaged + "xx" + good);
        EXPECT_EQ(store->threads.size(), 1u);
    }
}

TEST_F(QxThreadBufferTest, AbandonsAStreamWithoutAFurtherMarkerSilently) {
    Extract(std::string("\x63\x01x", 3) + StreamItem(kThreadName, ThreadName("a")) + '\x3F');
    EXPECT_TRUE(store->threads.empty());
    EXPECT_TRUE(RecordingLog::Lines().empty());
}

TEST_F(QxThreadBufferTest, AnItemThatPassesTheEndAbandonsItsThreadAlone) {
    const std::string item = StreamItem(kThreadName, ThreadName("abc"));
    // Short by one, by the header's length and by one more: the check does not count the header, yet none is read.
    for (std::size_t missing = 1; missing <= 3; ++missing) {
        RecordingLog::Clear();
        store->threads.clear();
        const std::string cut = Cut(item, item.size() - missing);
        Fragments(Fragment(4, 0, 0, cut), static_cast<unsigned short>(cut.size()));
        Fragments(Fragment(5, 0, 0, item), static_cast<unsigned short>(item.size()));
        m_buffer.Extract(&parser);
        EXPECT_EQ(Logged("[QxThreadBuffer::Extract] size not expected, size:4, threadit->second.size():" +
                             std::to_string(cut.size()),
                         DLOG_ERROR),
                  1);
        ASSERT_EQ(store->threads.size(), 1u);
        EXPECT_EQ(store->threads[0].tid, 5);
    }
}

TEST_F(QxThreadBufferTest, ACutItemHeaderIsReportedOnceAndTheNextThreadGoesOn) {
    for (const std::string& cut : {std::string("\x06"), std::string("\x06\x80"), std::string("\x06\xFF\xFF")}) {
        RecordingLog::Clear();
        store->threads.clear();
        const std::string item = StreamItem(kThreadName, ThreadName("abc"));
        Fragments(Fragment(4, 0, 0, cut), static_cast<unsigned short>(cut.size()));
        Fragments(Fragment(5, 0, 0, item), static_cast<unsigned short>(item.size()));
        m_buffer.Extract(&parser);
        ASSERT_EQ(RecordingLog::Messages(DLOG_ERROR).size(), 1u);
        EXPECT_EQ(RecordingLog::Messages().front().rfind("[QxThreadBuffer::Extract] ", 0), 0u);
        EXPECT_EQ(store->threads.size(), 1u);
    }
}

TEST_F(QxThreadBufferTest, RotatesThePayloadOfALongSize) {
    const std::string text = Numbered(128);
    Extract(StreamItem(kThreadName, ThreadName(text)));
    ASSERT_EQ(store->threads.size(), 1u) << "the payload has 130 bytes and a size of two";
    EXPECT_EQ(store->threads[0].name, text);
    // By hand: tag 2, size 129, and the last of the 129 bytes is the payload's first.
    const std::string values = std::string(127, 'v');
    Item(kLocation, Location(3).Arg("blob", kIn, 127));
    Extract("\x02\x81\x01\x03" + values + "\x05");
    EXPECT_EQ(OnlyCall().time, 5u);
    EXPECT_EQ(OnlyCall().locId, 3u);
}

TEST_F(QxThreadBufferTest, DrawnOutSizesRotateByEachOfTheirBytes) {
    for (std::size_t sizeBytes = 1; sizeBytes <= 6; ++sizeBytes) {
        store->threads.clear();
        Extract(StreamItem(kThreadName, ThreadName("abcdefg"), sizeBytes));
        ASSERT_EQ(store->threads.size(), 1u);
        EXPECT_EQ(store->threads[0].name, "abcdefg");
    }
}

TEST_F(QxThreadBufferTest, ASizeDrawnOutBeyondThePayloadRaisesTheLengthError) {
    EXPECT_THROW(Extract(std::string("\x06\x81\x80\x00x", 5)), std::length_error);
}

TEST_F(QxThreadBufferTest, DecodesThreadsInOrderOfTheirIds) {
    for (const unsigned tid : {300u, 4u, 50u}) Fragments(Fragment(tid, 0, 2, Marker()));
    store->currentThreads.clear();
    m_buffer.Extract(&parser);
    EXPECT_EQ(store->currentThreads, (std::vector<unsigned short>{4, 50, 300}));
    EXPECT_FALSE(Knows(4));
}

TEST_F(QxThreadBufferTest, StreamsStayWhenADecoderThrows) {
    Fragments(Fragment(4, 0, 2, Marker()));
    const std::string unknown = StreamItem(kAfter, After(1));
    Fragments(Fragment(5, 0, 3, unknown));
    EXPECT_THROW(m_buffer.Extract(&parser), QxData::_PERR_TYPE);
    EXPECT_TRUE(Knows(4));
    EXPECT_TRUE(Knows(5));
}

TEST_F(QxThreadBufferTest, FindsMarkersWithinTheBytesOnly) {
    struct Row {
        std::string bytes;
        unsigned from;
        int found;
        unsigned at;
    };
    using namespace std::string_literals;
    const Row rows[] = {{"\x3F\x00"s, 0, 1, 0}, {"x\x3F\x00"s, 0, 1, 1}, {"\x3F\x00\x3F\x00"s, 1, 1, 2},
                        {"\x3F"s, 0, 0, 0},     {"xx\x3F"s, 0, 0, 0},    {"\x3F\x3F\x00"s, 0, 1, 1},
                        {"\x3F\x00"s, 1, 0, 1}, {"\x3F\x00"s, 2, 0, 2},  {"\x3F\x00"s, 9, 0, 9},
                        {""s, 0, 0, 0}};
    for (const Row& row : rows) {
        SCOPED_TRACE(&row - rows);
        ExactBytes bytes(row.bytes);
        unsigned offset = row.from;
        EXPECT_EQ(QxThreadBuffer::FindNextItem(bytes.Data(), &offset, bytes.Size()), row.found);
        EXPECT_EQ(offset, row.at);
    }
}

TEST_F(QxThreadBufferTest, AStreamMayGrowWhileItIsDecoded) {
    // The compressed item holds a fragment for the very thread whose stream it stands in.
    const std::string more = StreamItem(kThreadName, ThreadName("later"));
    const std::string inner = Thread(4, more);
    EXPECT_EQ(Decode(Thread(4, StreamItem(kPacked, Bzip2(inner)) + StreamItem(kThreadName, ThreadName("first")))), 1);
    ASSERT_EQ(store->threads.size(), 2u);
    EXPECT_EQ(store->threads[0].name, "first");
    EXPECT_EQ(store->threads[1].name, "later");
}

// A header of 65,536 bytes has a length of nothing in 16 bits: an item of nothing would be read for ever.
TEST_F(QxThreadBufferTest, AnItemOfNoLengthIsRefused) {
    const std::string stream = '\x3F' + LongVarint(0, 65535) + StreamItem(kThreadName, ThreadName("a"));
    const std::size_t half = 40000;
    const auto rest = static_cast<unsigned>(stream.size() - half);
    Fragments(Fragment(4, 0, 0, Cut(stream, half)), half);
    Fragments(Fragment(4, rest, rest, stream.substr(half)));
    EXPECT_THROW(m_buffer.Extract(&parser), QxData::_PERR_TYPE);
    EXPECT_EQ(Logged("[QxThreadBuffer::Extract] Item of no length, offset: 0, size: " + std::to_string(stream.size()),
                     DLOG_ERROR),
              1);
}

// One byte more and the length is 1: the item's payload is looked for inside its own size, and reading goes on there.
TEST_F(QxThreadBufferTest, HeadersBeyondSixteenBitsStayInsideTheStream) {
    for (const std::size_t sizeBytes : {65534u, 65536u, 65537u, 65600u}) {
        SCOPED_TRACE(sizeBytes);
        store->threads.clear();
        const std::string stream =
            '\x3F' + LongVarint(0, sizeBytes) + Marker() + StreamItem(kThreadName, ThreadName("a"));
        const std::size_t half = 40000;
        const auto rest = static_cast<unsigned>(stream.size() - half);
        Fragments(Fragment(4, 0, 0, Cut(stream, half)), half);
        Fragments(Fragment(4, rest, rest, stream.substr(half)));
        try {
            m_buffer.Extract(&parser);
            EXPECT_EQ(store->threads.size(), 1u);
        } catch (const std::length_error&) {
            // The payload is shorter than its size's bytes.
            EXPECT_TRUE(store->threads.empty());
        }
    }
}

}  // namespace
