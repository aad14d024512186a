#include "QxTaskFixture.h"

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
