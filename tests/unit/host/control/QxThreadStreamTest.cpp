#include "QxThreadStream.h"

#include "HostTest.h"
#include "QxBytes.h"
#include "QxDumpBuilder.h"
#include "QxDumpFormat.h"

using namespace qxhost;

namespace {

// A dump with one location that records one variable-sized value at entry and one at exit, and the given stream.
class QxThreadStreamTest : public HostTest {
protected:
    QxThreadStreamTest() {
        std::string location;
        AppendVarint(location, 0);
        AppendText(location, "f.cpp");
        AppendVarint(location, 1);
        AppendVarint(location, 2);
        location += "\1\2";
        AppendVarint(location, 16383);
        AppendVarint(location, 16383);
        AppendText(location, "string");
        AppendText(location, "string");
        AppendText(location, "void");
        AppendVarint(location, 0);
        AppendText(location, "f");
        AppendText(location, "p");
        AppendItem(m_items, dumpformat::kLocationItem, location);
    }

    static std::string Text(std::size_t size, char c) {
        std::string value;
        AppendText(value, std::string(size, c));
        return value;
    }

    DecodedDump Finish() { return Decode("p", m_builder.Finish(QxDumpBuilder::Describe(m_items))); }

    std::string m_items;
    QxDumpBuilder m_builder;
    QxThreadStream& m_stream = m_builder.Thread(7);
};

TEST_F(QxThreadStreamTest, OneCallIsAMarkedRunWithAnAbsoluteTime) {
    QxThreadStream stream(0x102);
    stream.AddCall(5, 1000, "ab", 4500, "c");
    const std::string expected("\1\17\2\1\0\13\2\5\350\7\5ab\3\2\3c", 17);
    EXPECT_EQ(stream.Finish(), expected);
}

TEST_F(QxThreadStreamTest, TheSameTimeAgainGoesOnInTheRun) {
    QxThreadStream stream(0x102);
    stream.AddOpenCall(5, 1000, "ab");
    stream.AddOpenCall(5, 1000, "ab");
    const std::string expected("\1\21\2\1\0\15\2\5\350\7\5ab\2\4\0\5ab", 19);
    EXPECT_EQ(stream.Finish(), expected);
}

TEST_F(QxThreadStreamTest, ExitTimesAreWholeThousandsAfterTheEntry) {
    m_stream.AddCall(1, 1000, Text(1, 'a'), 4999, Text(1, 'b'));
    m_stream.AddCall(1, 5000, Text(1, 'a'), 5000, Text(1, 'b'));
    const DecodedDump dump = Finish();
    ASSERT_EQ(dump.calls.size(), 2u);
    EXPECT_EQ(dump.calls[0].time, 1000u);
    EXPECT_EQ(dump.calls[0].exitTime, 4000u);
    EXPECT_EQ(dump.calls[1].time, 5000u);
    EXPECT_EQ(dump.calls[1].exitTime, 5000u);
    EXPECT_EQ(dump.calls[0].tid, 7u);
}

TEST_F(QxThreadStreamTest, AnEarlierTimeStartsANewRun) {
    m_stream.AddCall(1, 2000, Text(1, 'i'), 3000, Text(1, 'i'));
    m_stream.AddCall(1, 1000, Text(1, 'o'), 9000, Text(1, 'o'));
    const DecodedDump dump = Finish();
    ASSERT_EQ(dump.calls.size(), 2u);
    EXPECT_EQ(dump.calls[0].time, 1000u);
    EXPECT_EQ(dump.calls[0].exitTime, 9000u);
    EXPECT_EQ(Bytes(dump.calls[0].args.out[0]), "o");
    EXPECT_EQ(dump.calls[1].time, 2000u);
    EXPECT_EQ(Bytes(dump.calls[1].args.out[0]), "i");
}

// Sizes around those where a size needs another byte, where a fragment ends, and where an item is larger than one.
TEST_F(QxThreadStreamTest, ItemsOfEverySizeComeOutWhole) {
    const std::size_t sizes[] = {1,     100,   121,   122,   123,   124,   125,   126,   127,   128,  129,
                                 16375, 16380, 16385, 32700, 32730, 32750, 32764, 32768, 32800, 59990};
    std::uint64_t time = 1000;
    for (const std::size_t entry : sizes) {
        for (const std::size_t exit : sizes) {
            m_stream.AddCall(1, time, Text(entry, 'e'), time + 1000, Text(exit, 'x'));
            time += 2000;
        }
    }
    const DecodedDump dump = Finish();
    ASSERT_EQ(dump.calls.size(), std::size(sizes) * std::size(sizes));
    std::size_t i = 0;
    for (const std::size_t entry : sizes) {
        for (const std::size_t exit : sizes) {
            const IQxData::HSCall& call = dump.calls[i++];
            ASSERT_EQ(call.time, 2000 * i - 1000);
            ASSERT_EQ(call.exitTime, call.time + 1000);
            ASSERT_EQ(Bytes(call.args.in[0]), std::string(entry, 'e'));
            ASSERT_EQ(Bytes(call.args.out[0]), std::string(exit, 'x'));
        }
    }
}

// The sizes of a stream's fragments. Expects that none begins with the end of an item.
std::vector<std::size_t> FragmentSizes(const std::string& packets) {
    std::vector<std::size_t> sizes;
    QxByteReader reader(packets.data(), packets.size());
    while (reader.Left() > 0) {
        EXPECT_EQ(reader.ReadByte(), static_cast<unsigned>(dumpformat::kThreadBuffer));
        reader.ReadVarint();
        EXPECT_EQ(reader.ReadInteger(2), 7u);
        EXPECT_EQ(reader.ReadVarint(), 0u) << "of an item begun before";
        sizes.push_back(reader.ReadVarint());
        reader.Skip(sizes.back());
    }
    return sizes;
}

TEST_F(QxThreadStreamTest, EntriesLieWholeInFragmentsOfTheirLimit) {
    constexpr std::size_t kFirstSize = 10 + 16384;  // of the item: tag, size, time, location and the text
    constexpr std::size_t kMaxHead = 32;            // what an entry may take beside its values
    for (std::size_t second = 16300; second < 16380; ++second) {
        QxThreadStream stream(7);
        const std::string values = Text(second, 'b');
        stream.AddOpenCall(1, 1000, Text(16384, 'a'));
        stream.AddOpenCall(1, 2000, values);
        const std::vector<std::size_t> sizes = FragmentSizes(stream.Finish());
        for (const std::size_t size : sizes) ASSERT_LT(size, dumpformat::kFragment);
        EXPECT_EQ(sizes.size(), kFirstSize + kMaxHead + values.size() < dumpformat::kFragment ? 1u : 2u) << second;
    }
}

TEST_F(QxThreadStreamTest, AnEntryThatIsLargerThanAFragmentHasOneOfItsOwn) {
    QxThreadStream stream(7);
    for (std::uint64_t time = 1; time < 4; ++time) stream.AddOpenCall(1, time, Text(59990, 'a'));
    const std::vector<std::size_t> sizes = FragmentSizes(stream.Finish());
    EXPECT_EQ(sizes.size(), 3u);
    for (const std::size_t size : sizes) EXPECT_LE(size, dumpformat::kMaxFragment);
}

TEST_F(QxThreadStreamTest, OpenCallsAndLogItemsTakeNoExitFromOthers) {
    m_stream.AddOpenCall(1, 1000, Text(1, 'a'));
    m_stream.AddCall(1, 2000, Text(1, 'b'), 3000, Text(1, 'B'));
    std::string values = Text(1, 'l') + Text(1, 'm');
    m_stream.AddLog(1, 2500, values);
    m_stream.AddCall(1, 4000, Text(1, 'c'), 5000, Text(1, 'C'));
    const DecodedDump dump = Finish();
    ASSERT_EQ(dump.calls.size(), 4u);
    EXPECT_EQ(dump.calls[0].exitTime, 0u);
    EXPECT_EQ(Bytes(dump.calls[1].args.out[0]), "B");
    EXPECT_EQ(dump.calls[2].exitTime, 0u);
    EXPECT_EQ(Bytes(dump.calls[2].args.in[1]), "m");
    EXPECT_EQ(Bytes(dump.calls[3].args.out[0]), "C");
}

TEST_F(QxThreadStreamTest, ADumpWithoutCallsStillDescribes) {
    QxDumpBuilder builder;
    DecodedDump dump = Decode("p", builder.Finish(QxDumpBuilder::Describe(m_items)));
    EXPECT_EQ(dump.data->GetCallLocationWithPID(1, 77).callerName, "f");
}

TEST_F(QxThreadStreamTest, ADescriptionOfSeveralFragmentsComesOutWhole) {
    std::string items = m_items;
    unsigned random = 1;
    for (int i = 2; i < 3000; ++i) {
        std::string location;
        AppendVarint(location, 0);
        std::string name;
        // Text that does not compress.
        for (int n = 0; n < 60; ++n)
            name += static_cast<char>('!' + (random = random * 1103515245u + 12345u) / 65536u % 90);
        AppendText(location, name);
        AppendVarint(location, static_cast<std::uint64_t>(i));
        AppendVarint(location, 0);
        AppendText(location, "void");
        AppendVarint(location, 0);
        AppendText(location, "m" + std::to_string(i));
        AppendText(location, "p");
        AppendItem(items, dumpformat::kLocationItem, location);
    }
    const std::string description = QxDumpBuilder::Describe(items);
    ASSERT_GT(description.size(), 2 * dumpformat::kFragment);
    QxDumpBuilder builder;
    const DecodedDump dump = Decode("p", builder.Finish(description));
    for (unsigned i = 2; i < 3000; ++i) {
        ASSERT_EQ(dump.data->GetCallLocationWithPID(i, 77).callerName, "m" + std::to_string(i));
    }
}

}  // namespace
