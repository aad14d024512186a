#include "QxDataFixture.h"

TEST_F(QxDataTest, StartsEmpty) {
    IQxData::_HSScript* slot = nullptr;
    m_store.GetScript(&slot);
    EXPECT_EQ(*slot, nullptr);
    EXPECT_EQ(m_store.GetCurrentThread(), 0);
    EXPECT_EQ(m_store.GetCurrentPID(), 0);
    EXPECT_EQ(m_store.GetLocationMarker(), 0u);
    EXPECT_TRUE(m_store.GetCallIMap()->empty());
    EXPECT_TRUE(Of(m_store, StoreEvents()).empty());
}

TEST_F(QxDataTest, ErrorsHaveTheirNumbers) {
    EXPECT_EQ(QxData::PERR_INVALID_TAG, 0);
    EXPECT_EQ(QxData::PERR_INVALID_SIZE, 1);
    EXPECT_EQ(QxData::PERR_CALL_NOT_FOUND, 2);
    EXPECT_EQ(QxData::PERR_THREAD_NOT_FOUND, 3);
}

TEST_F(QxDataTest, ClearEmptiesEverythingButTheScripts) {
    Fill();
    m_store.clear();
    EXPECT_TRUE(Of(m_store, StoreProcesses()).empty());
    EXPECT_THAT(Of(m_store, StoreHeaderTexts()), ElementsAre("", "", "", "", ""));
    EXPECT_TRUE(Of(m_store, StoreEvents()).empty());
    EXPECT_TRUE(Of(m_store, StoreLocations()).empty());
    EXPECT_TRUE(m_store.GetCallIMap()->empty());
    EXPECT_TRUE(Of(m_store, StoreDescriptors()).empty());
    EXPECT_TRUE(Of(m_store, StoreThreads()).empty());
    EXPECT_TRUE(Of(m_store, StoreThreadTimes()).empty());
    EXPECT_EQ(m_store.GetLocationMarker(), 0u);
    EXPECT_EQ(m_store.GetCurrentThread(), 0);
    IQxData::_HSScript* slot = nullptr;
    m_store.GetScript(&slot);
    ASSERT_NE(*slot, nullptr);
    EXPECT_EQ((*slot)->name, "Scenario");
}

TEST_F(QxDataTest, ClearForgetsTheCurrentProcess) {
    Fill();
    m_store.clear();
    EXPECT_EQ(m_store.GetCurrentPID(), 0);
    m_store.AppendProcessName(7, "a");
    EXPECT_EQ(m_store.GetCurrentPID(), 0);
}

TEST_F(QxDataTest, ClearCallsEmptiesCallsAndEventsOnly) {
    Fill();
    m_store.clearCalls();
    EXPECT_TRUE(m_store.GetCallIMap()->empty());
    EXPECT_TRUE(Of(m_store, StoreEvents()).empty());
    EXPECT_EQ(m_store.GetCurrentPID(), 7);
    EXPECT_THAT(Of(m_store, StoreHeaderTexts()), ElementsAre("1", "2", "3", "4", "5"));
    EXPECT_EQ(m_store.GetCallLocation(3).callerName, "SetVolume");
    EXPECT_EQ(Of(m_store, StoreDescriptors()).count("Point"), 1u);
    EXPECT_EQ(m_store.GetThread(4).name, "main");
    EXPECT_EQ(m_store.GetThreadTime(), 100u);
    EXPECT_EQ(m_store.GetCurrentThread(), 4);
    EXPECT_EQ(m_store.GetLocationMarker(), 5000u);
    IQxData::_HSScript* slot = nullptr;
    m_store.GetScript(&slot);
    EXPECT_NE(*slot, nullptr);
}

TEST_F(QxDataTest, HeaderKeepsTheSecondToSixthText) {
    m_store.AppendHeader(9, "process", "qx", "build", "model", "extra1", "extra2");
    EXPECT_THAT(Of(m_store, StoreHeaderTexts()), ElementsAre("qx", "build", "model", "extra1", "extra2"));
    m_store.AppendHeader(9, "process", "", "b", "", "e", "");
    EXPECT_THAT(Of(m_store, StoreHeaderTexts()), ElementsAre("", "b", "", "e", ""));
}

