// What a client may do wrong.
#include "QxLogTrackerFixture.h"

// --- Faults of the client

TEST_F(QxLogTrackerTest, ACallbackThatThrowsIsPrintedAndTrackingGoesOn) {
    m_client.act = [](const std::string& event) {
        if (event == "VOLUME=1") throw std::runtime_error("boom");
        if (event == "VOLUME=2") throw 42;
    };
    Track({"", Calls({1, 2, 3}), Calls({4})});
    m_tracker->Stop();
    EXPECT_EQ(m_client.Events(), (Names{"VOLUME=1", "VOLUME=2", "VOLUME=3", "VOLUME=4"}));
    EXPECT_EQ(RecordingLog::Count("[QxParser::SendEvent] Callback threw, event: VOLUME, error: boom", DLOG_ERROR), 1);
    EXPECT_EQ(RecordingLog::Count("[QxParser::SendEvent] Callback threw, event: VOLUME", DLOG_ERROR), 1);
}

// However long it takes: nothing is fetched meanwhile, and Stop waits for it.
TEST_F(QxLogTrackerTest, ACallbackThatTakesLongHoldsUpTheNextCycleAndStop) {
    std::promise<void> end;
    const std::shared_future<void> ended = end.get_future();
    m_client.act = [&](const std::string& event) {
        if (event == "VOLUME=1") ended.wait();
    };
    const NamedProcess& process = Watch();
    Load(*m_tracker, Scenario(Action("VOLUME")));
    AddDumps(process, {"", Calls({1, 2}), Calls({3})});
    Run();
    ASSERT_TRUE(m_client.WaitFor(1));
    const std::size_t waits = m_waits.All().size();
    std::future<int> stopped = std::async(std::launch::async, [this] { return m_tracker->Stop(); });
    EXPECT_EQ(stopped.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    EXPECT_EQ(m_waits.All().size(), waits);
    end.set_value();
    EXPECT_EQ(stopped.get(), 1);
    EXPECT_EQ(m_client.Events(), (Names{"VOLUME=1", "VOLUME=2"}));
}

TEST_F(QxLogTrackerTest, TheCallbackMayReadTheStore) {
    std::atomic<std::size_t> calls{0};
    m_client.act = [&](const std::string&) {
        const std::shared_ptr<IQxData> store = m_tracker->Get();
        calls = store->GetCallIMap()->size();
        EXPECT_EQ(store->GetCallLocationWithPID(3, m_live[0]->Pid16()).callerName, "SetVolume");
    };
    Track({"", Calls({1, 2})});
    EXPECT_EQ(calls, 2u);
}

// What Clear takes away is gone for the rest of the pass: locations that name methods, and process registrations.
TEST_F(QxLogTrackerTest, TheCallbackMayClear) {
    m_client.act = [&](const std::string& event) {
        if (event == "VOLUME=1") m_tracker->Clear();
    };
    Track({"", Calls({1, 2}), Calls({3})});
    m_tracker->Stop();
    EXPECT_EQ(m_client.Events(), (Names{"VOLUME=1", "VOLUME=3"}));
    EXPECT_EQ(m_client.LastCall().pid, 0);
}

TEST_F(QxLogTrackerTest, TheCallbackMayLoadScripts) {
    std::atomic<int> loaded{-1};
    m_client.act = [&](const std::string& event) {
        if (event == "VOLUME=1") loaded = Load(*m_tracker, Action("LATER"));
    };
    Track({"", Calls({1, 2}), Calls({3})});
    m_tracker->Stop();
    EXPECT_EQ(loaded, 1);
    EXPECT_EQ(m_client.Events(), (Names{"VOLUME=1", "VOLUME=2", "LATER=3", "VOLUME=3"}));
}

// A failed load leaves the root slot on the element that was open, which is no scenario: later passes run nothing.
TEST_F(QxLogTrackerTest, TheCallbackMayLoadScriptsThatFail) {
    std::atomic<int> loaded{-1};
    m_client.act = [&](const std::string& event) {
        if (event == "VOLUME=1") loaded = Load(*m_tracker, "<a><b><c>");
    };
    Track({"", Calls({1, 2}), Calls({3})});
    m_tracker->Stop();
    EXPECT_EQ(loaded, 0);
    EXPECT_EQ(m_client.Events(), (Names{"VOLUME=1", "VOLUME=2"}));
    EXPECT_TRUE(m_tracker->Get()->GetCallIMap()->empty());
}

TEST_F(QxLogTrackerTest, StopFromTheCallbackEndsTheLoopAfterTheCycle) {
    const NamedProcess& process = Watch();
    Load(*m_tracker, Scenario(Action("VOLUME")));
    AddDumps(process, {"", Calls({1, 2}), Calls({3})});
    std::atomic<int> stopped{-1};
    m_client.act = [&](const std::string& event) {
        if (event == "VOLUME=1") stopped = m_tracker->Stop();
    };
    Run();
    ASSERT_TRUE(RecordingLog::WaitFor("t_Destroy_"));
    EXPECT_EQ(stopped, 1);
    EXPECT_EQ(m_client.Events(), (Names{"VOLUME=1", "VOLUME=2"}));
    EXPECT_EQ(RecordingLog::Count("3. Destroyed"), 0);
    EXPECT_EQ(m_tracker->Stop(), 1);
    EXPECT_FALSE(m_tracker->HasThread());
    EXPECT_EQ(m_client.Events().size(), 2u);
}

TEST_F(QxLogTrackerTest, RunFollowsAStopFromTheCallback) {
    const NamedProcess& process = Watch();
    Load(*m_tracker, Scenario(Action("VOLUME")));
    AddDumps(process, {"", Calls({1})});
    m_client.act = [&](const std::string& event) {
        if (event == "VOLUME=1") m_tracker->Stop();
    };
    Run();
    ASSERT_TRUE(RecordingLog::WaitFor("t_Destroy_"));
    m_tracker->Stop();
    RecordingLog::Clear();
    AddDumps(process, {"", Calls({2})});
    EXPECT_EQ(Run(), 1);
    ASSERT_TRUE(m_client.WaitFor(2));
    m_tracker->Stop();
    EXPECT_EQ(m_client.Events(), (Names{"VOLUME=1", "VOLUME=2"}));
}

TEST_F(QxLogTrackerTest, RunFromTheCallbackIsRefused) {
    std::atomic<int> result{-1};
    m_client.act = [&](const std::string&) { result = Run(); };
    Track({"", Calls({1})});
    EXPECT_EQ(result, 0);
    EXPECT_EQ(RecordingLog::Count("[QxLogTracker::Run] The tracker runs already", DLOG_ERROR), 1);
}

TEST_F(QxLogTrackerTest, DestroyingAfterAStopFromTheCallbackJoins) {
    m_client.act = [&](const std::string&) { m_tracker->Stop(); };
    const NamedProcess& process = Watch();
    Load(*m_tracker, Scenario(Action("VOLUME")));
    AddDumps(process, {"", Calls({1})});
    Run();
    ASSERT_TRUE(m_client.WaitFor(1));
    m_tracker->Stop();
    m_tracker.reset();
    EXPECT_EQ(m_client.Events(), Names{"VOLUME=1"});
}

TEST_F(QxLogTrackerTest, TwoTrackersRunSideBySide) {
    const auto control = boost::make_shared<LockedControl>();
    SetControl(control);
    QxLogTracker other(Info);
    Client otherClient;
    const NamedProcess& process = Watch("a");
    const NamedProcess otherProcess(NamedProcess::UniqueName("b"));
    std::string otherName = otherProcess.Name();
    ASSERT_EQ(other.SetQxProcess(otherName), 1);
    Load(*m_tracker, Scenario(Action("ONE", "watch='CHANGED'")));
    Load(other, Scenario(Action("OTHER", "watch='CHANGED'")));
    Names expected;
    Names otherExpected;
    for (int value = 1; value <= 30; ++value) {
        control->control.Add(process.Name(), Calls({value}));
        control->control.Add(otherProcess.Name(), Calls({1000 + value}));
        expected.push_back("ONE=" + std::to_string(value));
        otherExpected.push_back("OTHER=" + std::to_string(1000 + value));
    }
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(other.Run(Client::OnEvent, &otherClient, 1), 1);
    ASSERT_TRUE(m_client.WaitFor(30));
    ASSERT_TRUE(otherClient.WaitFor(30));
    EXPECT_EQ(other.Stop(), 1);
    EXPECT_TRUE(m_tracker->IsRunning());
    EXPECT_EQ(m_tracker->Stop(), 1);
    EXPECT_EQ(m_client.Events(), expected);
    EXPECT_EQ(otherClient.Events(), otherExpected);
}
