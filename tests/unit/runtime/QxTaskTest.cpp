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

namespace {

using testing::ElementsAre;

constexpr int kNoLimit = -2;  // as 32 bits: the wait without limit, so that t_process does not run
constexpr int kTimedOut = 258;
constexpr int kTaken = 0;
constexpr int kFailed = -1;

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

bool operator==(const Entry& one, const Entry& other) {
    return one.priority == other.priority && one.function == other.function && one.message == other.message;
}

void PrintTo(const Entry& entry, std::ostream* out) {
    *out << entry.priority << ' ' << entry.function << ": " << entry.message;
}

// The lines that name one of the functions.
std::vector<Entry> EntriesOf(const std::vector<std::string>& functions) {
    std::vector<Entry> entries;
    for (const RecordingLog::Line& line : RecordingLog::Lines()) {
        if (std::count(functions.begin(), functions.end(), line.Function()) == 0) continue;
        entries.push_back({line.priority, line.Function(), line.Message()});
    }
    return entries;
}

QxEvent Event(std::uint32_t id) {
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

}  // namespace

TEST_F(QxTaskTest, OperationsStandInTheirOrder) {
    EXPECT_THAT(SlotsOf(&QxTask::t_Create, &QxTask::t_process, &QxTask::t_onEvent, &QxTask::t_Destroy),
                ElementsAre(2u, 3u, 4u, 5u));
}

TEST_F(QxTaskTest, AnEventIsFourWords) {
    EXPECT_EQ(sizeof(QxEvent), 16u);
    EXPECT_EQ(QxEvent().id, 0u);
}

TEST_F(QxTaskTest, SaysEachStepOfItsLife) {
    EXPECT_EQ(m_task.Create("probe", kNoLimit, 4096), 1);
    m_task.Destroy();
    EXPECT_THAT(EntriesOf({"Create", "WaitForCreate", "Destroy", "m_ThreadJoin"}),
                ElementsAre(Entry{DLOG_ERROR, "Create", "Create.. probe"},
                            Entry{DLOG_INFO, "Create", "QxTask::Create - " + Address()},
                            Entry{DLOG_INFO, "WaitForCreate", "QxTask::WaitForCreate - " + Address() + ", delay:2000"},
                            Entry{DLOG_INFO, "Create", "Created[" + Address() + "] -- ret : 1"},
                            Entry{DLOG_INFO, "Destroy", "Destroy"},
                            Entry{DLOG_INFO, "m_ThreadJoin", "2. m_ThreadJoin [result : 0] - " + Address()},
                            Entry{DLOG_INFO, "Destroy", "3. Destroyed - " + Address()}));
    const std::string pid = std::to_string(m_task.Pid());
    EXPECT_THAT(EntriesOf({"_Process", "ThreadRun", "Loop", "t_Create", "t_Destroy"}),
                ElementsAre(Entry{DLOG_ERROR, "_Process", "_Process probe"},
                            Entry{DLOG_INFO, "ThreadRun", "ThreadRun1 - " + Address() + ", " + pid},
                            Entry{DLOG_INFO, "ThreadRun", "ThreadRun2 - " + Address()},
                            Entry{DLOG_INFO, "ThreadRun", "ThreadRun3 - " + Address()},
                            Entry{DLOG_ERROR, "Loop", "Loop.." + OfThread("probe")},
                            Entry{DLOG_ERROR, "t_Create", "t_Create_" + OfThread("probe")},
                            Entry{DLOG_ERROR, "t_Destroy", "t_Destroy_" + OfThread("probe")}));
}

TEST_F(QxTaskTest, WritesItsLinesWhateverTheLevel) {
    QxDebugPrint::GetInstance()->SetLevel(Silent);
    Start();
    QxEvent event = Event(7);
    m_task.SendEvent(event);
    m_task.Destroy();
    for (const char* function : {"Create", "WaitForCreate", "SendEvent", "Destroy", "m_ThreadJoin", "_Process",
                                 "ThreadRun", "Loop", "m_Idle", "t_Create", "t_Destroy"}) {
        EXPECT_FALSE(EntriesOf({function}).empty()) << function;
    }
    for (const RecordingLog::Line& line : RecordingLog::Lines()) {
        EXPECT_EQ(line.tag, "QXLT");
        EXPECT_EQ(line.text.rfind("QX_LOG_TRACKER: " + line.Function() + "(", 0), 0u) << line.text;
    }
    EXPECT_TRUE(EntriesOf({"m_Print"}).empty());
}

TEST_F(QxTaskTest, SaysEachPass) {
    m_task.onEvent = [this](const QxEvent&) {
        m_journal.Add("event");
        return 1;
    };
    Start();
    QxEvent event = Event(7);
    m_task.SendEvent(event);
    ASSERT_TRUE(m_journal.WaitFor(1));
    m_task.Destroy();
    const std::vector<Entry> entries = EntriesOf({"m_Idle"});
    const Entry signalled{DLOG_ERROR, "m_Idle", "Get Signal" + OfThread("probe")};
    const Entry done{DLOG_ERROR, "m_Idle", "m_Idle return true.." + OfThread("probe")};
    ASSERT_GE(entries.size(), 3u);
    for (std::size_t i = 0; i + 1 < entries.size(); ++i) EXPECT_EQ(entries[i], i % 2 == 0 ? signalled : done);
    EXPECT_EQ(entries.back(), signalled);
    EXPECT_GE(RecordingLog::Count("m_RetrieveEvent..1", DLOG_INFO), 1);
}

TEST_F(QxTaskTest, NamesItsThread) {
    Start();
    std::string name;
    std::getline(std::ifstream("/proc/self/task/" + std::to_string(m_task.Pid()) + "/comm"), name);
    EXPECT_EQ(name, "probe");
    EXPECT_STREQ(m_task.Name(), "probe");
}

TEST_F(QxTaskTest, CutsNamesAt11Characters) {
    m_calls.nameThread = [this](const char* name) {
        m_journal.Add(name);
        return 0;
    };
    for (const char* name : {"12345678901", "123456789012", "1234567890123456789"}) {
        m_task.Create(name, kNoLimit, 0);
        EXPECT_STREQ(m_task.Name(), "12345678901");
        m_task.End();
    }
    EXPECT_THAT(m_journal.All(), ElementsAre("12345678901", "12345678901", "12345678901"));
    EXPECT_EQ(RecordingLog::Count("Create.. 12345678901", DLOG_ERROR), 3);
    EXPECT_EQ(RecordingLog::Count("_Process 12345678901", DLOG_ERROR), 3);
}

TEST_F(QxTaskTest, LeavesAThreadWithoutANameAsItIs) {
    m_calls.nameThread = [this](const char* name) {
        m_journal.Add(name);
        return 0;
    };
    EXPECT_EQ(m_task.Create(nullptr, kNoLimit, 0), 1);
    EXPECT_EQ(EntriesOf({"Create"}).at(0), (Entry{DLOG_ERROR, "Create", "Create.."}));
    EXPECT_EQ(RecordingLog::Count("_Process ", DLOG_ERROR), 1);
    m_task.End();
    EXPECT_EQ(m_task.Create("", kNoLimit, 0), 1);
    EXPECT_EQ(RecordingLog::Count("Create.. ", DLOG_ERROR), 1);
    m_task.End();
    EXPECT_TRUE(m_journal.All().empty());
    EXPECT_STREQ(m_task.Name(), "");
}

TEST_F(QxTaskTest, EndsWithoutItsLoopWhenTheThreadCannotBeNamed) {
    const ReleaseFile release(ReleaseFile::State::File);
    if (!release.Done()) GTEST_SKIP() << "assertions cannot be made harmless";
    m_calls.nameThread = [](const char*) { return -1; };
    m_task.onCreate = [this] {
        m_journal.Add("create");
        return 1;
    };
    QxDebugPrint::GetInstance()->SetLevel(Fatal);
    EXPECT_EQ(m_task.Create("probe", kNoLimit, 0), 1);
    m_task.Reap();
    EXPECT_EQ(RecordingLog::Count("ASSERT!\n", DLOG_ERROR), 1);
    EXPECT_EQ(RecordingLog::Count("Created[" + Address() + "] -- ret : 0", DLOG_INFO), 1);
    EXPECT_EQ(RecordingLog::Count("2. m_ThreadJoin [result : 0] - " + Address(), DLOG_INFO), 1);
    EXPECT_EQ(EntriesOf({"ThreadRun"}).size(), 2u);
    EXPECT_TRUE(EntriesOf({"Loop"}).empty());
    EXPECT_TRUE(m_journal.All().empty());
    EXPECT_FALSE(m_task.IsRunning());
}

TEST_F(QxTaskTest, AFailureToNameTheThreadIsFatalOnDevelopmentSystems) {
    const ReleaseFile release(ReleaseFile::State::Missing);
    if (!release.Done()) GTEST_SKIP() << "assertions cannot be made to end the process";
    m_calls.nameThread = [this](const char*) {
        m_calls.RemoveSemaphores();
        return -1;
    };
    const auto live = [this] {
        m_task.Create("probe", kNoLimit, 0);
        m_task.Reap();
    };
    EXPECT_EXIT(live(), testing::KilledBySignal(SIGABRT), "");
}

TEST_F(QxTaskTest, KnowsItsThreadId) {
    EXPECT_EQ(m_task.Pid(), -1);
    int threadId = 0;
    m_task.onCreate = [&] {
        threadId = static_cast<int>(syscall(SYS_gettid));
        return 1;
    };
    Start();
    m_task.Destroy();
    EXPECT_EQ(m_task.Pid(), threadId);
    EXPECT_NE(threadId, static_cast<int>(syscall(SYS_gettid)));
    m_task.SetPid(9);
    EXPECT_EQ(m_task.Pid(), 9);
}

TEST_F(QxTaskTest, CallsItsHooksInOrder) {
    m_task.onCreate = [this] {
        m_journal.Add(m_task.IsRunning() ? "create, running" : "create");
        return 1;
    };
    m_task.onProcess = [this] {
        m_journal.Add(m_task.IsRunning() ? "process, running" : "process");
        return 0;
    };
    m_task.onDestroy = [this] {
        m_journal.Add(m_task.IsRunning() ? "destroy, running" : "destroy");
        return 1;
    };
    m_task.Create("probe", 1, 0);
    ASSERT_TRUE(m_journal.WaitFor(3));
    m_task.Reap();
    EXPECT_THAT(m_journal.All(), ElementsAre("create", "process, running", "destroy"));
}

TEST_F(QxTaskTest, CreateHookCanAbortTheLoop) {
    m_task.onCreate = [this] {
        m_journal.Add("create");
        return 0;
    };
    for (auto* hook : {&m_task.onProcess, &m_task.onDestroy}) {
        *hook = [this] {
            m_journal.Add("unexpected");
            return 1;
        };
    }
    EXPECT_EQ(m_task.Create("probe", 1, 0), 1);
    m_task.Reap();
    EXPECT_THAT(m_journal.All(), ElementsAre("create"));
    EXPECT_FALSE(m_task.IsRunning());
    EXPECT_TRUE(EntriesOf({"m_Idle"}).empty());
}

TEST_F(QxTaskTest, ProcessHookRunsOnEachTimeOut) {
    m_task.onProcess = [this] {
        m_journal.Add("process");
        return m_journal.All().size() < 3 ? 1 : 0;
    };
    m_task.Create("probe", 1, 0);
    ASSERT_TRUE(m_journal.WaitFor(3));
    m_task.Reap();
    EXPECT_EQ(m_journal.All().size(), 3u);
    const std::vector<Wait> waits = Waits();
    EXPECT_TRUE(std::any_of(waits.begin(), waits.end(),
                            [](const Wait& wait) { return wait.limit.tv_sec == 0 && wait.limit.tv_nsec == 1000000; }));
}

TEST_F(QxTaskTest, DefaultHooksSayThatTheyRan) {
    EXPECT_EQ(m_task.QxTask::t_process(), 1);
    EXPECT_EQ(m_task.QxTask::t_onEvent(Event(1)), 1);
    EXPECT_THAT(RecordingLog::Messages(DLOG_INFO), ElementsAre("t_process::Loop..", "t_process::event.."));
    EXPECT_EQ(m_task.QxTask::t_Create(), 1);
    EXPECT_EQ(m_task.QxTask::t_Destroy(), 1);
    EXPECT_THAT(RecordingLog::Messages(DLOG_ERROR), ElementsAre("t_Create_ thName : , semId : -1, thId : -1",
                                                                "t_Destroy_ thName : , semId : -1, thId : -1"));
    QxDebugPrint::GetInstance()->SetLevel(Debug);
    RecordingLog::Clear();
    m_task.QxTask::t_process();
    m_task.QxTask::t_onEvent(Event(1));
    EXPECT_TRUE(RecordingLog::Lines().empty());
}

TEST_F(QxTaskTest, WaitWithoutLimitBlocks) {
    const int semId = NewSemaphore();
    int result = kFailed;
    std::thread waiter([&] { result = m_task.WaitForSingleObject(semId, 0xFFFFFFFE); });
    SpinUntil([&] { return semctl(semId, 0, GETNCNT) == 1; });
    EXPECT_TRUE(Waits().empty());
    EXPECT_EQ(m_task.SetEvent(semId), 1);
    waiter.join();
    EXPECT_EQ(result, kTaken);
}

TEST_F(QxTaskTest, WaitWithoutLimitEndsWithItsSemaphore) {
    const int semId = NewSemaphore();
    int result = kTaken;
    std::thread waiter([&] { result = m_task.WaitForSingleObject(semId, 0xFFFFFFFE); });
    SpinUntil([&] { return semctl(semId, 0, GETNCNT) == 1; });
    semctl(semId, 0, IPC_RMID);
    waiter.join();
    EXPECT_EQ(result, kFailed);
}

TEST_F(QxTaskTest, TheLongestWaitHasALimit) {
    struct Row {
        unsigned long timeout;
        time_t seconds;
        long nanoseconds;
    };
    const Row rows[] = {{0xFFFFFFFF, 4294967, 295000000},
                        {0xFFFFFFFD, 4294967, 293000000},
                        {0, 0, 0},
                        {1, 0, 1000000},
                        {1000, 1, 0},
                        {2345, 2, 345000000}};
    const int semId = NewSemaphore();
    for (const Row& row : rows) {
        m_task.SetEvent(semId);
        EXPECT_EQ(m_task.WaitForSingleObject(semId, row.timeout), kTaken) << row.timeout;
        const Wait wait = Waits().back();
        EXPECT_EQ(wait.semId, semId);
        EXPECT_EQ(wait.limit.tv_sec, row.seconds) << row.timeout;
        EXPECT_EQ(wait.limit.tv_nsec, row.nanoseconds) << row.timeout;
        EXPECT_EQ(wait.operation.sem_num, 0);
        EXPECT_EQ(wait.operation.sem_op, -1);
        EXPECT_EQ(wait.operation.sem_flg, SEM_UNDO);
    }
}

TEST_F(QxTaskTest, WaitTellsTimeOutsAndErrors) {
    const int semId = NewSemaphore();
    EXPECT_EQ(m_task.WaitForSingleObject(semId, 0), kTimedOut);
    EXPECT_EQ(m_task.WaitForSingleObject(semId, 1), kTimedOut);
    EXPECT_EQ(m_task.WaitForSingleObject(-1, 1), kFailed);
    EXPECT_EQ(m_task.WaitForSingleObject(-1, 0xFFFFFFFE), kFailed);
    m_calls.semtimedop = [](int, const sembuf&, const timespec&) {
        errno = EINTR;
        return -1;
    };
    EXPECT_EQ(m_task.WaitForSingleObject(semId, 1), kFailed);
}

TEST_F(QxTaskTest, SignalsBeforeAWaitCollapseIntoOne) {
    const int semId = NewSemaphore();
    EXPECT_EQ(m_task.SetEvent(semId), 1);
    EXPECT_EQ(m_task.SetEvent(semId), 1);
    EXPECT_EQ(m_task.WaitForSingleObject(semId, 0), kTaken);
    EXPECT_EQ(m_task.WaitForSingleObject(semId, 0), kTimedOut);
    EXPECT_EQ(m_task.SetEvent(-1), 1);
}

TEST_F(QxTaskTest, IdleRunsTheProcessHookOnTimeOutAndError) {
    m_task.*Private(TaskRunning()) = true;
    m_task.onProcess = [] { return 7; };
    EXPECT_EQ(m_task.m_Idle(), 7);
    m_task.*Private(TaskRunning()) = false;
}

TEST_F(QxTaskTest, IdleEndsWithoutAWorker) {
    EXPECT_EQ(m_task.m_Idle(), 0);
    EXPECT_THAT(
        EntriesOf({"WaitForCreate", "m_Idle"}),
        ElementsAre(Entry{DLOG_INFO, "WaitForCreate", "QxTask::WaitForCreate - " + Address() + ", delay:500"},
                    Entry{DLOG_ERROR, "m_Idle", "m_Idle return false, Get Signal thName : , semId : -1, thId : -1"}));
}

TEST_F(QxTaskTest, DeliversEventsInOrderOnePerPass) {
    StartHeld();
    for (const std::uint32_t id : {2u, 3u, 0xFFFFFFFFu}) {
        QxEvent event = Event(id);
        EXPECT_EQ(m_task.SendEvent(event), 1);
        event.id = 99;
    }
    Release();
    ASSERT_TRUE(m_journal.WaitFor(4));
    m_task.Destroy();
    EXPECT_THAT(m_journal.All(), ElementsAre("event 1", "event 2", "event 3", "event 4294967295"));
    EXPECT_GE(RecordingLog::Count("m_Idle return true.." + OfThread("probe")), 3);
    for (const char* message : {"m_RetrieveEvent..3", "m_RetrieveEvent..2"}) {
        EXPECT_EQ(RecordingLog::Count(message, DLOG_INFO), 1) << message;
    }
}

TEST_F(QxTaskTest, CarriesTheWordsOfAnEvent) {
    m_task.onEvent = [this](const QxEvent& event) {
        m_journal.Add(std::to_string(event.words[0]) + " " + std::to_string(event.words[1]) + " " +
                      std::to_string(event.words[2]));
        return 1;
    };
    Start();
    QxEvent event{1, {2, 3, 4}};
    m_task.SendEvent(event);
    ASSERT_TRUE(m_journal.WaitFor(1));
    EXPECT_THAT(m_journal.All(), ElementsAre("2 3 4"));
}

TEST_F(QxTaskTest, SendEventSaysIt) {
    Start();
    QxEvent event = Event(4097);
    EXPECT_EQ(m_task.SendEvent(event), 1);
    EXPECT_THAT(EntriesOf({"SendEvent"}),
                ElementsAre(Entry{DLOG_INFO, "SendEvent", "QxTask::SendEvent[" + Address() + "] [4097]"}));
}

TEST_F(QxTaskTest, SendEventDropsWithoutAWorker) {
    QxEvent event = Event(5);
    EXPECT_EQ(m_task.SendEvent(event), 0);
    const Entry sent{DLOG_INFO, "SendEvent", "QxTask::SendEvent[" + Address() + "] [5]"};
    EXPECT_THAT(
        EntriesOf({"SendEvent", "WaitForCreate"}),
        ElementsAre(sent, sent,
                    Entry{DLOG_INFO, "WaitForCreate", "QxTask::WaitForCreate - " + Address() + ", delay:500"}, sent));
    QxEvent out = Event(6);
    EXPECT_FALSE(m_task.m_RetrieveEvent(out));
    EXPECT_EQ(out.id, 6u);
    EXPECT_EQ(RecordingLog::Count("m_RetrieveEvent..0", DLOG_INFO), 1);
}

TEST_F(QxTaskTest, SendEventWaitsForAWorkerThatIsStarting) {
    waitsForRunning = false;
    m_task.onCreate = [this] {
        SpinUntil([this] { return m_released.load(); });
        return 1;
    };
    m_task.onEvent = [this](const QxEvent& event) {
        m_journal.Add("event " + std::to_string(event.id));
        return 1;
    };
    Start();
    EXPECT_FALSE(m_task.IsRunning());
    waitsForRunning = true;
    onCreatorsWait = [this] { Release(); };
    QxEvent event = Event(5);
    EXPECT_EQ(m_task.SendEvent(event), 1);
    ASSERT_TRUE(m_journal.WaitFor(1));
    EXPECT_EQ(EntriesOf({"SendEvent"}).size(), 2u);
}

TEST_F(QxTaskTest, SendEventTakesBackAnEndThatIsAskedFor) {
    StartHeld();
    m_task.*Private(TaskExit()) = true;
    QxEvent event = Event(2);
    m_task.SendEvent(event);
    EXPECT_FALSE(m_task.*Private(TaskExit()));
    Release();
    ASSERT_TRUE(m_journal.WaitFor(2));
}

TEST_F(QxTaskTest, DestroyDropsQueuedEvents) {
    m_task.onEvent = [this](const QxEvent& event) {
        m_journal.Add("event " + std::to_string(event.id));
        SpinUntil([this] { return (m_task.*Private(TaskExit())).load(); });
        return 1;
    };
    Start();
    QxEvent event = Event(1);
    m_task.SendEvent(event);
    ASSERT_TRUE(m_journal.WaitFor(1));
    m_task.SendEvent(event);
    m_task.SendEvent(event);
    m_task.Destroy();
    EXPECT_THAT(m_journal.All(), ElementsAre("event 1"));
    EXPECT_FALSE(m_task.IsRunning());
}

TEST_F(QxTaskTest, DestroyWithoutALoopIsOneLine) {
    m_task.Destroy();
    const std::vector<RecordingLog::Line> lines = RecordingLog::Lines();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].Message(), "Destroy");
    EXPECT_EQ(lines[0].Function(), "Destroy");
    EXPECT_EQ(lines[0].priority, DLOG_INFO);
}

