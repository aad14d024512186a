// A tracker over a control of the test's own, whose time passes fast.
#pragma once

#include "QxLogTracker.h"

#include <dirent.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <boost/make_shared.hpp>
#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Diagnostics.h"
#include "DumpWriter.h"
#include "ExactBytes.h"
#include "Expose.h"
#include "FakeControl.h"
#include "Journal.h"
#include "NamedProcess.h"
#include "QxData.h"
#include "SystemCalls.h"
#include "VirtualSlots.h"
#include "dlog.h"

struct TrackerProcesses {
    friend constexpr auto Private(TrackerProcesses);
};
template struct Expose<TrackerProcesses, &QxLogTracker::m_processes>;
struct TrackerStore {
    friend constexpr auto Private(TrackerStore);
};
template struct Expose<TrackerStore, &QxLogTracker::m_instance>;
struct TrackerCallback {
    friend constexpr auto Private(TrackerCallback);
};
template struct Expose<TrackerCallback, &QxLogTracker::m_callback>;
struct TrackerFirstCycle {
    friend constexpr auto Private(TrackerFirstCycle);
};
template struct Expose<TrackerFirstCycle, &QxLogTracker::m_firstCycle>;
struct TrackerUnread {
    friend constexpr auto Private(TrackerUnread);
};
template struct Expose<TrackerUnread, &QxLogTracker::m_unread>;
struct TrackerDumpPause {
    friend constexpr auto Private(TrackerDumpPause);
};
template struct Expose<TrackerDumpPause, &QxLogTracker::m_dumpPause>;

using namespace dump;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;

using Names = std::vector<std::string>;

inline constexpr char kNoDump[] = "> m_instance is NULL";  // said by each later cycle that no dump was left for

inline Bytes Site() {
    return Persistent({Item(kLocation, Location(3).Name("SetVolume").Arg("int", kIn, 4))});
}

// A dump with a call SetVolume(value) for each value.
inline Bytes Calls(const std::vector<int>& values) {
    Bytes stream;
    for (const int value : values) {
        stream += StreamItem(kBefore, Before(105, 3, Int(value, 4))) + StreamItem(kAfter, After(2));
    }
    return Site() + Thread(5, stream);
}

inline std::string Action(const std::string& event, const std::string& attributes = std::string()) {
    return "<action name='" + event + "' " + attributes + "><method name='SetVolume'/><event name='" + event +
           "' tag='IN' value='0' type='INT'/></action>";
}

inline std::string Scenario(const std::string& content) {
    return "<Scenario>" + content + "</Scenario>";
}

inline int Load(IQxLogTracker& tracker, const std::string& script) {
    ExactBytes bytes(script);
    return tracker.ParseScript(bytes.Pair());
}

// Collects what the callback is given; a test may act from inside it.
class Client final {
public:
    static int OnEvent(std::string name, std::string value, IQxData::HSCall call, void* context) {
        static_cast<Client*>(context)->Collect(name + "=" + value, call);
        return 0;
    }

    bool WaitFor(std::size_t count) {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_added.wait_for(lock, std::chrono::seconds(20), [&] { return m_events.size() >= count; });
    }
    Names Events() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_events;
    }
    IQxData::HSCall LastCall() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_lastCall;
    }

    std::function<void(const std::string& event)> act;  // after the event was collected

private:
    void Collect(const std::string& event, const IQxData::HSCall& call) {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_events.push_back(event);
            m_lastCall = call;
            m_added.notify_all();
        }
        if (act) act(event);
    }

    std::mutex m_mutex;
    std::condition_variable m_added;
    Names m_events;              // guarded by m_mutex
    IQxData::HSCall m_lastCall;  // guarded by m_mutex
};

// A store that tells what the tracker does with it.
class TellingStore final : public QxData {
public:
    explicit TellingStore(Journal& journal) : m_journal(journal) {}

    void clear() override {
        m_journal.Add("clear");
        QxData::clear();
    }
    void AppendProcessName(unsigned short pid, std::string name) override {
        m_journal.Add("name " + name + " " + std::to_string(pid));
        QxData::AppendProcessName(pid, name);
    }
    void AppendCurrentProcess(std::string name) override {
        m_journal.Add("current " + name);
        QxData::AppendCurrentProcess(name);
    }
    unsigned long long AppendBeforeCall(HSCall& call) override {
        m_journal.Add("call of " + std::to_string(call.pid));
        return QxData::AppendBeforeCall(call);
    }

private:
    Journal& m_journal;
};

