// A worker whose hooks the test sets.
#pragma once

#include "QxTask.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Diagnostics.h"
#include "Expose.h"
#include "Journal.h"
#include "ReleaseFile.h"
#include "SystemCalls.h"
#include "VirtualSlots.h"
#include "dlog.h"

struct TaskExit {
    friend constexpr auto Private(TaskExit);
};
template struct Expose<TaskExit, &QxTask::m_exit>;
struct TaskRunning {
    friend constexpr auto Private(TaskRunning);
};
template struct Expose<TaskRunning, &QxTask::m_running>;
struct TaskSemaphore {
    friend constexpr auto Private(TaskSemaphore);
};
template struct Expose<TaskSemaphore, &QxTask::m_semId>;

using testing::ElementsAre;

inline constexpr int kNoLimit = -2;  // as 32 bits: the wait without limit, so that t_process does not run
inline constexpr int kTimedOut = 258;
inline constexpr int kTaken = 0;
inline constexpr int kFailed = -1;

// A task whose hooks a test sets; those that are not set do what QxTask does.
class ProbeTask final : public QxTask {
public:
    ~ProbeTask() override { End(); }

    void End() {
        Destroy();
        Reap();
    }

    int t_Create() override { return onCreate ? onCreate() : QxTask::t_Create(); }
    int t_process() override { return onProcess ? onProcess() : QxTask::t_process(); }
    int t_onEvent(QxEvent event) override { return onEvent ? onEvent(event) : QxTask::t_onEvent(event); }
    int t_Destroy() override { return onDestroy ? onDestroy() : QxTask::t_Destroy(); }

    using QxTask::m_Idle;
    using QxTask::m_ResetEvent;
    using QxTask::m_RetrieveEvent;
    using QxTask::SetEvent;
    using QxTask::WaitForCreate;
    using QxTask::WaitForSingleObject;

    std::function<int()> onCreate;
    std::function<int()> onProcess;
    std::function<int(const QxEvent&)> onEvent;
    std::function<int()> onDestroy;
};

struct Entry {
    int priority;
    std::string function;
    std::string message;
};

inline bool operator==(const Entry& one, const Entry& other) {
    return one.priority == other.priority && one.function == other.function && one.message == other.message;
}

inline void PrintTo(const Entry& entry, std::ostream* out) {
    *out << entry.priority << ' ' << entry.function << ": " << entry.message;
}

// The lines that name one of the functions.
inline std::vector<Entry> EntriesOf(const std::vector<std::string>& functions) {
    std::vector<Entry> entries;
    for (const RecordingLog::Line& line : RecordingLog::Lines()) {
        if (std::count(functions.begin(), functions.end(), line.Function()) == 0) continue;
        entries.push_back({line.priority, line.Function(), line.Message()});
    }
    return entries;
}

inline QxEvent Event(std::uint32_t id) {
    QxEvent event;
    event.id = id;
    return event;
}

template <typename Condition>
void SpinUntil(Condition condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!condition() && std::chrono::steady_clock::now() < end) std::this_thread::yield();
    ASSERT_TRUE(condition());
}

class QxTaskTest : public testing::Test {
protected:
    struct Wait {
        int semId;
        sembuf operation;
        timespec limit;
    };

    QxTaskTest() {
        m_calls.semtimedop = [this](int semId, const sembuf& operation, const timespec& limit) {
            {
                const std::lock_guard<std::mutex> lock(m_mutex);
                m_waits.push_back({semId, operation, limit});
            }
            const bool creators = (limit.tv_sec == 2 && limit.tv_nsec == 0) || limit.tv_nsec == 500000000;
            return creators ? WaitForWorker(semId, operation) : SystemCalls::SemTimedOp(semId, operation, limit);
        };
    }

    // The creator's wait, ended as soon as its end is clear: whether it takes the worker's signal is a matter of luck.
    int WaitForWorker(int semId, const sembuf& operation) {
        if (onCreatorsWait) onCreatorsWait();
        for (int waited = 0; waited < 20000; ++waited) {
            if (SystemCalls::SemTimedOp(semId, operation, {0, 1000000}) == 0) return 0;
            if (errno != EAGAIN || !waitsForRunning || m_task.IsRunning() || !m_task.HasThread()) return -1;
        }
        return -1;
    }

    std::vector<Wait> Waits() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_waits;
    }

    static int NewSemaphore() { return semget(IPC_PRIVATE, 1, IPC_CREAT | 0600); }

    std::string Address() const {
        char text[32];
        std::snprintf(text, sizeof text, "%p", static_cast<const void*>(&m_task));
        return text;
    }

    // What lines about the thread end with.
    std::string OfThread(const std::string& name) {
        return " thName : " + name + ", semId : " + std::to_string(Waits().at(0).semId) +
               ", thId : " + std::to_string(m_task.Pid());
    }

    // Starts a worker that works off events only.
    void Start() { m_task.Create("probe", kNoLimit, 0); }

    // A worker that is held in its first event until Release.
    void StartHeld() {
        m_task.onEvent = [this](const QxEvent& event) {
            m_journal.Add("event " + std::to_string(event.id));
            SpinUntil([this] { return m_released.load(); });
            return 1;
        };
        Start();
        QxEvent event = Event(1);
        ASSERT_EQ(m_task.SendEvent(event), 1);
        ASSERT_TRUE(m_journal.WaitFor(1));
    }
    void Release() { m_released = true; }

    const Diagnostics m_diagnostics{Info};
    SystemCalls m_calls;
    std::function<void()> onCreatorsWait;
    std::atomic<bool> waitsForRunning{true};
    Journal m_journal;
    std::atomic<bool> m_released{false};
    std::mutex m_mutex;
    std::vector<Wait> m_waits;  // guarded by m_mutex
    ProbeTask m_task;           // the last one: its worker uses all others
};
