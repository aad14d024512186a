#include "QxFrame.h"

#include <gtest/gtest.h>

#include "ExactBytes.h"
#include "IQxLines.h"
#include "QxError.h"

namespace {

class Silence final : public IQxLines {
public:
    void PrintV(const char*, int, int, const char*, va_list) override { ++count; }
    int count = 0;
};

class QxFrameTest : public testing::Test {
protected:
    QxCursor Over(const std::string& bytes) {
        m_bytes = std::make_unique<ExactBytes>(bytes);
        return {m_bytes->Data(), m_bytes->Size(), "Test::Reads", m_lines};
    }

    Silence m_lines;
    std::unique_ptr<ExactBytes> m_bytes;
};

TEST_F(QxFrameTest, HoldsTagSizeAndItsOwnLength) {
    QxCursor cursor = Over("x\x02\x81\x01y");
    cursor.Skip(1);
    const QxFrame frame = QxFrame::Read(cursor);
    EXPECT_EQ(frame.tag, 2);
    EXPECT_EQ(frame.size, 129u);
    EXPECT_EQ(frame.length, 3);
    EXPECT_EQ(cursor.Left(), 1u);
    QxCursor again = Over("\x02\x81\x01");
    QxFrame tried;
    ASSERT_TRUE(QxFrame::TryRead(again, tried));
    EXPECT_EQ(tried.tag, 2);
    EXPECT_EQ(tried.size, 129u);
    EXPECT_EQ(tried.length, 3);
}

TEST_F(QxFrameTest, ADrawnOutHeaderWrapsItsLength) {
    QxCursor cursor = Over("\x02" + std::string(65537, '\x80') + std::string(1, '\0'));
    EXPECT_EQ(QxFrame::Read(cursor).length, 3);
    EXPECT_TRUE(cursor.AtEnd());
}

TEST_F(QxFrameTest, ThatIsCutIsRefusedOrToldQuietly) {
    for (const char* const bytes : {"", "\x02", "\x02\x81"}) {
        QxCursor tried = Over(bytes);
        QxFrame frame;
        EXPECT_FALSE(QxFrame::TryRead(tried, frame));
        EXPECT_EQ(m_lines.count, 0);
        QxCursor read = Over(bytes);
        EXPECT_THROW(QxFrame::Read(read), QxError);
        EXPECT_EQ(m_lines.count, 1);
        m_lines.count = 0;
    }
}

}  // namespace