TEST_F(QxTaskTest, DestroyOfALoopThatNeverStartedIsOneLine) {
    m_task.onCreate = [] { return 0; };
    Start();
    m_task.Reap();
    RecordingLog::Clear();
    m_task.Destroy();
    EXPECT_THAT(RecordingLog::Messages(), ElementsAre("Destroy"));
}

TEST_F(QxTaskTest, DestroyOnTheWorkerDoesNotJoinIt) {
    m_task.onEvent = [this](const QxEvent&) {
        m_task.Destroy();
        m_journal.Add("destroyed from inside");
        return 1;
    };
    m_task.onDestroy = [this] {
        m_journal.Add("end");
        return 1;
    };
    Start();
    QxEvent event = Event(1);
    m_task.SendEvent(event);
    ASSERT_TRUE(m_journal.WaitFor(2));
    EXPECT_THAT(m_journal.All(), ElementsAre("destroyed from inside", "end"));
    m_task.Reap();
    EXPECT_FALSE(m_task.HasThread());
}

// The creator may still be in its own wait, which takes whatever signal comes.
TEST_F(QxTaskTest, DestroyOnTheWorkerHoldsWhenAnotherTakesItsSignal) {
    m_task.onProcess = [this] {
        m_task.Destroy();
        m_task.WaitForSingleObject(Waits().at(0).semId, 0);
        m_journal.Add("process");
        return 1;
    };
    m_task.onDestroy = [this] {
        m_journal.Add("end");
        return 1;
    };
    m_task.Create("probe", 1, 0);
    ASSERT_TRUE(m_journal.WaitFor(2));
    EXPECT_THAT(m_journal.All(), ElementsAre("process", "end"));
}

