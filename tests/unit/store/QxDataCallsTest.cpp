// Calls, threads, markers and events.
#include "QxDataFixture.h"

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

TEST_F(QxDataTest, ACallThatAClientTakesOutOfTheMapIsGone) {
    auto* const calls = m_store.GetCallIMap();
    Call call = CallAt(5);
    Call out;
    const unsigned long long key = m_store.AppendBeforeCall(call);
    calls->clear();
    EXPECT_EQ(Thrown([&] { m_store.GetCall(key, out); }), 2);
    m_store.NewCall().time = 7;
    const unsigned long long own = m_store.AddNewCall();
    EXPECT_EQ(m_store.Call(own).time, 7u);
    m_store.GetCallIMap()->clear();
    EXPECT_EQ(Thrown([&] { m_store.Call(own); }), 2);
}

TEST_F(QxDataTest, CallsStandInOrderHoweverTheirThreadsInterleave) {
    std::vector<unsigned long long> keys;
    for (const unsigned long long time : {1u, 4u, 7u, 2u, 5u, 8u, 3u, 6u, 9u}) {
        m_store.NewCall().time = time;
        EXPECT_EQ(m_store.Call(m_store.AddNewCall()).time, time);
    }
    for (const auto& entry : *m_store.GetCallIMap()) keys.push_back(entry.first / 1000);
    EXPECT_THAT(keys, ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9));
}

TEST_F(QxDataTest, ALocationIsFoundAsItIsNow) {
    m_store.clear();
    IQxData::_HSCallLocation location;
    location.locId = 3;
    location.callerName = "Old";
    m_store.AppendCallLocation(location);
    EXPECT_EQ(m_store.GetCallLocation(3).callerName, "Old");
    location.callerName = "New";
    m_store.AppendCallLocation(location);
    EXPECT_EQ(m_store.GetCallLocation(3).callerName, "New");
    EXPECT_EQ(m_store.GetCallLocation(4).callerName, "");
    EXPECT_EQ(m_store.GetCallLocation(3).callerName, "New");
    m_store.clear();
    EXPECT_EQ(m_store.GetCallLocation(3).callerName, "");
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
