// What is sent to a worker, and its end.
#include "QxTaskFixture.h"

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
