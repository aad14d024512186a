#include "QxStoreAccess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ListingStore.h"
#include "QxData.h"

namespace {

// Counts reads through exported operations that hand out copies.
class CountingStore final : public QxData {
public:
    _HSCallLocation GetCallLocation(unsigned int locId) override {
        reads.emplace_back("GetCallLocation");
        return QxData::GetCallLocation(locId);
    }
    _HSCallLocation GetCallLocationWithPID(unsigned int locId, unsigned short pid) override {
        reads.emplace_back("GetCallLocationWithPID");
        return QxData::GetCallLocationWithPID(locId, pid);
    }
    void GetCompArgDesc(_HSCompArgDesc& out, std::string name) override {
        reads.emplace_back("GetCompArgDesc");
        QxData::GetCompArgDesc(out, name);
    }
    void GetCall(unsigned long long key, HSCall& out) override {
        reads.emplace_back("GetCall");
        QxData::GetCall(key, out);
    }

    std::vector<std::string> reads;
};

// Every test holds for the library's own store and for one that is derived from it.
class QxStoreAccessTest : public testing::TestWithParam<bool> {
protected:
    QxStoreAccessTest() {
        m_store->AppendProcessName(7, "a");
        m_store->AppendProcessName(9, "b");
        m_store->AppendCurrentProcess("a");
        IQxData::_HSCallLocation location;
        location.locId = 3;
        location.callerName = "SetVolume";
        location.args.argType = {"int"};
        location.args.argFlags = {1};
        location.args.argSize = {4};
        m_store->AppendCallLocation(location);
    }

    std::unique_ptr<IQxData> m_store =
        GetParam() ? std::unique_ptr<IQxData>(new QxData) : std::unique_ptr<IQxData>(new CountingStore);
};

}  // namespace

TEST_P(QxStoreAccessTest, FetchesTheLocationOfTheCurrentProcess) {
    std::optional<QxLocation> scratch;
    const QxLocation& location = QxStoreAccess(*m_store).Location(3, scratch);
    EXPECT_EQ(location.site.callerName, "SetVolume");
    EXPECT_EQ(location.atEntry.steps.size(), 1u);
}

TEST_P(QxStoreAccessTest, FetchesTheLocationOfAnyProcess) {
    std::optional<QxLocation> scratch;
    m_store->AppendCurrentProcess("b");
    EXPECT_EQ(QxStoreAccess(*m_store).Location(3, 7, scratch).site.callerName, "SetVolume");
    EXPECT_EQ(QxStoreAccess(*m_store).Location(3, 9, scratch).site.locId, 0u);
    EXPECT_EQ(QxStoreAccess(*m_store).Location(3, scratch).site.locId, 0u);
}

TEST_P(QxStoreAccessTest, StoresAnEmptyLocationForAnUnknownOne) {
    std::optional<QxLocation> scratch;
    EXPECT_EQ(QxStoreAccess(*m_store).Location(4, scratch).site.locId, 0u);
    EXPECT_TRUE(QxStoreAccess(*m_store).Location(4, scratch).always.steps.empty());
}

TEST_P(QxStoreAccessTest, FetchesDescriptors) {
    IQxData::_HSCompArgDesc point;
    point.memberNames = {"x", "y"};
    m_store->AppendCompArgDesc("Point", point);
    std::optional<IQxData::_HSCompArgDesc> scratch;
    scratch.emplace().memberNames = {"left over"};
    EXPECT_EQ(QxStoreAccess(*m_store).Descriptor("Point", scratch).memberNames, (std::vector<std::string>{"x", "y"}));
    EXPECT_TRUE(QxStoreAccess(*m_store).Descriptor("Unknown", scratch).memberNames.empty());
}

TEST_P(QxStoreAccessTest, StoresCalls) {
    const QxStoreAccess access(*m_store);
    std::optional<IQxData::HSCall> scratch;
    IQxData::HSCall& call = access.NewCall(scratch);
    call.time = 5;
    call.args.in = {{{"", "v"}}};
    EXPECT_EQ(access.AddCall(call), 5000u);
    EXPECT_EQ(m_store->GetCallIMap()->at(5000).args.in[0][0].second, "v");
}

TEST_P(QxStoreAccessTest, ChangesCalls) {
    IQxData::HSCall call;
    call.time = 5;
    m_store->AppendBeforeCall(call);
    std::optional<IQxData::HSCall> scratch;
    IQxData::HSCall& fetched = QxStoreAccess(*m_store).Call(5000, scratch);
    EXPECT_EQ(fetched.time, 5u);
    fetched.exitTime = 6;
    QxStoreAccess(*m_store).StoreChanged(5000, fetched);
    EXPECT_EQ(m_store->GetCallIMap()->at(5000).exitTime, 6u);
}

TEST_P(QxStoreAccessTest, ThrowsForAnUnknownCall) {
    std::optional<IQxData::HSCall> scratch;
    try {
        QxStoreAccess(*m_store).Call(1, scratch);
        ADD_FAILURE() << "an unknown call was found";
    } catch (QxData::_PERR_TYPE error) {
        EXPECT_EQ(static_cast<int>(error), 2);
    }
}

INSTANTIATE_TEST_SUITE_P(Stores, QxStoreAccessTest, testing::Bool(),
                         [](const auto& store) { return store.param ? "Own" : "Derived"; });

TEST(QxStoreAccess, ReadsADerivedStoreThroughItsOperations) {
    CountingStore store;
    std::optional<QxLocation> location;
    std::optional<IQxData::_HSCompArgDesc> desc;
    std::optional<IQxData::HSCall> call;
    const QxStoreAccess access(store);
    access.AddCall(access.NewCall(call));
    access.Location(1, location);
    access.Location(1, 2, location);
    access.Descriptor("t", desc);
    access.Call(0, call);
    EXPECT_EQ(store.reads,
              (std::vector<std::string>{"GetCallLocation", "GetCallLocationWithPID", "GetCompArgDesc", "GetCall"}));
}

TEST(QxStoreAccess, WritesADerivedStoreThroughItsOperations) {
    ListingStore store;
    std::optional<IQxData::HSCall> call;
    const QxStoreAccess access(store);
    const unsigned long long key = access.AddCall(access.NewCall(call));
    access.StoreChanged(key, *call);
    EXPECT_EQ(store.operations, (std::vector<std::string>{"AppendBeforeCall", "AppendAfterCall"}));
}

TEST(QxStoreAccess, HandsOutTheOwnStoresRecordsWithoutCopies) {
    QxData store;
    std::optional<QxLocation> location;
    std::optional<IQxData::_HSCompArgDesc> desc;
    std::optional<IQxData::HSCall> call;
    const QxStoreAccess access(store);
    access.AddCall(access.NewCall(call));
    access.Location(1, location);
    access.Location(1, 2, location);
    access.Descriptor("t", desc);
    EXPECT_EQ(&access.Call(0, call), &store.GetCallIMap()->at(0));
    EXPECT_FALSE(call || location || desc);
}
