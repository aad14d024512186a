// What the system or a hook refuses.
#include "QxTaskFixture.h"

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
