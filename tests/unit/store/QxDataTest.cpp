#include "QxData.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <new>
#include <string>
#include <vector>

#include "Expose.h"
#include "HeldBytes.h"
#include "SystemCalls.h"

// Parts of the store that no operation reads back.
struct StoreProcesses {
    friend constexpr auto Private(StoreProcesses);
};
template struct Expose<StoreProcesses, &QxData::m_processes>;
struct StoreHeaderTexts {
    friend constexpr auto Private(StoreHeaderTexts);
};
template struct Expose<StoreHeaderTexts, &QxData::m_header>;
struct StoreLocations {
    friend constexpr auto Private(StoreLocations);
};
template struct Expose<StoreLocations, &QxData::m_locations>;
struct StoreDescriptors {
    friend constexpr auto Private(StoreDescriptors);
};
template struct Expose<StoreDescriptors, &QxData::m_descriptors>;
struct StoreThreadTimes {
    friend constexpr auto Private(StoreThreadTimes);
};
template struct Expose<StoreThreadTimes, &QxData::m_threadTimes>;
struct StoreThreads {
    friend constexpr auto Private(StoreThreads);
};
template struct Expose<StoreThreads, &QxData::m_threads>;
struct StoreEvents {
    friend constexpr auto Private(StoreEvents);
};
template struct Expose<StoreEvents, &QxData::m_Events>;

namespace {

using Call = IQxData::HSCall;
using testing::ElementsAre;
using testing::Pair;

template <typename Tag>
auto& Of(QxData& store, Tag tag) {
    return store.*Private(tag);
}

IQxData::_HSCallLocation Location(unsigned locId, const std::string& callerName = "SetVolume") {
    IQxData::_HSCallLocation location;
    location.locId = locId;
    location.callerName = callerName;
    return location;
}

Call CallAt(unsigned long long time) {
    Call call;
    call.time = time;
    return call;
}

IQxData::HSIThread Thread(unsigned short tid, const std::string& name) {
    IQxData::HSIThread thread;
    thread.pid = 1234;
    thread.tid = tid;
    thread.name = name;
    return thread;
}

void LoadScript(QxData& store, const std::string& top) {
    IQxData::_HSScript* slot = nullptr;
    store.GetScript(&slot);
    *slot = new IQxData::_HSScriptPtr;
    (*slot)->name = top;
}

// A store that holds one of everything, for the process a of id 7 and thread 4.
class QxDataTest : public testing::Test {
protected:
    void Fill() {
        m_store.AppendProcessName(7, "a");
        m_store.AppendCurrentProcess("a");
        m_store.AppendHeader(7, "process", "1", "2", "3", "4", "5");
        IQxData::_HSCallLocation location = Location(3);
        m_store.AppendCallLocation(location);
        m_store.AppendCompArgDesc("Point", {});
        m_store.SetCurrentThread(4);
        IQxData::HSIThread thread = Thread(4, "main");
        m_store.AppendThread(thread);
        m_store.SetThreadTime(100);
        Call call = CallAt(5);
        m_store.SetLocationMarker(m_store.AppendBeforeCall(call));
        m_store.AppendEvent("e", "v", call);
        LoadScript(m_store, "Scenario");
    }

    QxData m_store;
};

// What a statement throws of the decoding layer's errors, -1 for nothing.
template <typename Statement>
int Thrown(Statement statement) {
    try {
        statement();
    } catch (QxData::_PERR_TYPE error) {
        return static_cast<int>(error);
    }
    return -1;
}

}  // namespace

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

TEST_F(QxDataTest, CallKeysAreMadeOfTimeAndCount) {
    Call call = CallAt(5);
    EXPECT_EQ(m_store.AppendBeforeCall(call), 5000u);
    EXPECT_EQ(m_store.AppendBeforeCall(call), 5001u);
    call.time = 3;
    EXPECT_EQ(m_store.AppendBeforeCall(call), 3002u);
    std::vector<unsigned long long> keys;
    for (const auto& entry : *m_store.GetCallIMap()) keys.push_back(entry.first);
    EXPECT_THAT(keys, ElementsAre(3002, 5000, 5001));
}

TEST_F(QxDataTest, CallKeysRepeatAfterAThousandCalls) {
    for (unsigned i = 0; i < 1000; ++i) {
        Call call = CallAt(5);
        EXPECT_EQ(m_store.AppendBeforeCall(call), 5000u + i);
    }
    Call last = CallAt(5);
    last.tid = 9;
    EXPECT_EQ(m_store.AppendBeforeCall(last), 5000u);
    EXPECT_EQ(m_store.GetCallIMap()->size(), 1000u);
    EXPECT_EQ(m_store.GetCallIMap()->at(5000).tid, 9);
}