TEST_F(QxTaskTest, DestroyEndsAWorkerWhoseSemaphoreIsGone) {
    m_task.onProcess = [this] {
        m_journal.Add("process");
        return 1;
    };
    m_task.Create("probe", 1, 0);
    semctl(Waits().at(0).semId, 0, IPC_RMID);
    const std::size_t count = m_journal.All().size();
    ASSERT_TRUE(m_journal.WaitFor(count + 2));
    m_task.Destroy();
    EXPECT_FALSE(m_task.IsRunning());
}

// Cycles come as often as they should, whatever the semaphore does.
TEST_F(QxTaskTest, AWaitThatFailsLastsAsLongAsOneThatTimesOut) {
    using Clock = std::chrono::steady_clock;
    for (const int error : {EINVAL, EIDRM, EINTR, ENOSYS}) {
        m_calls.semtimedop = [error](int, const sembuf&, const timespec&) {
            errno = error;
            return -1;
        };
        std::atomic<int> turns{0};
        Clock::time_point end;
        m_task.onProcess = [&] {
            end = Clock::now();
            return ++turns == 3 ? 0 : 1;
        };
        RecordingLog::Clear();
        const Clock::time_point start = Clock::now();
        m_task.Create("probe", 20, 0);
        SpinUntil([&] { return !m_task.HasThread(); });
        m_task.Reap();
        EXPECT_GE(end - start, std::chrono::milliseconds(60)) << error;
        const Entry told{DLOG_ERROR, "m_Print",
                         "[QxTask::m_Idle] The semaphore cannot be waited on, the clock takes its place, semId: " +
                             std::to_string(m_task.*Private(TaskSemaphore())) + ", errno: " + std::to_string(error)};
        // A signal's handler interrupts a wait in passing: nothing is wrong.
        EXPECT_EQ(RecordingLog::Count(told.message, told.priority), error == EINTR ? 0 : 1) << error;
    }
}

