// A store that holds one of everything.
#pragma once

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

using Call = IQxData::HSCall;
using testing::ElementsAre;
using testing::Pair;

template <typename Tag>
auto& Of(QxData& store, Tag tag) {
    return store.*Private(tag);
}

inline IQxData::_HSCallLocation Location(unsigned locId, const std::string& callerName = "SetVolume") {
    IQxData::_HSCallLocation location;
    location.locId = locId;
    location.callerName = callerName;
    return location;
}

inline Call CallAt(unsigned long long time) {
    Call call;
    call.time = time;
    return call;
}

inline IQxData::HSIThread Thread(unsigned short tid, const std::string& name) {
    IQxData::HSIThread thread;
    thread.pid = 1234;
    thread.tid = tid;
    thread.name = name;
    return thread;
}

inline void LoadScript(QxData& store, const std::string& top) {
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
