// What is loaded, and the worker that runs it.
#include "QxLogTrackerFixture.h"

#include <chrono>
#include <functional>
#include <thread>

// --- Scripts

TEST_F(QxLogTrackerTest, AScriptThatIsNotWellFormedFails) {
    QxDebugPrint::GetInstance()->SetLevel(Major);
    const NamedProcess process(NamedProcess::UniqueName("a"));
    for (const std::string& script : {std::string(), std::string("<Scenario>"), std::string("text"),
                                      "<Scenario>" + Action("E", "process='" + process.Name() + "'")}) {
        RecordingLog::Clear();
        EXPECT_EQ(Load(*m_tracker, script), 0) << script;
        EXPECT_THAT(RecordingLog::Messages(), ElementsAre("ParseScript failed.. Returning false..")) << script;
        EXPECT_EQ(RecordingLog::Count("ParseScript failed.. Returning false..", DLOG_ERROR), 1) << script;
    }
    EXPECT_TRUE(Of(TrackerProcesses()).empty());
}

TEST_F(QxLogTrackerTest, AFailedScriptIsSilentBelowLevelMajor) {
    QxDebugPrint::GetInstance()->SetLevel(Fatal);
    EXPECT_EQ(Load(*m_tracker, "<"), 0);
    EXPECT_TRUE(RecordingLog::Lines().empty());
}

TEST_F(QxLogTrackerTest, AScriptWithoutProcessesLoadsAtOnce) {
    m_calls.sleep = [this](unsigned seconds) {
        m_journal.Add("sleep " + std::to_string(seconds));
        return 0u;
    };
    EXPECT_EQ(Load(*m_tracker, Scenario("<one name='a'/><two/>")), 1);
    EXPECT_THAT(RecordingLog::Messages(),
                ElementsAre("Found Action with name as one", "Found Action with name as two"));
    EXPECT_EQ(RecordingLog::Messages(DLOG_INFO).size(), 2u);
    EXPECT_TRUE(Of(TrackerProcesses()).empty());
    EXPECT_TRUE(m_journal.All().empty());
    IQxData::_HSScript* slot = nullptr;
    m_tracker->Get()->GetScript(&slot);
    EXPECT_EQ((*slot)->name, "Scenario");
}

TEST_F(QxLogTrackerTest, AScriptWithATopElementOnlyLoads) {
    EXPECT_EQ(Load(*m_tracker, "<Scenario/>"), 1);
    EXPECT_TRUE(RecordingLog::Lines().empty());
}

TEST_F(QxLogTrackerTest, AScriptRegistersItsProcesses) {
    const NamedProcess a(NamedProcess::UniqueName("a"));
    const NamedProcess b(NamedProcess::UniqueName("b"));
    EXPECT_EQ(Load(*m_tracker, Scenario("<one name='x' process='" + b.Name() + "'/><two process='" + a.Name() + "'/>")),
              1);
    const Names messages = RecordingLog::Messages(DLOG_INFO);
    EXPECT_THAT(messages, ElementsAre("Found Action with name as one", "Found Process as " + b.Name(),
                                      HasSubstr("getProcessID(" + b.Name()), "Found Action with name as two",
                                      "Found Process as " + a.Name(), HasSubstr("getProcessID(" + a.Name())));
    EXPECT_THAT(Of(TrackerProcesses()), testing::UnorderedElementsAre(a.Name(), b.Name()));
    m_tracker->Get()->AppendCurrentProcess(b.Name());
    EXPECT_EQ(m_tracker->Get()->GetCurrentPID(), b.Pid16());
}

TEST_F(QxLogTrackerTest, OnlyActionsNameProcesses) {
    const NamedProcess process(NamedProcess::UniqueName("a"));
    const std::string attribute = "='" + process.Name() + "'";
    EXPECT_EQ(Load(*m_tracker, "<Scenario process" + attribute + "><action Process" + attribute + " processes" +
                                   attribute + "><method process" + attribute + "/></action></Scenario>"),
              1);
    EXPECT_TRUE(Of(TrackerProcesses()).empty());
}

TEST_F(QxLogTrackerTest, WaitsForProcessesSecondBySecond) {
    const std::string name = NamedProcess::UniqueName("late");
    m_calls.sleep = [&](unsigned seconds) {
        m_journal.Add("sleep " + std::to_string(seconds));
        if (m_journal.All().size() == 3) m_live.push_back(std::make_unique<NamedProcess>(name));
        return 0u;
    };
    EXPECT_EQ(Load(*m_tracker, Scenario(Action("E", "process='" + name + "'"))), 1);
    EXPECT_THAT(m_journal.All(), ElementsAre("sleep 1", "sleep 1", "sleep 1"));
    EXPECT_EQ(RecordingLog::Count("getProcessID(" + name + ") : id = 0 (could not find process)\n", DLOG_INFO), 3);
    EXPECT_EQ(RecordingLog::Count("Found Process as " + name, DLOG_INFO), 1);
    EXPECT_THAT(Of(TrackerProcesses()), ElementsAre(name));
}

