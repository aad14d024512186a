#include "QxDumpBudget.h"

#include <gtest/gtest.h>

#include "Diagnostics.h"
#include "QxData.h"
#include "QxDecodeLog.h"
#include "dlog.h"

namespace {

constexpr std::uint64_t kMebi = 1048576;

class QxDumpBudgetTest : public testing::Test {
protected:
    Diagnostics m_diagnostics;
    QxDecodeLog m_log;
    QxDumpBudget m_budget{m_log};
};

void TakeCalls(QxDumpBudget& budget, std::uint64_t count) {
    for (; count > 0; --count) budget.TakeCall();
}
void TakePairs(QxDumpBudget& budget, std::uint64_t count) {
    budget.TakePairs(count);
}
void TakeNameBytes(QxDumpBudget& budget, std::uint64_t count) {
    budget.TakeNameBytes(count);
}
void TakeJoined(QxDumpBudget& budget, std::uint64_t count) {
    budget.TakeJoined(count);
}
void TakeCallBytes(QxDumpBudget& budget, std::uint64_t count) {
    budget.TakeCallBytes(count);
}
void TakeHeader(QxDumpBudget& budget, std::uint64_t count) {
    budget.TakeHeader(count);
}
void TakeUnpacked(QxDumpBudget& budget, std::uint64_t count) {
    budget.TakeUnpacked(count);
}

TEST_F(QxDumpBudgetTest, GivesWhatTheDumpsSizeAllowsAndNoMore) {
    struct Row {
        const char* what;
        void (*take)(QxDumpBudget&, std::uint64_t);
        std::size_t dumpSize;
        std::uint64_t allowed;
    };
    const Row rows[] = {{"calls", TakeCalls, 3, kMebi},
                        {"calls", TakeCalls, 4, kMebi + 1},
                        {"calls", TakeCalls, 1003, kMebi + 250},
                        {"argument pairs", TakePairs, 0, kMebi},
                        {"argument pairs", TakePairs, 1000, kMebi + 16000},
                        {"name bytes", TakeNameBytes, 1000, 64 * kMebi + 64000},
                        {"joined stream bytes", TakeJoined, 1000, kMebi + 16000},
                        {"bytes of calls", TakeCallBytes, 0, 256 * kMebi},
                        {"bytes of calls", TakeCallBytes, 1000, 256 * kMebi + 64000},
                        {"header bytes", TakeHeader, 1000, kMebi + 1000},
                        {"unpacked bytes", TakeUnpacked, 0, 64 * kMebi},
                        {"unpacked bytes", TakeUnpacked, 100000, 64 * kMebi}};
    for (const Row& row : rows) {
        SCOPED_TRACE(std::string(row.what) + " of a dump of " + std::to_string(row.dumpSize));
        RecordingLog::Clear();
        m_budget.BeginDump(row.dumpSize);
        EXPECT_NO_THROW(row.take(m_budget, row.allowed));
        EXPECT_TRUE(RecordingLog::Lines().empty());
        EXPECT_THROW(row.take(m_budget, 1), QxData::_PERR_TYPE);
        EXPECT_EQ(RecordingLog::Lines().size(), 1u);
        EXPECT_EQ(
            RecordingLog::Count(std::string("[QxDumpBudget::Take] The dump holds too many ") + row.what, DLOG_ERROR),
            1);
    }
}

TEST_F(QxDumpBudgetTest, ARefusedTakeTakesNothing) {
    m_budget.BeginDump(0);
    EXPECT_THROW(m_budget.TakePairs(kMebi + 1), QxData::_PERR_TYPE);
    EXPECT_NO_THROW(m_budget.TakePairs(kMebi));
}

// What is too much is found out by unpacking, which is not to be done again and again.
TEST_F(QxDumpBudgetTest, OnceRefusedNothingMoreIsUnpacked) {
    m_budget.BeginDump(0);
    EXPECT_NO_THROW(m_budget.TakeUnpacked(64 * kMebi));
    EXPECT_NO_THROW(m_budget.TakeUnpacked(0));
    EXPECT_THROW(m_budget.TakeUnpacked(1), QxData::_PERR_TYPE);
    EXPECT_THROW(m_budget.TakeUnpacked(0), QxData::_PERR_TYPE);
}

TEST_F(QxDumpBudgetTest, EachDumpBeginsAnew) {
    for (int dump = 0; dump < 3; ++dump) {
        m_budget.BeginDump(0);
        EXPECT_NO_THROW(m_budget.TakePairs(kMebi));
        EXPECT_NO_THROW(m_budget.TakeUnpacked(1));
        EXPECT_THROW(m_budget.TakeUnpacked(64 * kMebi), QxData::_PERR_TYPE);
    }
}

TEST_F(QxDumpBudgetTest, WhatUnpacksMayBeJoinedAndHoldHeaders) {
    m_budget.BeginDump(0);
    m_budget.TakeUnpacked(5000);
    EXPECT_NO_THROW(m_budget.TakeHeader(kMebi + 5000));
    EXPECT_EQ(m_budget.UnpackedLeft(), 64 * kMebi - 5000);
    EXPECT_NO_THROW(m_budget.TakeJoined(kMebi + 5000));
    EXPECT_THROW(m_budget.TakeJoined(1), QxData::_PERR_TYPE);
}

TEST_F(QxDumpBudgetTest, HasNoLimitsOutsideDumps) {
    m_budget.TakeUnpacked(1000 * kMebi);
    EXPECT_NO_THROW(m_budget.TakeJoined(1000 * kMebi));
    EXPECT_NO_THROW(m_budget.TakePairs(1000 * kMebi));
    EXPECT_NO_THROW(m_budget.TakeNameBytes(1000 * kMebi));
    EXPECT_NO_THROW(m_budget.TakeCallBytes(1000 * kMebi));
    EXPECT_NO_THROW(m_budget.TakeCall());
}

}  // namespace