TEST_F(QxDataTest, CallKeysWrapAt64Bits) {
    Call call = CallAt(UINT64_MAX);
    EXPECT_EQ(m_store.AppendBeforeCall(call), std::uint64_t{0} - 1000);
}

TEST_F(QxDataTest, CallsAreCopied) {
    Call call = CallAt(5);
    call.args.in = {{{"", "v"}}};
    const unsigned long long key = m_store.AppendBeforeCall(call);
    EXPECT_EQ(call.args.in.size(), 1u);
    call.args.in[0][0].second = "changed";
    Call read;
    m_store.GetCall(key, read);
    EXPECT_EQ(read.args.in[0][0].second, "v");
    read.args.in.clear();
    m_store.GetCall(key, read);
    EXPECT_EQ(read.args.in.size(), 1u);
}

TEST_F(QxDataTest, AfterCallReplacesAKnownCall) {
    Call call = CallAt(5);
    const unsigned long long key = m_store.AppendBeforeCall(call);
    call.exitTime = 8;
    m_store.AppendAfterCall(key, call);
    EXPECT_EQ(m_store.GetCallIMap()->at(key).exitTime, 8u);
    EXPECT_EQ(m_store.GetCallIMap()->size(), 1u);
}

TEST_F(QxDataTest, AfterCallIgnoresAnUnknownKey) {
    Call call = CallAt(5);
    m_store.AppendAfterCall(5000, call);
    EXPECT_TRUE(m_store.GetCallIMap()->empty());
}

TEST_F(QxDataTest, UnknownCallThrows) {
    Call out;
    EXPECT_EQ(Thrown([&] { m_store.GetCall(1, out); }), 2);
}

TEST_F(QxDataTest, CallIMapIsTheStoresOwn) {
    ASSERT_NE(m_store.GetCallIMap(), nullptr);
    EXPECT_EQ(m_store.GetCallIMap(), m_store.GetCallIMap());
    m_store.GetCallIMap()->emplace(1, CallAt(9));
    Call out;
    m_store.GetCall(1, out);
    EXPECT_EQ(out.time, 9u);
}

TEST_F(QxDataTest, ThreadsBelongToTheCurrentProcess) {
    m_store.AppendProcessName(7, "a");
    m_store.AppendCurrentProcess("a");
    IQxData::HSIThread thread = Thread(4, "main");
    m_store.AppendThread(thread);
    EXPECT_EQ(thread.pid, 7);
    EXPECT_EQ(m_store.GetThread(4).pid, 7);
    EXPECT_EQ(m_store.GetThread(4).tid, 4);
    EXPECT_EQ(m_store.GetThread(4).name, "main");
}

TEST_F(QxDataTest, ThreadsOfOneIdShareAnEntry) {
    m_store.AppendProcessName(7, "a");
    m_store.AppendProcessName(9, "b");
    m_store.AppendCurrentProcess("a");
    IQxData::HSIThread thread = Thread(4, "of a");
    m_store.AppendThread(thread);
    m_store.AppendCurrentProcess("b");
    thread = Thread(4, "of b");
    m_store.AppendThread(thread);
    EXPECT_EQ(Of(m_store, StoreThreads()).size(), 1u);
    EXPECT_EQ(m_store.GetThread(4).pid, 9);
    EXPECT_EQ(m_store.GetThread(4).name, "of b");
}

TEST_F(QxDataTest, ThreadsOfAnUnregisteredProcessBelongToIdZero) {
    IQxData::HSIThread thread = Thread(4, "main");
    m_store.AppendThread(thread);
    EXPECT_EQ(m_store.GetThread(4).pid, 0);
}

TEST_F(QxDataTest, UnknownThreadThrows) {
    EXPECT_EQ(Thrown([&] { m_store.GetThread(4); }), 3);
    EXPECT_TRUE(Of(m_store, StoreThreads()).empty());
}

TEST_F(QxDataTest, EachThreadHasATimeBase) {
    m_store.SetCurrentThread(4);
    EXPECT_EQ(m_store.GetCurrentThread(), 4);
    EXPECT_EQ(m_store.GetThreadTime(), 0u);
    EXPECT_THAT(Of(m_store, StoreThreadTimes()), ElementsAre(Pair(4, 0)));
    m_store.SetThreadTime(UINT64_MAX);
    m_store.SetCurrentThread(5);
    m_store.ResetThreadTime();
    EXPECT_THAT(Of(m_store, StoreThreadTimes()), ElementsAre(Pair(4, UINT64_MAX), Pair(5, 0)));
    m_store.SetThreadTime(7);
    m_store.SetCurrentThread(4);
    EXPECT_EQ(m_store.GetThreadTime(), UINT64_MAX);
    m_store.ResetThreadTime();
    EXPECT_THAT(Of(m_store, StoreThreadTimes()), ElementsAre(Pair(4, 0), Pair(5, 7)));
}