TEST_F(QxLogTrackerTest, ASecondScriptIsWalkedWithTheFirst) {
    Load(*m_tracker, Scenario("<one/>"));
    RecordingLog::Clear();
    EXPECT_EQ(Load(*m_tracker, "<Later><inner/></Later>"), 1);
    EXPECT_THAT(RecordingLog::Messages(),
                ElementsAre("Found Action with name as one", "Found Action with name as Later"));
}

TEST_F(QxLogTrackerTest, ANullActionNamesNoProcess) {
    ASSERT_EQ(Load(*m_tracker, Scenario("<one/>")), 1);
    IQxData::_HSScript* slot = nullptr;
    m_tracker->Get()->GetScript(&slot);
    (*slot)->children.push_back(nullptr);
    RecordingLog::Clear();
    EXPECT_EQ(Load(*m_tracker, Scenario("<two/>")), 1);
    EXPECT_THAT(RecordingLog::Messages(),
                ElementsAre("Found Action with name as one", "Found Action with name as Scenario"));
}

// What the header says of a second script, and of one that fails.
TEST_F(QxLogTrackerTest, ASecondScriptLoadsAndNeverFires) {
    const NamedProcess& process = Watch();
    const NamedProcess other(NamedProcess::UniqueName("b"));
    ASSERT_EQ(Load(*m_tracker, Scenario(Action("FIRST"))), 1);
    EXPECT_EQ(Load(*m_tracker, Scenario(Action("SECOND", "process='" + other.Name() + "'"))), 1);
    EXPECT_THAT(Of(TrackerProcesses()), ElementsAre(process.Name()));
    AddDumps(process, {"", Calls({1})});
    Run();
    ASSERT_TRUE(WaitForTheLastDump());
    m_tracker->Stop();
    EXPECT_EQ(m_client.Events(), Names{"FIRST=1"});
}

TEST_F(QxLogTrackerTest, AScriptThatFailsEndsTheEventsOfAllOthers) {
    const NamedProcess& process = Watch();
    ASSERT_EQ(Load(*m_tracker, Scenario(Action("FIRST"))), 1);
    EXPECT_EQ(Load(*m_tracker, "<Scenario><action name='x'><method name='SetVolume'/><event name='BROKEN'>"), 0);
    EXPECT_EQ(Load(*m_tracker, Scenario(Action("LATER"))), 1);
    AddDumps(process, {"", Calls({1})});
    Run();
    ASSERT_TRUE(WaitForTheLastDump());
    m_tracker->Stop();
    EXPECT_EQ(m_client.Events(), Names{});
}

// --- Run and Stop

TEST_F(QxLogTrackerTest, RunGivesOneAlsoWithoutAThread) {
    m_calls.threadCreate = [] { return EAGAIN; };
    EXPECT_EQ(Run(), 1);
    EXPECT_FALSE(m_tracker->HasThread());
    EXPECT_EQ(m_tracker->Stop(), 1);
    m_calls.threadCreate = nullptr;
    EXPECT_EQ(Run(), 1);
    EXPECT_TRUE(m_tracker->HasThread());
    EXPECT_EQ(Run(), 0);
}

// Waits of a second that fail at once: a cycle a second, and an end without waiting for the next one.
TEST_F(QxLogTrackerTest, TracksWithoutASemaphore) {
    m_calls.semget = [] { return -1; };
    m_calls.semtimedop = nullptr;
    Watch();
    const auto start = std::chrono::steady_clock::now();
    Run();
    ASSERT_TRUE(RecordingLog::WaitFor("Clear Fail:m_instance is NULL"));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1000));
    m_tracker->Stop();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1900));
    EXPECT_EQ(m_control->Requests().size(), 1u);
}

TEST_F(QxLogTrackerTest, StopBeforeRunDoesNothing) {
    EXPECT_EQ(m_tracker->Stop(), 1);
    EXPECT_EQ(m_tracker->Stop(), 1);
    EXPECT_TRUE(RecordingLog::Lines().empty());
}

TEST_F(QxLogTrackerTest, RunStartsAWorker) {
    EXPECT_EQ(m_tracker->Run(Client::OnEvent, &m_client, 7), 1);
    EXPECT_EQ(Of(TrackerCallback()), &Client::OnEvent);
    EXPECT_EQ(Of(TrackerUnread()), 100);
    EXPECT_EQ(Of(TrackerDumpPause()), 7);
    ASSERT_TRUE(RecordingLog::WaitFor("Clear Fail:m_instance is NULL"));
    EXPECT_TRUE(m_tracker->IsRunning());
    EXPECT_STREQ(m_tracker->Name(), "QxLogTracke");
    EXPECT_EQ(RecordingLog::Count("Create.. QxLogTracke", DLOG_ERROR), 1);
    m_tracker->Stop();
    EXPECT_FALSE(m_tracker->IsRunning());
    EXPECT_EQ(RecordingLog::Count("Destroy", DLOG_INFO), 1);
    const Names waits = m_waits.All();
    EXPECT_EQ(std::count(waits.begin(), waits.end(), "2.0"), 1);
    EXPECT_GE(std::count(waits.begin(), waits.end(), "1.0"), 1);
    EXPECT_EQ(static_cast<std::size_t>(std::count(waits.begin(), waits.end(), "1.0")) + 1, waits.size());
}

