#include "QxArgReader.h"

#include <optional>

#include "Decoding.h"

namespace {

using namespace dump;
using namespace std::string_literals;
using Values = std::vector<IQxData::HSICallArg>;

const QxArgReader::Texts kTexts = {"length %u %u %u", "nothing", Major, "value %u %u %u"};
const QxArgReader::Texts kQuiet = {"length %u %u %u", nullptr, Major, "value %u %u %u"};

class QxArgReaderTest : public Decoding {
protected:
    // One value with that size word; what was read, and in m_taken how many bytes.
    Values Read(std::uint32_t size, const std::string& bytes, const QxArgReader::Texts& texts = kTexts,
                QxArgReader::Composites composites = QxArgReader::Composites::Decoded) {
        ExactBytes& exact = Hold(bytes);
        QxCursor cursor(exact.Data(), exact.Size(), "Test::Reads", parser.Log());
        Values values;
        QxArgList list(values);
        QxArgReader(cursor, parser, texts, composites).ReadValue(size, "P", list);
        list.End();
        m_taken = cursor.Offset();
        return values;
    }
    // The values of the arguments that the location's plan for call entries names.
    Values ReadAtEntry(const std::string& location, const std::string& bytes) {
        EXPECT_GE(Item(kLocation, location), 0);
        const QxLocation described(store->locations.back());
        ExactBytes& exact = Hold(bytes);
        QxCursor cursor(exact.Data(), exact.Size(), "Test::Reads", parser.Log());
        Values values;
        QxArgList list(values);
        QxArgReader(cursor, parser, kTexts, QxArgReader::Composites::Decoded)
            .ReadPlan(described, described.atEntry, list);
        list.End();
        m_taken = cursor.Offset();
        return values;
    }
    ExactBytes& Hold(const std::string& bytes) { return m_bytes.emplace(bytes); }

    std::optional<ExactBytes> m_bytes;
    std::size_t m_taken = 0;
};

TEST_F(QxArgReaderTest, ReadsPlainValues) {
    struct Row {
        std::uint32_t size;
        std::string bytes;
        std::string value;
        std::size_t taken;
    };
    const Row rows[] = {
        {1, "abc", "a", 1},
        {3, "abc", "abc", 3},
        {2, "\x00\xFF"s, "\x00\xFF"s, 2},
        {kVariableSize, "\x02" + "abc"s, "ab", 3},
        {kVariableSize, LongVarint(2, 12) + "ab", "ab", 14},
        // Marks are plain byte counts once a length stands for the size.
        {kVariableSize, Varint(kCompositeSize) + std::string(16382, 'x'), std::string(16382, 'x'), 16384},
        {kVariableSize, Varint(kVariableSize) + std::string(16383, 'x'), std::string(16383, 'x'), 16385},
        // All bytes are passed over, the low 16 bits of the size are read.
        {65535, std::string(65535, 'x'), std::string(65535, 'x'), 65535},
        {65536, std::string(65536, 'x'), "", 65536},
        {65537, std::string(65537, 'x'), "x", 65537},
        {kVariableSize, Varint(65537) + std::string(65537, 'x'), "x", 65540},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(&row - rows);
        EXPECT_EQ(Read(row.size, row.bytes), Values{Plain(row.value)});
        EXPECT_EQ(m_taken, row.taken);
    }
    EXPECT_TRUE(RecordingLog::Lines().empty());
}

TEST_F(QxArgReaderTest, ValuesOfSizeNothingAreReportedAndSkipped) {
    EXPECT_EQ(Read(0, "abc"), Values());
    EXPECT_EQ(m_taken, 0u);
    EXPECT_EQ(Read(kVariableSize, "\x00"s + "abc"), Values());
    EXPECT_EQ(m_taken, 1u);
    EXPECT_EQ(Logged("nothing", DLOG_ERROR), 2);
}

TEST_F(QxArgReaderTest, ValuesOfSizeNothingMayPassWithoutALine) {
    EXPECT_EQ(Read(0, "", kQuiet), Values());
    EXPECT_EQ(Read(kVariableSize, "\x00"s, kQuiet), Values());
    EXPECT_TRUE(RecordingLog::Lines().empty());
}

TEST_F(QxArgReaderTest, RefusesWhatIsCut) {
    struct Row {
        std::uint32_t size;
        std::string bytes;
        const char* message;
    };
    const Row rows[] = {
        {1, "", "value 1 0 0"},
        {4, "abc", "value 4 3 0"},
        {kVariableSize, "\x04" + "abc"s, "value 4 4 1"},
        {kVariableSize, "", "length 0 0 1"},
        {kVariableSize, "\x85\x80", "length 5 2 3"},
        {0xFFFFFFFFu, "abc", "value 4294967295 3 0"},
        {65536, "abc", "value 65536 3 0"},
        {kVariableSize, Varint(0x80000000u) + "abc", "value 2147483648 8 5"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.message);
        RecordingLog::Clear();
        EXPECT_THROW(Read(row.size, row.bytes), QxData::_PERR_TYPE);
        EXPECT_EQ(Logged(row.message, DLOG_ERROR), 1);
        EXPECT_EQ(RecordingLog::Lines().size(), 1u);
    }
}

TEST_F(QxArgReaderTest, ReadsCompositesOrTakesTheMarkForASize) {
    Item(kDescriptor, Descriptor("P").Member("x", 2));
    EXPECT_EQ(Read(kCompositeSize, "abc"), (Values{{{"x", Stored("ab")}}}));
    EXPECT_EQ(m_taken, 2u);
    EXPECT_THROW(Read(kCompositeSize, "abc", kTexts, QxArgReader::Composites::PlainBytes), QxData::_PERR_TYPE);
    EXPECT_EQ(Logged("value 16382 3 0", DLOG_ERROR), 1);
}

TEST_F(QxArgReaderTest, ACompositeWithoutPairsTakesFromTheBudgetAllTheSame) {
    parser.Budget().BeginDump(0);
    parser.Budget().TakePairs(1048575);
    EXPECT_EQ(Read(kCompositeSize, ""), Values(1));
    EXPECT_THROW(Read(kCompositeSize, ""), QxData::_PERR_TYPE);
}

TEST_F(QxArgReaderTest, APlainValueTakesFromTheBudget) {
    parser.Budget().BeginDump(0);
    parser.Budget().TakePairs(1048575);
    EXPECT_EQ(Read(1, "a").size(), 1u);
    EXPECT_THROW(Read(1, "a"), QxData::_PERR_TYPE);
}

TEST_F(QxArgReaderTest, FollowsThePlan) {
    const std::string location = Location(1)
                                     .Arg("e", kIn, 0)
                                     .Arg("a", kIn, 1)
                                     .Arg("o", kOut, 0)
                                     .Arg("e", kInOut, 0)
                                     .Arg("e", kIn, 0)
                                     .Arg("b", kInOut, kVariableSize)
                                     .Arg("e", kIn, 0);
    EXPECT_EQ(ReadAtEntry(location, "p" + Variable("qr")), (Values{Plain("p"), Plain("qr")}));
    EXPECT_EQ(Logged("nothing", DLOG_ERROR), 4);
}

TEST_F(QxArgReaderTest, ReportsTheEmptyValuesBeforeTheCutOne) {
    const std::string location = Location(1).Arg("e", kIn, 0).Arg("a", kIn, 4).Arg("e", kIn, 0);
    EXPECT_THROW(ReadAtEntry(location, "abc"), QxData::_PERR_TYPE);
    EXPECT_EQ(RecordingLog::Messages(), (std::vector<std::string>{"nothing", "value 4 3 0"}));
}

}  // namespace