TEST_F(QxTaskTest, AWaitThatFailsLateLastsForTheRestOnly) {
    using Clock = std::chrono::steady_clock;
    m_calls.semtimedop = [](int, const sembuf&, const timespec& limit) {
        const timespec almost = {0, 400000000};
        if (limit.tv_sec == 0) nanosleep(&almost, nullptr);
        errno = EIDRM;
        return -1;
    };
    Clock::time_point start;
    Clock::time_point end;
    m_task.onCreate = [&] {
        start = Clock::now();
        return 1;
    };
    m_task.onProcess = [&] {
        end = Clock::now();
        return 0;
    };
    m_task.Create("probe", 500, 0);
    SpinUntil([this] { return !m_task.HasThread(); });
    m_task.Reap();
    EXPECT_GE(end - start, std::chrono::milliseconds(500));
    EXPECT_LT(end - start, std::chrono::milliseconds(800));
}

TEST_F(QxTaskTest, WithoutASemaphoreEventsAndTheEndStillReachTheWorker) {
    m_calls.semget = [] {
        errno = ENOSPC;
        return -1;
    };
    m_task.onEvent = [this](const QxEvent& event) {
        m_journal.Add("event " + std::to_string(event.id));
        return 1;
    };
    m_task.onProcess = [this] {
        m_journal.Add("process");
        return 1;
    };
    for (const int waitTime : {3600000, kNoLimit}) {
        m_task.Create("probe", waitTime, 0);
        SpinUntil([this] { return m_task.IsRunning(); });
        for (const std::uint32_t id : {1u, 2u}) {
            QxEvent event = Event(id);
            EXPECT_EQ(m_task.SendEvent(event), 1);
        }
        ASSERT_TRUE(m_journal.WaitFor(waitTime == kNoLimit ? 4 : 2));
        m_task.Destroy();
        EXPECT_FALSE(m_task.IsRunning());
    }
    EXPECT_THAT(m_journal.All(), ElementsAre("event 1", "event 2", "event 1", "event 2"));
}

