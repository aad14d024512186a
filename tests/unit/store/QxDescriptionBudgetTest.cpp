// What a process may describe in all of its dumps: at the limit, and past it.
#include "QxDescriptionBudget.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "Diagnostics.h"
#include "DumpWriter.h"
#include "QxCycle.h"
#include "QxData.h"
#include "QxFormat.h"
#include "dlog.h"

namespace {

constexpr std::uint64_t kLimit = qxformat::kMaxDescriptionBytes;
constexpr unsigned kHost = 7;
constexpr unsigned kOther = 9;

IQxData::_HSCallLocation Site(unsigned locId, std::uint64_t nameSize) {
    IQxData::_HSCallLocation site;
    site.locId = locId;
    site.callerName.assign(static_cast<std::size_t>(nameSize), 'n');
    return site;
}

const std::string kTold =
    "[QxDescriptionBudget::Take] Process 7 describes more call sites, layouts and threads than are kept: 64 MiB";

class QxDescriptionBudgetTest : public testing::Test {
protected:
    QxDescriptionBudgetTest() {
        m_store->AppendProcessName(kHost, "a");
        m_store->AppendProcessName(kOther, "b");
        m_store->AppendCurrentProcess("a");
    }

    // Stores sites until all but `left` bytes are taken. The last one is the last of `SiteCount()`.
    void Fill(std::uint64_t left) {
        std::uint64_t rest = kLimit - left;
        while (rest > 0) {
            const std::uint64_t cost = rest < 2 * kBigCost ? rest : kBigCost;
            IQxData::_HSCallLocation site = Site(++m_sites, cost - kBareCost);
            m_store->AppendCallLocation(site);
            rest -= cost;
        }
    }

    // Whether the store takes a site of that cost.
    bool Takes(std::uint64_t cost) {
        IQxData::_HSCallLocation site = Site(++m_sites, cost - kBareCost);
        try {
            m_store->AppendCallLocation(site);
            return true;
        } catch (QxData::_PERR_TYPE error) {
            EXPECT_EQ(error, QxData::PERR_INVALID_SIZE);
            --m_sites;
            return false;
        }
    }

    const std::uint64_t kBareCost = QxDescriptionBudget::Cost(Site(1, 0));
    const std::uint64_t kBigCost = 60000;
    const Diagnostics m_diagnostics{Info};
    std::shared_ptr<QxData> m_store = std::make_shared<QxData>();
    unsigned m_sites = 0;
};

TEST(QxDescriptionBudget, TakesToTheLimitAndNotOneMore) {
    QxDescriptionBudget budget;
    budget.Take({kHost, kLimit - 10}, {});
    EXPECT_FALSE(budget.TryTake({kHost, 11}));
    EXPECT_TRUE(budget.TryTake({kHost, 10}));
    EXPECT_FALSE(budget.TryTake({kHost, 1}));
    EXPECT_TRUE(budget.TryTake({kOther, kLimit})) << "each process has its own";
    EXPECT_THROW(budget.Take({kHost, 1}, {}), QxData::_PERR_TYPE);
    EXPECT_NO_THROW(budget.Take({kHost, 5}, {kHost, 5})) << "in place of as much";
    budget.Clear();
    EXPECT_TRUE(budget.TryTake({kHost, kLimit}));
}

}  // namespace

TEST_F(QxDescriptionBudgetTest, TextsAndArgumentsCost) {
    IQxData::_HSCallLocation site = Site(1, 100);
    EXPECT_EQ(QxDescriptionBudget::Cost(site), kBareCost + 100);
    site.srcCodeFileRaw = "file";
    site.packageName = "pack";
    site.args.retType = "type";
    EXPECT_EQ(QxDescriptionBudget::Cost(site), kBareCost + 112);
    const std::uint64_t before = QxDescriptionBudget::Cost(site);
    site.args.argType = {"integer"};
    site.args.argFlags = {1};
    site.args.argSize = {4};
    EXPECT_GT(QxDescriptionBudget::Cost(site), before + 7);

    const std::uint64_t bare = QxDescriptionBudget::Cost("", IQxData::_HSCompArgDesc());
    EXPECT_EQ(QxDescriptionBudget::Cost("Point", IQxData::_HSCompArgDesc()), bare + 5);
    IQxData::_HSCompArgDesc desc;
    desc.memberNames = {"x"};
    desc.memberTypes = {"int"};
    const std::uint64_t named = QxDescriptionBudget::Cost("", desc);
    EXPECT_GT(named, bare + 4);
    desc.memberSizes = {4};
    EXPECT_GT(QxDescriptionBudget::Cost("", desc), named);

    IQxData::HSIThread thread;
    const std::uint64_t nameless = QxDescriptionBudget::Cost(thread);
    thread.name = "main";
    EXPECT_EQ(QxDescriptionBudget::Cost(thread), nameless + 4);
}