TEST_F(QxDataTest, FirstRegistrationOfANameWins) {
    m_store.AppendProcessName(10, "a");
    m_store.AppendProcessName(20, "a");
    m_store.AppendProcessName(30, "b");
    EXPECT_THAT(Of(m_store, StoreProcesses()), ElementsAre(Pair("a", 10), Pair("b", 30)));
    m_store.AppendCurrentProcess("a");
    EXPECT_EQ(m_store.GetCurrentPID(), 10);
}

TEST_F(QxDataTest, CurrentPIDFollowsTheCurrentName) {
    m_store.AppendProcessName(10, "a");
    m_store.AppendProcessName(65535, "b");
    m_store.AppendCurrentProcess("a");
    EXPECT_EQ(m_store.GetCurrentPID(), 10);
    m_store.AppendCurrentProcess("b");
    EXPECT_EQ(m_store.GetCurrentPID(), 65535);
    m_store.AppendCurrentProcess("c");
    EXPECT_EQ(m_store.GetCurrentPID(), 0);
}

TEST_F(QxDataTest, CurrentPIDIsKnownOnceTheNameIsRegistered) {
    m_store.AppendCurrentProcess("a");
    EXPECT_EQ(m_store.GetCurrentPID(), 0);
    m_store.AppendProcessName(10, "a");
    EXPECT_EQ(m_store.GetCurrentPID(), 10);
}

TEST_F(QxDataTest, AnotherScriptTakesThePlaceOfTheLoadedOne) {
    LoadScript(m_store, "Scenario");
    IQxData::_HSScript* slot = nullptr;
    m_store.GetScript(&slot);
    IQxData::_HSScriptPtr* const loaded = *slot;
    EXPECT_TRUE(m_store.IsFirstReport(*loaded));
    EXPECT_FALSE(m_store.IsFirstReport(*loaded));
    auto next = std::make_unique<IQxData::_HSScriptPtr>();
    IQxData::_HSScriptPtr* const other = next.get();
    const std::unique_ptr<IQxData::_HSScriptPtr> old = m_store.ExchangeScript(std::move(next));
    EXPECT_EQ(old.get(), loaded);
    EXPECT_EQ(*slot, other);
    EXPECT_TRUE(m_store.IsFirstReport(*loaded)) << "another element may come to lie there";
}

TEST_F(QxDataTest, TheWholeScriptIsExchangedAfterALoadThatFailed) {
    IQxData::_HSScript* slot = nullptr;
    m_store.GetScript(&slot);
    auto top = std::make_unique<IQxData::_HSScriptPtr>();
    *slot = new IQxData::_HSScriptPtr;
    (*slot)->parent = top.get();
    top->children.push_back(*slot);
    IQxData::_HSScriptPtr* const opened = top.release();
    EXPECT_EQ(m_store.ExchangeScript(nullptr).get(), opened);
    EXPECT_EQ(*slot, nullptr);
}

TEST_F(QxDataTest, ScriptSlotIsHandedOutTwice) {
    IQxData::_HSScript* out = nullptr;
    IQxData::_HSScript* const returned = m_store.GetScript(&out);
    ASSERT_NE(returned, nullptr);
    EXPECT_EQ(returned, out);
    LoadScript(m_store, "Scenario");
    EXPECT_EQ((*returned)->name, "Scenario");
    EXPECT_EQ(m_store.GetScript(&out), returned);
}

// A script that could not be loaded to its end leaves the slot below the top element.
TEST(QxData, FreesTheWholeTreeWhereverTheSlotStands) {
    constexpr std::size_t kMiB = 1 << 20;
    const std::size_t before = HeldBytes();
    {
        QxData store;
        LoadScript(store, std::string(kMiB, 'x'));
        IQxData::_HSScript* slot = nullptr;
        store.GetScript(&slot);
        for (int depth = 0; depth < 2; ++depth) {
            auto* const child = new IQxData::_HSScriptPtr;
            child->name.assign(kMiB, 'y');
            child->parent = *slot;
            (*slot)->children.push_back(child);
            *slot = child;
        }
    }
    EXPECT_LT(HeldBytes(), before + kMiB / 2);
}