TEST_F(QxTaskTest, ThatWaitsFailIsSaidForEachWorkerAtLevelMajor) {
    m_calls.semget = [] { return -1; };
    QxDebugPrint::GetInstance()->SetLevel(Major);
    for (int round = 1; round <= 2; ++round) {
        m_task.onProcess = [] { return 0; };
        m_task.Create("probe", 1, 0);
        m_task.Reap();
        EXPECT_EQ(EntriesOf({"m_Print"}).size(), static_cast<std::size_t>(round));
    }
    QxDebugPrint::GetInstance()->SetLevel(Fatal);
    m_task.Create("probe", 1, 0);
    m_task.Reap();
    EXPECT_EQ(EntriesOf({"m_Print"}).size(), 2u);
}

TEST_F(QxTaskTest, WithoutAThreadThereIsNothingToEnd) {
    m_calls.threadCreate = [] { return EAGAIN; };
    Start();
    EXPECT_FALSE(m_task.HasThread());
    EXPECT_FALSE(m_task.IsRunning());
    m_task.End();
    EXPECT_TRUE(EntriesOf({"Loop", "m_ThreadJoin"}).empty());
}

// The system gives the ids of threads that have ended to new ones.
TEST_F(QxTaskTest, AnEndedWorkerIsJoinedByAThreadThatHasItsId) {
    m_task.onProcess = [] { return 0; };
    m_task.Create("probe", 1, 0);
    SpinUntil([this] { return !m_task.HasThread(); });
    m_task.SetPid(static_cast<int>(syscall(SYS_gettid)));
    m_task.Reap();
    EXPECT_EQ(RecordingLog::Count("2. m_ThreadJoin [result : 0] - " + Address(), DLOG_INFO), 1);
}