TEST_F(QxLogTrackerTest, StopMayBeRepeated) {
    Run();
    EXPECT_EQ(m_tracker->Stop(), 1);
    EXPECT_EQ(m_tracker->Stop(), 1);
    EXPECT_FALSE(m_tracker->HasThread());
    EXPECT_LE(RecordingLog::Count("Destroy", DLOG_INFO), 1);
}

TEST_F(QxLogTrackerTest, StopRightAfterRunEndsTheWorker) {
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(Run(), 1);
        EXPECT_EQ(m_tracker->Stop(), 1);
        ASSERT_FALSE(m_tracker->HasThread());
    }
}

TEST_F(QxLogTrackerTest, RunAfterStopPrimesAgain) {
    const NamedProcess& process = Watch();
    Load(*m_tracker, Scenario(Action("VOLUME")));
    AddDumps(process, {Calls({1}), Calls({2})});
    Run();
    ASSERT_TRUE(WaitForTheLastDump());
    m_tracker->Stop();
    EXPECT_EQ(m_client.Events(), (Names{"VOLUME=1", "VOLUME=2"}));
    const std::size_t requests = m_control->Requests().size();
    RecordingLog::Clear();
    AddDumps(process, {Calls({3}), Calls({4})});
    EXPECT_EQ(Run(), 1);
    ASSERT_TRUE(WaitForTheLastDump());
    m_tracker->Stop();
    EXPECT_EQ(m_client.Events(), (Names{"VOLUME=1", "VOLUME=2", "VOLUME=3", "VOLUME=4"}));
    EXPECT_TRUE(m_control->Requests().at(requests).second);
    EXPECT_FALSE(m_control->Requests().at(requests + 1).second);
}

TEST_F(QxLogTrackerTest, RunOnARunningTrackerIsRefused) {
    QxDebugPrint::GetInstance()->SetLevel(Major);
    Client other;
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(m_tracker->Run(Client::OnEvent, &other, 2), 0);
    EXPECT_EQ(RecordingLog::Count("[QxLogTracker::Run] The tracker runs already", DLOG_ERROR), 1);
    EXPECT_EQ(Of(TrackerDumpPause()), 1);
    m_tracker->Stop();
    EXPECT_EQ(Run(), 1);
}

TEST_F(QxLogTrackerTest, ARefusedRunKeepsTheCallback) {
    const NamedProcess& process = Watch();
    Load(*m_tracker, Scenario(Action("VOLUME")));
    AddDumps(process, {Calls({1}), Calls({2})});
    Client other;
    Run();
    EXPECT_EQ(m_tracker->Run(Client::OnEvent, &other, 1), 0);
    ASSERT_TRUE(WaitForTheLastDump());
    m_tracker->Stop();
    EXPECT_EQ(m_client.Events().size(), 2u);
    EXPECT_TRUE(other.Events().empty());
}

// Whether it comes true: the system lists a thread for a moment longer than others wait for its end.
static bool Soon(const std::function<bool()>& isSo) {
    for (int i = 0; i < 500; ++i) {
        if (isSo()) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

TEST_F(QxLogTrackerTest, DestroyingARunningTrackerStopsIt) {
    const NamedProcess& process = Watch();
    Load(*m_tracker, Scenario(Action("VOLUME")));
    AddDumps(process, std::vector<Bytes>(50, Calls({1})));
    Run();
    ASSERT_TRUE(m_client.WaitFor(1));
    const int worker = m_tracker->Pid();
    m_tracker.reset();
    EXPECT_TRUE(Soon([worker] { return !std::filesystem::exists("/proc/self/task/" + std::to_string(worker)); }));
    EXPECT_EQ(RecordingLog::Count("Destroy", DLOG_INFO), 1);
}

TEST_F(QxLogTrackerTest, DestroyingAFreshlyRunTrackerStopsIt) {
    const auto threads = [] { return std::distance(std::filesystem::directory_iterator("/proc/self/task"), {}); };
    // A sanitizer starts a thread of its own with the program's first one.
    std::thread([] {}).join();
    const auto before = threads();
    for (int i = 0; i < 20; ++i) {
        m_tracker = std::make_unique<QxLogTracker>(Info);
        Run();
        m_tracker.reset();
    }
    EXPECT_TRUE(Soon([&] { return threads() == before; })) << threads() << " threads, before " << before;
}