TEST_F(QxDescriptionBudgetTest, ALastSiteFitsToTheByte) {
    Fill(1000);
    EXPECT_FALSE(Takes(1001));
    EXPECT_EQ(m_store->GetCallLocation(m_sites + 1).locId, 0u);
    EXPECT_TRUE(Takes(1000));
    EXPECT_EQ(m_store->GetCallLocation(m_sites).locId, m_sites);
    EXPECT_FALSE(Takes(kBareCost));
}

TEST_F(QxDescriptionBudgetTest, OneLineForEachDumpSaysWhoDescribesTooMuch) {
    Fill(0);
    EXPECT_TRUE(RecordingLog::Lines().empty());
    EXPECT_FALSE(Takes(kBareCost));
    EXPECT_FALSE(Takes(kBareCost));
    EXPECT_EQ(RecordingLog::Count(kTold), 1);
    EXPECT_EQ(RecordingLog::Lines().size(), 1u);
    m_store->AppendCurrentProcess("a");
    EXPECT_FALSE(Takes(kBareCost));
    EXPECT_EQ(RecordingLog::Count(kTold), 2);
}

TEST_F(QxDescriptionBudgetTest, WhatIsDescribedAgainCostsNothingMore) {
    Fill(0);
    for (unsigned locId = 1; locId <= m_sites; ++locId) {
        IQxData::_HSCallLocation site = m_store->GetCallLocation(locId);
        site.callerName[0] = 'm';
        m_store->AppendCallLocation(site);
    }
    IQxData::_HSCallLocation larger = m_store->GetCallLocation(1);
    larger.callerName += "!";
    EXPECT_THROW(m_store->AppendCallLocation(larger), QxData::_PERR_TYPE);
    EXPECT_EQ(m_store->GetCallLocation(1).callerName[0], 'm');
    EXPECT_EQ(m_store->GetCallLocation(1).callerName.size(), larger.callerName.size() - 1);
    // What a smaller one leaves is there for others.
    IQxData::_HSCallLocation smaller = Site(1, m_store->GetCallLocation(1).callerName.size() - kBareCost);
    m_store->AppendCallLocation(smaller);
    EXPECT_FALSE(Takes(kBareCost + 1));
    EXPECT_TRUE(Takes(kBareCost));
}

TEST_F(QxDescriptionBudgetTest, LayoutsAndThreadsCountAsWell) {
    const IQxData::_HSCompArgDesc empty;
    IQxData::HSIThread thread;
    thread.tid = 4;
    Fill(QxDescriptionBudget::Cost("Point", empty) + QxDescriptionBudget::Cost(thread));
    m_store->AppendCompArgDesc("Point", {});
    m_store->AppendThread(thread);
    EXPECT_FALSE(Takes(kBareCost));
    m_store->AppendCompArgDesc("Point", {});
    m_store->AppendThread(thread);
    IQxData::_HSCompArgDesc larger;
    larger.memberSizes = {4};
    EXPECT_THROW(m_store->AppendCompArgDesc("Point", larger), QxData::_PERR_TYPE);
    EXPECT_THROW(m_store->AppendCompArgDesc("Other", {}), QxData::_PERR_TYPE);
    thread.name = "n";
    EXPECT_THROW(m_store->AppendThread(thread), QxData::_PERR_TYPE);
    EXPECT_EQ(m_store->GetThread(4).name, "");
    thread.tid = 5;
    EXPECT_THROW(m_store->AppendThread(thread), QxData::_PERR_TYPE);
    IQxData::_HSCompArgDesc point;
    m_store->GetCompArgDesc(point, "Point");
    EXPECT_TRUE(point.memberSizes.empty());
}

TEST_F(QxDescriptionBudgetTest, LookingUpWhatNobodyDescribedNeverFails) {
    Fill(0);
    EXPECT_EQ(m_store->GetCallLocation(m_sites + 1).locId, 0u);
    EXPECT_EQ(m_store->GetCallLocationWithPID(m_sites + 1, kHost).locId, 0u);
    IQxData::_HSCompArgDesc desc;
    desc.memberSizes = {4};
    m_store->GetCompArgDesc(desc, "Unknown");
    EXPECT_TRUE(desc.memberSizes.empty());
    EXPECT_TRUE(RecordingLog::Lines().empty());
}