TEST_F(QxTaskTest, SemaphoresStayBehind) {
    Start();
    m_task.Destroy();
    EXPECT_GE(semctl(Waits().at(0).semId, 0, GETVAL), 0);
}

TEST_F(QxTaskTest, StartsAgain) {
    for (int round = 0; round < 3; ++round) {
        m_task.onEvent = [this](const QxEvent&) {
            m_journal.Add("event");
            return 1;
        };
        Start();
        EXPECT_TRUE(m_task.IsRunning());
        QxEvent event = Event(1);
        m_task.SendEvent(event);
        ASSERT_TRUE(m_journal.WaitFor(static_cast<std::size_t>(round) + 1));
        m_task.Destroy();
        EXPECT_FALSE(m_task.IsRunning());
        EXPECT_FALSE(m_task.HasThread());
    }
}

TEST_F(QxTaskTest, StartsAgainAfterItsLoopEndedByItself) {
    m_task.onProcess = [] { return 0; };
    m_task.onDestroy = [this] {
        m_journal.Add("end");
        return 1;
    };
    m_task.Create("probe", 1, 0);
    ASSERT_TRUE(m_journal.WaitFor(1));
    m_task.Create("probe", 1, 0);
    ASSERT_TRUE(m_journal.WaitFor(2));
}

