// Damaged bzip2 streams: dropped with their message, whatever is wrong with them.
#include <gtest/gtest.h>

#include "DumpWriter.h"
#include "QxCompressedItem.h"
#include "QxData.h"
#include "QxDebugPrint.h"
#include "QxParser.h"
#include "RandomTrace.h"
#include "RecordingLog.h"
#include "dlog.h"

namespace {

constexpr char kDropped[] = "boost::exception occurs !! IGNORE THIS PACKET";

class QxCompressedItemDamage : public testing::Test {
protected:
    void SetUp() override {
        QxDebugPrint::GetInstance()->SetLevel(Info);
        std::pair<int, char*> nothing(0, nullptr);
        m_parser.Parse(nothing, m_store);
        RecordingLog::Clear();
    }

    void Append(const std::string& packed) {
        std::vector<char> payload(packed.begin(), packed.end());
        EXPECT_EQ(QxCompressedItem().Append(payload, &m_parser), static_cast<int>(packed.size()));
    }

    std::shared_ptr<QxData> m_store = std::make_shared<QxData>();
    QxParser m_parser{nullptr, nullptr};
};

TEST_F(QxCompressedItemDamage, DropsEveryCutStream) {
    const std::string packed = dump::Bzip2(RandomTrace(1, 20).Dump());
    for (std::size_t size = 0; size < packed.size(); size += 7) {
        SCOPED_TRACE(size);
        RecordingLog::Clear();
        Append(packed.substr(0, size));
        ASSERT_EQ(RecordingLog::Count(kDropped, DLOG_INFO), 1);
    }
    EXPECT_TRUE(m_store->GetCallIMap()->empty());
}

// A decompressor that found damage must not be called again: libbz2 then writes past its own stack.
TEST_F(QxCompressedItemDamage, SurvivesEveryDamagedByte) {
    const std::string packed = dump::Bzip2(RandomTrace(6, 12).Dump());
    for (std::size_t at = 0; at < packed.size(); at += 3) {
        Append(dump::Change(packed, at, static_cast<unsigned char>(packed[at]) ^ 0x11u));
    }
    EXPECT_GT(RecordingLog::Count(kDropped, DLOG_INFO), 0);
}

TEST_F(QxCompressedItemDamage, DropsAStreamWithSomethingBehindIt) {
    Append(dump::Bzip2(dump::Flush()) + "xyz");
    EXPECT_EQ(RecordingLog::Count(kDropped, DLOG_INFO), 1);
}

}  // namespace
