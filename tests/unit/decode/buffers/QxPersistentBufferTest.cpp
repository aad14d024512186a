#include "QxPersistentBuffer.h"

#include "Decoding.h"

namespace {

using namespace dump;

class QxPersistentBufferTest : public Decoding {
protected:
    int Items(const std::string& payload) {
        ExactBytes bytes(payload);
        return QxPersistentBuffer().Parse(bytes.Data(), bytes.Size(), 0, &parser);
    }
    const std::string m_name = dump::Item(kThreadName, ThreadName("a"));
};

TEST_F(QxPersistentBufferTest, DecodesItemsAtOnce) {
    EXPECT_EQ(Items(m_name + m_name), static_cast<int>(2 * m_name.size()));
    EXPECT_EQ(store->threads.size(), 2u);
    EXPECT_TRUE(store->currentThreads.empty()) << "it sets no current thread";
}

TEST_F(QxPersistentBufferTest, NothingIsNothing) {
    EXPECT_EQ(Items(""), 0);
}

TEST_F(QxPersistentBufferTest, ATagOfZeroEndsTheRun) {
    const std::string payload = m_name + std::string("\0\0", 2) + m_name;
    EXPECT_EQ(Items(payload), static_cast<int>(payload.size()));
    EXPECT_EQ(store->threads.size(), 1u);
}

// The tag that ends the run has no size of its own, or any: what follows it is not looked at.
TEST_F(QxPersistentBufferTest, ALoneTagOfZeroEndsTheRunQuietly) {
    for (const std::string& end : {std::string("\0", 1), std::string("\0\x80", 2), std::string("\0\xFF\xFF", 3)}) {
        store->threads.clear();
        RecordingLog::Clear();
        EXPECT_EQ(Items(m_name + end), static_cast<int>(m_name.size() + end.size()));
        EXPECT_EQ(Items(end), static_cast<int>(end.size()));
        EXPECT_EQ(Parse(Persistent(m_name + end) + Persistent(m_name)), 1) << "the rest of the dump is decoded";
        EXPECT_EQ(store->threads.size(), 3u);
        EXPECT_TRUE(RecordingLog::Messages(DLOG_ERROR).empty());
    }
}

TEST_F(QxPersistentBufferTest, KeepsTheWholeSizeOfAnItem) {
    // 70,000 bytes: a size of 16 bits would be 4,464.
    const std::string long_ = dump::Item(kThreadName, ThreadName("b") + std::string(69998, 'x'));
    Items(long_ + m_name);
    EXPECT_EQ(store->threads.size(), 2u);
}

TEST_F(QxPersistentBufferTest, DoesNotRotate) {
    const std::string text(200, 'q');
    Items(dump::Item(kThreadName, ThreadName(text)));
    EXPECT_EQ(store->threads.at(0).name, text);
}

TEST_F(QxPersistentBufferTest, RefusesAnItemThatLeavesThePacket) {
    for (std::size_t size = 1; size < m_name.size(); ++size) {
        SCOPED_TRACE(size);
        EXPECT_THROW(Items(m_name + Cut(m_name, size)), QxData::_PERR_TYPE);
    }
    // Also inside a dump, where more bytes follow.
    RecordingLog::Clear();
    const std::string packet = '\x02' + Varint(m_name.size() + 3) + m_name + Cut(m_name, 3);
    EXPECT_EQ(Parse(packet + std::string(50, 'x')), 0);
    EXPECT_EQ(RecordingLog::Messages(DLOG_ERROR).front().rfind("[QxPersistentBuffer::Parse] ", 0), 0u);
}

TEST_F(QxPersistentBufferTest, KeepsTheItemsBeforeACutDumpsEnd) {
    EXPECT_EQ(Parse('\x02' + Varint(1000) + m_name + m_name), 0);
    EXPECT_EQ(store->threads.size(), 2u);
    EXPECT_EQ(Logged("Exception : 1", DLOG_ERROR), 1);
}

}  // namespace
