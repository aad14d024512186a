#include "QxCursor.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <vector>

#include "DumpWriter.h"
#include "ExactBytes.h"
#include "IQxLines.h"
#include "IQxLogTracker.h"
#include "QxError.h"

namespace {

// Keeps what is printed.
class KeptLines final : public IQxLines {
public:
    void PrintV(const char*, int, int level, const char* format, va_list arguments) override {
        char text[256] = "";
        std::vsnprintf(text, sizeof text, format, arguments);
        lines.emplace_back(text);
        levels.push_back(level);
    }

    std::vector<std::string> lines;
    std::vector<int> levels;
};

class QxCursorTest : public testing::Test {
protected:
    QxCursor Over(const std::string& bytes) {
        m_bytes = std::make_unique<ExactBytes>(bytes);
        return {m_bytes->Data(), m_bytes->Size(), "Reader::Reads", m_printed};
    }
    // The one line that a refused read prints.
    std::string OnlyLine() const {
        EXPECT_EQ(m_printed.levels, std::vector<int>{Major});
        return m_printed.lines.empty() ? "" : m_printed.lines.front();
    }

    KeptLines m_printed;
    std::unique_ptr<ExactBytes> m_bytes;
};

TEST_F(QxCursorTest, ReadsInOrder) {
    QxCursor cursor = Over(
        "\x05\x34\x12\x85\x01"
        "abc");
    EXPECT_EQ(cursor.Peek(), 5);
    EXPECT_EQ(cursor.Byte(), 5);
    EXPECT_EQ(cursor.Fixed16(), 0x1234);
    EXPECT_EQ(cursor.Varint(), 133u);
    EXPECT_EQ(cursor.Text(3), "abc");
    EXPECT_TRUE(cursor.AtEnd());
    EXPECT_EQ(cursor.Offset(), 8u);
}

TEST_F(QxCursorTest, ReadsVarintsOfEveryLength) {
    for (std::size_t length = 1; length <= 12; ++length) {
        QxCursor cursor = Over(dump::LongVarint(5, length) + "x");
        EXPECT_EQ(cursor.Varint(), 5u) << length;
        EXPECT_EQ(cursor.Offset(), length);
    }
}

TEST_F(QxCursorTest, DropsGroupsBeyondTheWidth) {
    const std::string allOnes = std::string(10, '\xFF') + '\x7F';
    EXPECT_EQ(Over(allOnes).Varint(), 0xFFFFFFFFu);
    EXPECT_EQ(Over(allOnes).Varint64(), 0xFFFFFFFFFFFFFFFFull);
    EXPECT_EQ(Over(allOnes).Varint16(), 0xFFFFu);
    EXPECT_EQ(Over(dump::Varint(0x10003)).Varint16(), 3u);
    // The fifth group has four bits that fit, its others are lost.
    EXPECT_EQ(Over("\x80\x80\x80\x80\x7F").Varint(), 0xF0000000u);
    EXPECT_EQ(Over("\x80\x80\x80\x80\x7F").Varint64(), 0x7F0000000ull);
}

TEST_F(QxCursorTest, RefusesReadsPastTheEndWithOneLineAndStays) {
    struct Row {
        const char* bytes;
        void (*read)(QxCursor&);
        const char* where;
    };
    const Row rows[] = {{"", [](QxCursor& c) { c.Byte(); }, "offset: 0, bytes: 1, size: 0"},
                        {"", [](QxCursor& c) { c.Peek(); }, "offset: 0, bytes: 1, size: 0"},
                        {"a", [](QxCursor& c) { c.Fixed16(); }, "offset: 0, bytes: 2, size: 1"},
                        {"\x80\x80", [](QxCursor& c) { c.Varint(); }, "offset: 0, bytes: 3, size: 2"},
                        {"\xFF", [](QxCursor& c) { c.Varint64(); }, "offset: 0, bytes: 2, size: 1"},
                        {"ab", [](QxCursor& c) { c.Bytes(3); }, "offset: 0, bytes: 3, size: 2"},
                        {"ab", [](QxCursor& c) { c.Skip(SIZE_MAX); }, "offset: 0, bytes: 4294967295, size: 2"},
                        {"ab", [](QxCursor& c) { c.Range(1, 2); }, "offset: 1, bytes: 2, size: 2"},
                        {"ab", [](QxCursor& c) { c.Range(SIZE_MAX, 2); }, "offset: 4294967295, bytes: 2, size: 2"}};
    for (const Row& row : rows) {
        SCOPED_TRACE(&row - rows);
        m_printed = {};
        QxCursor cursor = Over(row.bytes);
        EXPECT_THROW(row.read(cursor), QxError);
        EXPECT_EQ(cursor.Offset(), 0u);
        EXPECT_EQ(OnlyLine(), std::string("[Reader::Reads] Read past the end, ") + row.where);
    }
}

TEST_F(QxCursorTest, TriesVarintsQuietly) {
    QxCursor cut = Over("\x85");
    std::uint32_t value = 0;
    EXPECT_FALSE(cut.TryVarint(value));
    EXPECT_EQ(value, 5u);
    EXPECT_EQ(cut.Offset(), 0u);
    EXPECT_TRUE(m_printed.lines.empty());
}

TEST_F(QxCursorTest, NoBytesAreAlwaysThere) {
    QxCursor cursor = Over("a");
    cursor.Skip(1);
    EXPECT_NO_THROW(cursor.Bytes(0));
    EXPECT_NO_THROW(cursor.Range(100, 0));
}

TEST_F(QxCursorTest, NarrowsToWhatIsThere) {
    QxCursor cursor = Over("abcd");
    cursor.Skip(1);
    EXPECT_EQ(cursor.Narrow(2, "x").Left(), 2u);
    EXPECT_EQ(cursor.Narrow(100, "x").Left(), 3u);
}

TEST_F(QxCursorTest, PrintsTheTextOfATooLongText) {
    QxCursor cursor = Over(
        "\x05"
        "abc");
    EXPECT_THROW(cursor.Text16("end %u of %u"), QxError);
    EXPECT_EQ(OnlyLine(), "end 6 of 4");
}

}  // namespace