TEST_F(QxDataTest, LocationMarkersAreAStack) {
    EXPECT_EQ(m_store.GetLocationMarker(), 0u);
    m_store.SetLocationMarker(1);
    m_store.SetLocationMarker(2);
    EXPECT_EQ(m_store.GetLocationMarker(), 2u);
    EXPECT_EQ(m_store.GetLocationMarker(), 1u);
    EXPECT_EQ(m_store.GetLocationMarker(), 0u);
}

TEST_F(QxDataTest, ResetEmptiesTheLocationMarkers) {
    m_store.SetLocationMarker(1);
    m_store.ResetLocationMarker();
    EXPECT_EQ(m_store.GetLocationMarker(), 0u);
}

TEST_F(QxDataTest, LocationMarkersKeepTheNewest1048576) {
    for (unsigned long long key = 1; key <= 1048577; ++key) m_store.SetLocationMarker(key);
    for (unsigned long long key = 1048577; key >= 2; --key) ASSERT_EQ(m_store.GetLocationMarker(), key);
    EXPECT_EQ(m_store.GetLocationMarker(), 0u);
}

TEST_F(QxDataTest, LocationMarkersKeepAll1048576) {
    for (unsigned long long key = 1; key <= 1048576; ++key) m_store.SetLocationMarker(key);
    for (unsigned long long key = 1048576; key >= 1; --key) ASSERT_EQ(m_store.GetLocationMarker(), key);
}

TEST(QxData, ReadGivesTheTextBehindItsLength) {
    std::string out = "left over";
    EXPECT_EQ(QxData::Read("\x03"
                           "abcd",
                           out),
              4u);
    EXPECT_EQ(out, "abc");
    EXPECT_EQ(QxData::Read("\0rest", out), 1u);
    EXPECT_EQ(out, "");
    const std::string longer(200, '\xFF');
    EXPECT_EQ(QxData::Read(("\xC8\x01" + longer).c_str(), out), 202u);
    EXPECT_EQ(out, longer);
}

TEST_F(QxDataTest, EventsAreKeptByNameInFiringOrder) {
    m_store.AppendEvent("b", "1", CallAt(1));
    m_store.AppendEvent("a", "2", CallAt(2));
    m_store.AppendEvent("b", "3", CallAt(3));
    const auto& events = Of(m_store, StoreEvents());
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(events.begin()->first, "a");
    ASSERT_EQ(events.at("b").size(), 2u);
    EXPECT_EQ(events.at("b")[0].first, "1");
    EXPECT_EQ(events.at("b")[0].second.time, 1u);
    EXPECT_EQ(events.at("b")[1].first, "3");
    EXPECT_EQ(events.at("b")[1].second.time, 3u);
}

TEST_F(QxDataTest, EqualEventsAreKeptEach) {
    m_store.AppendEvent("a", "1", CallAt(1));
    m_store.AppendEvent("a", "1", CallAt(1));
    EXPECT_EQ(Of(m_store, StoreEvents()).at("a").size(), 2u);
}

TEST_F(QxDataTest, AnEmptyEventNameIsAName) {
    m_store.AppendEvent("", "", CallAt(1));
    EXPECT_EQ(Of(m_store, StoreEvents()).at("").size(), 1u);
}

TEST_F(QxDataTest, EventsHoldWholeCalls) {
    Call call = CallAt(1);
    call.pid = 2;
    call.args.in = {{{"n", "in"}}};
    call.args.out = {{{"n", "out"}}};
    call.args.ret = {{{"n", "ret"}}};
    m_store.AppendEvent("a", "1", call);
    call.args.in[0][0].second = "changed";
    const Call& kept = Of(m_store, StoreEvents()).at("a")[0].second;
    EXPECT_EQ(kept.pid, 2);
    EXPECT_THAT(kept.args.in, ElementsAre(ElementsAre(Pair("n", "in"))));
    EXPECT_THAT(kept.args.out, ElementsAre(ElementsAre(Pair("n", "out"))));
    EXPECT_THAT(kept.args.ret, ElementsAre(ElementsAre(Pair("n", "ret"))));
}

TEST_F(QxDataTest, EventsStayAsTheyWereWhenMemoryRunsOut) {
    m_store.AppendEvent("old", "1", CallAt(1));
    SystemCalls calls;
    int failures = 0;
    for (;; ++failures) {
        calls.allocationsLeft = failures;
        try {
            m_store.AppendEvent("new", "2", CallAt(2));
            break;
        } catch (const std::bad_alloc&) {
            ASSERT_EQ(Of(m_store, StoreEvents()).size(), 1u) << failures;
            ASSERT_EQ(Of(m_store, StoreEvents()).at("old").size(), 1u) << failures;
        }
    }
    calls.allocationsLeft = -1;
    EXPECT_GE(failures, 2);
    EXPECT_EQ(Of(m_store, StoreEvents()).at("new").size(), 1u);
}
