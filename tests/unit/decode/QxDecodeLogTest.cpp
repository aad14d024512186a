#include "QxDecodeLog.h"

#include <gtest/gtest.h>

#include <optional>

#include "Diagnostics.h"
#include "dlog.h"

namespace {

constexpr char kLeftOut[] = "[QxDecodeLog::End] Too many messages, left out: ";

class QxDecodeLogTest : public testing::Test {
protected:
    QxDecodeLogTest() { m_log.emplace(); }

    void PrintLines(int count, int level = Major) {
        for (int i = 0; i < count; ++i) m_log->Print("Reads", 1, level, "line %d of %s", i, "many");
    }
    static int LeftOut(int count) { return RecordingLog::Count(kLeftOut + std::to_string(count), DLOG_ERROR); }
    static std::size_t Lines() { return RecordingLog::Lines().size(); }

    Diagnostics m_diagnostics;
    std::optional<QxDecodeLog> m_log;
};

TEST_F(QxDecodeLogTest, PrintsAsItIsAsked) {
    PrintLines(1);
    PrintLines(1, Info);
    EXPECT_EQ(RecordingLog::Count("line 0 of many", DLOG_ERROR), 1);
    EXPECT_EQ(RecordingLog::Count("line 0 of many", DLOG_INFO), 1);
}

TEST_F(QxDecodeLogTest, Prints4096LinesWithoutAWord) {
    PrintLines(4096);
    m_log->End();
    EXPECT_EQ(Lines(), 4096u);
}

TEST_F(QxDecodeLogTest, CountsTheLinesBeyond) {
    PrintLines(4097);
    EXPECT_EQ(Lines(), 4096u);
    m_log->End();
    EXPECT_EQ(Lines(), 4097u);
    EXPECT_EQ(LeftOut(1), 1);
    m_log->End();
    EXPECT_EQ(Lines(), 4097u) << "said once";
}

TEST_F(QxDecodeLogTest, EachDumpCountsAnew) {
    PrintLines(4000);
    m_log->Begin();
    PrintLines(4096);
    EXPECT_EQ(Lines(), 8096u);
}

TEST_F(QxDecodeLogTest, ADumpThatWasNotEndedEndsWithTheNext) {
    PrintLines(4100);
    m_log->Begin();
    EXPECT_EQ(LeftOut(4), 1);
}

TEST_F(QxDecodeLogTest, ADumpThatWasNotEndedEndsWithTheLog) {
    PrintLines(4100);
    m_log.reset();
    EXPECT_EQ(LeftOut(4), 1);
}

TEST_F(QxDecodeLogTest, LinesThatTheLevelSilencesDoNotCount) {
    QxDebugPrint::GetInstance()->SetLevel(Major);
    PrintLines(5000, Info);
    m_log->Repeat(5000, "Reads", 1, Info, "again");
    PrintLines(4096);
    m_log->End();
    EXPECT_EQ(Lines(), 4096u);
}

TEST_F(QxDecodeLogTest, RepeatsATextAsItStands) {
    m_log->Repeat(0, "Reads", 1, Major, "never");
    m_log->Repeat(3, "Reads", 1, Major, "100%s");
    EXPECT_EQ(Lines(), 3u);
    EXPECT_EQ(RecordingLog::Count("100%s", DLOG_ERROR), 3);
}

TEST_F(QxDecodeLogTest, RepeatsBeyondTheLimitAreCountedAtOnce) {
    PrintLines(4095);
    for (int i = 0; i < 1000; ++i) m_log->Repeat(0xFFFFFFFFu, "Reads", 1, Major, "again");
    m_log->End();
    EXPECT_EQ(RecordingLog::Count("again", DLOG_ERROR), 1);
    EXPECT_EQ(RecordingLog::Count(kLeftOut + std::to_string(0xFFFFFFFFull * 1000 - 1), DLOG_ERROR), 1);
}

}  // namespace