TEST_F(QxTaskTest, EventsThatThrowArePrintedAndTheLoopGoesOn) {
    m_task.onEvent = [this](const QxEvent& event) -> int {
        m_journal.Add("event " + std::to_string(event.id));
        if (event.id == 1) throw std::runtime_error("boom");
        if (event.id == 2) throw 42;
        return 1;
    };
    QxDebugPrint::GetInstance()->SetLevel(Fatal);
    Start();
    for (const std::uint32_t id : {1u, 2u, 3u}) {
        QxEvent event = Event(id);
        m_task.SendEvent(event);
    }
    ASSERT_TRUE(m_journal.WaitFor(3));
    m_task.Destroy();
    EXPECT_EQ(RecordingLog::Count("[QxTask::Loop] t_onEvent threw: boom", DLOG_ERROR), 1);
    EXPECT_EQ(RecordingLog::Count("[QxTask::Loop] t_onEvent threw", DLOG_ERROR), 1);
}

TEST_F(QxTaskTest, OtherHooksThatThrowArePrintedAndTheLoopGoesOn) {
    m_task.onCreate = []() -> int { throw std::runtime_error("no start"); };
    m_task.onProcess = [this]() -> int {
        m_journal.Add("process");
        if (m_journal.All().size() == 1) throw std::runtime_error("no turn");
        if (m_journal.All().size() == 2) throw 42;
        return 0;
    };
    m_task.onDestroy = []() -> int { throw std::runtime_error("no end"); };
    QxDebugPrint::GetInstance()->SetLevel(Fatal);
    m_task.Create("probe", 1, 0);
    ASSERT_TRUE(m_journal.WaitFor(3));
    m_task.Reap();
    EXPECT_THAT(EntriesOf({"m_Print"}),
                ElementsAre(Entry{DLOG_ERROR, "m_Print", "[QxTask::Loop] t_Create threw: no start"},
                            Entry{DLOG_ERROR, "m_Print", "[QxTask::Loop] t_process threw: no turn"},
                            Entry{DLOG_ERROR, "m_Print", "[QxTask::Loop] t_process threw"},
                            Entry{DLOG_ERROR, "m_Print", "[QxTask::Loop] t_Destroy threw: no end"}));
}

TEST_F(QxTaskTest, FailuresOfHooksAreSilentAtLevelSilent) {
    QxDebugPrint::GetInstance()->SetLevel(Silent);
    m_task.onProcess = []() -> int { throw std::runtime_error("boom"); };
    m_task.*Private(TaskRunning()) = true;
    EXPECT_EQ(m_task.m_Idle(), 1);
    m_task.*Private(TaskRunning()) = false;
    EXPECT_TRUE(RecordingLog::Lines().empty());
}