TEST_F(QxDataTest, LocationsAreKeptByProcessAndNumber) {
    m_store.AppendProcessName(7, "a");
    m_store.AppendCurrentProcess("a");
    IQxData::_HSCallLocation location = Location(3);
    m_store.AppendCallLocation(location);
    EXPECT_EQ(Of(m_store, StoreLocations()).count(70003), 1u);
    EXPECT_EQ(m_store.GetCallLocation(3).callerName, "SetVolume");
    EXPECT_EQ(m_store.GetCallLocationWithPID(3, 7).callerName, "SetVolume");
    EXPECT_EQ(m_store.GetCallLocation(4).locId, 0u);
    ASSERT_EQ(Of(m_store, StoreLocations()).count(70004), 1u);
    EXPECT_EQ(Of(m_store, StoreLocations()).at(70004).site.locId, 0u);
    EXPECT_EQ(m_store.GetCallLocationWithPID(3, 8).locId, 0u);
    EXPECT_EQ(Of(m_store, StoreLocations()).count(80003), 1u);
}

TEST_F(QxDataTest, LocationsOfAnUnregisteredProcessBelongToIdZero) {
    m_store.AppendCurrentProcess("unknown");
    IQxData::_HSCallLocation location = Location(3);
    m_store.AppendCallLocation(location);
    EXPECT_EQ(Of(m_store, StoreLocations()).count(3), 1u);
    EXPECT_EQ(m_store.GetCallLocationWithPID(3, 0).locId, 3u);
}

TEST_F(QxDataTest, ALaterLocationReplacesTheEarlierOne) {
    IQxData::_HSCallLocation location = Location(3, "First");
    m_store.AppendCallLocation(location);
    location.callerName = "Second";
    m_store.AppendCallLocation(location);
    EXPECT_EQ(m_store.GetCallLocation(3).callerName, "Second");
    EXPECT_EQ(Of(m_store, StoreLocations()).size(), 1u);
}

TEST_F(QxDataTest, LocationsAreCopied) {
    IQxData::_HSCallLocation location = Location(3, "First");
    m_store.AppendCallLocation(location);
    location.callerName = "changed";
    IQxData::_HSCallLocation read = m_store.GetCallLocation(3);
    EXPECT_EQ(read.callerName, "First");
    read.callerName = "changed";
    EXPECT_EQ(m_store.GetCallLocation(3).callerName, "First");
}

TEST_F(QxDataTest, LocationKeysWrapAt32Bits) {
    m_store.AppendProcessName(7, "a");
    m_store.AppendCurrentProcess("a");
    IQxData::_HSCallLocation location = Location(0xFFFFFFFF);
    m_store.AppendCallLocation(location);
    EXPECT_EQ(Of(m_store, StoreLocations()).count(69999), 1u);
    EXPECT_EQ(m_store.GetCallLocationWithPID(69999, 0).locId, 0xFFFFFFFF);
}

TEST_F(QxDataTest, DescriptorsAreKeptByTypeName) {
    IQxData::_HSCompArgDesc point;
    point.isContainer = 1;
    point.memberNames = {"x"};
    point.memberSizes = {4};
    point.memberTypes = {"int"};
    m_store.AppendCompArgDesc("Point", point);
    IQxData::_HSCompArgDesc out;
    m_store.GetCompArgDesc(out, "Point");
    EXPECT_EQ(out.isContainer, 1);
    EXPECT_THAT(out.memberNames, ElementsAre("x"));
    EXPECT_THAT(out.memberSizes, ElementsAre(4u));
    EXPECT_THAT(out.memberTypes, ElementsAre("int"));
}

TEST_F(QxDataTest, ALaterDescriptorReplacesTheEarlierOne) {
    IQxData::_HSCompArgDesc point;
    point.memberNames = {"x", "y"};
    m_store.AppendCompArgDesc("Point", point);
    point.memberNames = {"z"};
    m_store.AppendCompArgDesc("Point", point);
    IQxData::_HSCompArgDesc out;
    m_store.GetCompArgDesc(out, "Point");
    EXPECT_THAT(out.memberNames, ElementsAre("z"));
}

TEST_F(QxDataTest, AnUnknownDescriptorIsStoredEmpty) {
    IQxData::_HSCompArgDesc out;
    out.isContainer = 1;
    out.memberNames = {"left over"};
    m_store.GetCompArgDesc(out, "Unknown");
    EXPECT_EQ(out.isContainer, 0);
    EXPECT_TRUE(out.memberNames.empty());
    EXPECT_EQ(Of(m_store, StoreDescriptors()).count("Unknown"), 1u);
}