// A control that does what a test says.
class ScriptedControl final : public qx::IControl {
public:
    using Answer = std::function<bool(std::vector<char>& path, const std::string& process, bool first)>;
    explicit ScriptedControl(Answer answer) : m_answer(std::move(answer)) {}
    bool getQxBufferDump(std::vector<char>& path, const std::string& process, bool first) override {
        return m_answer(path, process, first);
    }

private:
    const Answer m_answer;
};

// Lets two workers use one control.
class LockedControl final : public qx::IControl {
public:
    bool getQxBufferDump(std::vector<char>& path, const std::string& process, bool first) override {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return control.getQxBufferDump(path, process, first);
    }

    FakeControl control;

private:
    std::mutex m_mutex;
};

// Time passes fast here: waits of the worker take a millisecond at most, pauses none.
class QxLogTrackerTest : public testing::Test {
protected:
    QxLogTrackerTest() {
        m_calls.semtimedop = [this](int semId, const sembuf& operation, const timespec& limit) {
            m_waits.Add(std::to_string(limit.tv_sec) + "." + std::to_string(limit.tv_nsec));
            return SystemCalls::SemTimedOp(semId, operation, {0, 1000000});
        };
        m_calls.usleep = [this](useconds_t us) {
            m_journal.Add("usleep " + std::to_string(us));
            return 0;
        };
        m_calls.nanosleep = [this](const timespec& asked, timespec&) {
            m_journal.Add("nanosleep " + std::to_string(asked.tv_sec) + "." + std::to_string(asked.tv_nsec));
            return 0;
        };
        SetControl(m_control);
    }
    ~QxLogTrackerTest() override {
        m_tracker.reset();
        SetControl(nullptr);
    }

    // A live process of that name, watched by the tracker.
    NamedProcess& Watch(const std::string& ending = "a") {
        m_live.push_back(std::make_unique<NamedProcess>(NamedProcess::UniqueName(ending)));
        std::string name = m_live.back()->Name();
        EXPECT_EQ(m_tracker->SetQxProcess(name), 1);
        return *m_live.back();
    }

    // Dumps of the process, one for each cycle.
    void AddDumps(const NamedProcess& process, const std::vector<Bytes>& dumps) {
        for (const Bytes& dump : dumps) m_control->Add(process.Name(), dump);
    }

    int Run() { return m_tracker->Run(Client::OnEvent, &m_client, 1); }

    // Waits until every dump that was added has been traced.
    static bool WaitForTheLastDump() { return RecordingLog::WaitFor(kNoDump); }

    // Watches one process with a scenario, and runs over the dumps to their end.
    void Track(const std::vector<Bytes>& dumps) {
        const NamedProcess& process = Watch();
        ASSERT_EQ(Load(*m_tracker, Scenario(Action("VOLUME"))), 1);
        AddDumps(process, dumps);
        ASSERT_EQ(Run(), 1);
        ASSERT_TRUE(WaitForTheLastDump());
    }

    template <typename Tag>
    auto& Of(Tag tag) {
        return *m_tracker.*Private(tag);
    }

    std::shared_ptr<TellingStore> UseTellingStore() {
        const auto store = std::make_shared<TellingStore>(m_journal);
        Of(TrackerStore()) = store;
        return store;
    }

    const Diagnostics m_diagnostics{Info};
    SystemCalls m_calls;
    Journal m_journal;
    Journal m_waits;  // of the semaphore, seconds.nanoseconds
    boost::shared_ptr<FakeControl> m_control = boost::make_shared<FakeControl>();
    std::vector<std::unique_ptr<NamedProcess>> m_live;
    Client m_client;
    std::unique_ptr<QxLogTracker> m_tracker = std::make_unique<QxLogTracker>(Info);
};

// The first of the processes in the order in which /proc lists them.
inline pid_t FirstInProc(const std::vector<pid_t>& pids) {
    DIR* const directory = opendir("/proc/");
    pid_t first = 0;
    while (const dirent* const entry = first != 0 ? nullptr : readdir(directory)) {
        const auto pid = static_cast<pid_t>(std::strtol(entry->d_name, nullptr, 10));
        if (std::count(pids.begin(), pids.end(), pid) != 0) first = pid;
    }
    closedir(directory);
    return first;
}