// Each number that nobody described is kept as an empty record: as many as the limit lets through, and no more.
TEST_F(QxDescriptionBudgetTest, NumbersThatNobodyDescribedDoNotAddUpForEver) {
    const auto count = static_cast<unsigned>(kLimit / kBareCost);
    while (m_sites + 1 < count) m_store->GetCallLocation(++m_sites);
    EXPECT_FALSE(Takes(2 * kBareCost));
    EXPECT_TRUE(Takes(kBareCost));
    for (unsigned i = 0; i < 10; ++i) m_store->GetCallLocation(++m_sites);
    EXPECT_FALSE(Takes(kBareCost));
}

TEST_F(QxDescriptionBudgetTest, AnotherProcessHasItsOwn) {
    Fill(0);
    m_store->AppendCurrentProcess("b");
    IQxData::_HSCallLocation site = Site(3, 60000);
    m_store->AppendCallLocation(site);
    EXPECT_EQ(m_store->GetCallLocationWithPID(3, kOther).locId, 3u);
    EXPECT_TRUE(RecordingLog::Lines().empty());
}

// A number so large that it lies among those of the next process takes that one's place.
TEST_F(QxDescriptionBudgetTest, WhatIsReplacedIsGivenBackToItsOwner) {
    m_store->AppendCurrentProcess("b");
    Fill(0);
    m_store->AppendCurrentProcess("a");
    IQxData::_HSCallLocation small = Site(1 + 10000 * (kOther - kHost), 0);
    m_store->AppendCallLocation(small);
    m_store->AppendCurrentProcess("b");
    EXPECT_FALSE(Takes(kBigCost + 1));
    EXPECT_TRUE(Takes(kBigCost));
    EXPECT_FALSE(Takes(kBareCost));
}

// Two processes take turns with one thread number and one type's name, as those of a device do in every cycle: neither
// is charged for more than it holds.
TEST_F(QxDescriptionBudgetTest, ProcessesThatReplaceEachOthersRecordsDoNotDrift) {
    IQxData::HSIThread thread;
    thread.tid = 4;
    const auto describe = [&](const char* process, std::size_t size) {
        m_store->AppendCurrentProcess(process);
        thread.name.assign(size, 't');
        m_store->AppendThread(thread);
        IQxData::_HSCompArgDesc layout;
        layout.memberNames = {std::string(size, 'm')};
        m_store->AppendCompArgDesc("Point", layout);
    };
    for (int cycle = 0; cycle < 2000; ++cycle) {
        describe("a", 60000);
        describe("b", 1);
    }
    EXPECT_TRUE(RecordingLog::Lines().empty());
    m_store->AppendCurrentProcess("a");
    Fill(kBareCost);
    EXPECT_TRUE(Takes(kBareCost));
    EXPECT_FALSE(Takes(kBareCost));
}

TEST_F(QxDescriptionBudgetTest, ClearingTheStoreGivesItBack) {
    Fill(0);
    m_store->clearCalls();
    EXPECT_FALSE(Takes(kBareCost));
    m_store->clear();
    m_store->AppendProcessName(kHost, "a");
    m_store->AppendCurrentProcess("a");
    EXPECT_TRUE(Takes(60000));
}

// The rest of the dump that describes too much is dropped; the next dump's calls are decoded.
TEST_F(QxDescriptionBudgetTest, ADumpThatDescribesTooMuchLosesItsRest) {
    using namespace dump;
    const Bytes calls = Thread(5, {StreamItem(kBefore, Before(105, 1)), StreamItem(kAfter, After(2))});
    const Bytes more = Persistent({Item(kLocation, Location(9999).Name("More"))});
    Fill(0);
    QxCycle cycle(nullptr, nullptr, m_store);
    const Bytes first = more + calls;
    std::vector<char> bytes(first.begin(), first.end());
    EXPECT_FALSE(cycle.Decode("a", bytes).parsed);
    EXPECT_TRUE(m_store->GetCallIMap()->empty());
    EXPECT_EQ(RecordingLog::Count(kTold, DLOG_ERROR), 1);
    bytes.assign(calls.begin(), calls.end());
    EXPECT_TRUE(cycle.Decode("a", bytes).Whole());
    EXPECT_EQ(m_store->GetCallIMap()->size(), 1u);
}
