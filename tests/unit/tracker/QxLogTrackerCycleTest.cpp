// The cycle.
#include "QxLogTrackerFixture.h"

// --- The cycle

TEST_F(QxLogTrackerTest, TheCycleEventRunsACycleAtOnce) {
    QxEvent event;
    event.id = 0x1001;
    EXPECT_EQ(m_tracker->t_onEvent(event), 1);
    EXPECT_THAT(RecordingLog::Messages(), ElementsAre("m_instance is NULL"));
}

TEST_F(QxLogTrackerTest, OtherEventsDoNothing) {
    for (const std::uint32_t id : {0u, 1u, 0x1000u, 0x1002u, 0xFFFFFFFFu}) {
        QxEvent event;
        event.id = id;
        EXPECT_EQ(m_tracker->t_onEvent(event), 1);
    }
    EXPECT_TRUE(RecordingLog::Lines().empty());
}

TEST_F(QxLogTrackerTest, ASentEventRunsACycle) {
    m_calls.semtimedop = [](int semId, const sembuf& operation, const timespec& limit) {
        const bool creators = limit.tv_sec == 2;
        return SystemCalls::SemTimedOp(semId, operation, creators ? timespec{0, 1000000} : timespec{600, 0});
    };
    Run();
    QxEvent event;
    event.id = 0x1001;
    ASSERT_EQ(m_tracker->SendEvent(event), 1);
    EXPECT_TRUE(RecordingLog::WaitFor("Clear Fail:m_instance is NULL"));
}

TEST_F(QxLogTrackerTest, WithoutProcessesNothingIsFetched) {
    Of(TrackerFirstCycle()) = true;
    EXPECT_EQ(m_tracker->t_process(), 1);
    EXPECT_EQ(m_tracker->t_process(), 1);
    EXPECT_EQ(m_tracker->t_process(), 1);
    EXPECT_THAT(RecordingLog::Messages(DLOG_INFO),
                ElementsAre("Clear Fail:m_instance is NULL", "m_instance is NULL", "m_instance is NULL"));
    EXPECT_EQ(RecordingLog::Lines().size(), 3u);
    EXPECT_TRUE(m_control->Requests().empty());
    EXPECT_TRUE(m_journal.All().empty());
}

TEST_F(QxLogTrackerTest, WithoutProcessesNoControlIsNeeded) {
    SetControl(nullptr);
    EXPECT_EQ(m_tracker->t_process(), 1);
}

TEST_F(QxLogTrackerTest, TheFirstCycleOnlyPrimes) {
    const NamedProcess& process = Watch();
    Load(*m_tracker, Scenario(Action("VOLUME")));
    AddDumps(process, {Calls({1}), "", "", Calls({2}), Calls({3})});
    Of(TrackerFirstCycle()) = true;
    m_tracker->t_process();
    EXPECT_FALSE(Of(TrackerFirstCycle()));
    EXPECT_EQ(m_tracker->Get()->GetCallIMap()->size(), 1u);
    m_tracker->t_process();
    EXPECT_EQ(m_tracker->Get()->GetCallIMap()->size(), 1u);
    RecordingLog::Clear();
    Run();
    ASSERT_TRUE(WaitForTheLastDump());
    m_tracker->Stop();
    EXPECT_EQ(m_client.Events(), (Names{"VOLUME=1", "VOLUME=2", "VOLUME=3"}));
    EXPECT_TRUE(m_tracker->Get()->GetCallIMap()->empty());
}

TEST_F(QxLogTrackerTest, ACallIsTracedOnce) {
    Track({Calls({1}), Calls({2, 3}), Calls({4})});
    m_tracker->Stop();
    EXPECT_EQ(m_client.Events(), (Names{"VOLUME=1", "VOLUME=2", "VOLUME=3", "VOLUME=4"}));
}

TEST_F(QxLogTrackerTest, PrimingAloneRaisesNoEvents) {
    Track({Calls({1})});
    m_tracker->Stop();
    EXPECT_TRUE(m_client.Events().empty());
}

TEST_F(QxLogTrackerTest, TheCallbackGetsTheCallAndTheContext) {
    Track({"", Calls({85})});
    m_tracker->Stop();
    EXPECT_EQ(m_client.Events(), Names{"VOLUME=85"});
    const IQxData::HSCall call = m_client.LastCall();
    EXPECT_EQ(call.pid, m_live[0]->Pid16());
    EXPECT_EQ(call.tid, 5);
    EXPECT_EQ(call.locId, 3u);
    EXPECT_EQ(call.time, 105u);
    EXPECT_EQ(call.exitTime, 2105u);
    EXPECT_THAT(call.args.in, ElementsAre(ElementsAre(Pair("", Stored(Int(85, 4))))));
}

TEST_F(QxLogTrackerTest, TheCallbackRunsOnTheWorker) {
    std::atomic<int> thread{0};
    m_client.act = [&](const std::string&) { thread = static_cast<int>(syscall(SYS_gettid)); };
    Track({"", Calls({1})});
    EXPECT_EQ(thread, m_tracker->Pid());
    EXPECT_NE(thread, static_cast<int>(syscall(SYS_gettid)));
}

TEST_F(QxLogTrackerTest, TracksWithoutACallback) {
    const NamedProcess& process = Watch();
    Load(*m_tracker, Scenario(Action("VOLUME")));
    AddDumps(process, {"", Calls({1})});
    EXPECT_EQ(m_tracker->Run(nullptr, nullptr, 1), 1);
    ASSERT_TRUE(WaitForTheLastDump());
    m_tracker->Stop();
    EXPECT_TRUE(m_tracker->Get()->GetCallIMap()->empty());
}

TEST_F(QxLogTrackerTest, AsksForEverythingInTheFirstCycleOnly) {
    const std::string a = Watch("a").Name();
    const std::string b = Watch("b").Name();
    Of(TrackerFirstCycle()) = true;
    m_tracker->t_process();
    m_tracker->t_process();
    const std::string first = std::min(a, b);
    const std::string second = std::max(a, b);
    EXPECT_THAT(m_control->Requests(),
                ElementsAre(Pair(first, true), Pair(second, true), Pair(first, false), Pair(second, false)));
}

TEST_F(QxLogTrackerTest, FetchesAllDumpsBeforeTheFirstIsDecoded) {
    const auto store = UseTellingStore();
    Of(TrackerDumpPause()) = 1;
    const NamedProcess& a = Watch("a");
    const NamedProcess& b = Watch("b");
    const NamedProcess& first = a.Name() < b.Name() ? a : b;
    const NamedProcess& second = a.Name() < b.Name() ? b : a;
    AddDumps(a, {Calls({1})});
    AddDumps(b, {Calls({2})});
    const auto control =
        boost::make_shared<ScriptedControl>([this](std::vector<char>& path, const std::string& process, bool isFirst) {
            m_journal.Add("dump " + process);
            return m_control->getQxBufferDump(path, process, isFirst);
        });
    SetControl(control);
    const std::size_t before = m_journal.All().size();
    RecordingLog::Clear();
    m_tracker->t_process();
    Names steps = m_journal.All();
    steps.erase(steps.begin(), steps.begin() + static_cast<std::ptrdiff_t>(before));
    EXPECT_THAT(steps, ElementsAre("dump " + first.Name(), "usleep 10000", "dump " + second.Name(), "usleep 10000",
                                   "current " + first.Name(), "call of " + std::to_string(first.Pid16()),
                                   "current " + second.Name(), "call of " + std::to_string(second.Pid16())));
    const std::string size = std::to_string(Calls({1}).size());
    for (const NamedProcess* process : {&a, &b}) {
        EXPECT_EQ(RecordingLog::Count("getQxBufferDump END !! Process[" + process->Name() + "] data[" + size + "]",
                                      DLOG_INFO),
                  1);
    }
}

TEST_F(QxLogTrackerTest, PausesAfterEachDump) {
    Watch();
    struct Row {
        int pause;
        const char* paused;
    };
    const Row rows[] = {{1, "usleep 10000"},   {0, "nanosleep 1.0"},  {2, "nanosleep 1.0"},
                        {-1, "nanosleep 1.0"}, {10, "nanosleep 1.0"}, {1000, "nanosleep 1.0"}};
    for (const Row& row : rows) {
        Of(TrackerDumpPause()) = row.pause;
        m_tracker->t_process();
        EXPECT_EQ(m_journal.All().back(), row.paused) << row.pause;
    }
    EXPECT_EQ(m_journal.All().size(), std::size(rows));
}

TEST_F(QxLogTrackerTest, PausesAsItWasToldLast) {
    Watch();
    m_tracker->SetDumpPause(1);
    m_tracker->t_process();
    EXPECT_EQ(m_journal.All().back(), "usleep 10000");
}

TEST_F(QxLogTrackerTest, PausesTheRestAfterAnInterruption) {
    Watch();
    m_calls.nanosleep = [this](const timespec& asked, timespec& left) {
        m_journal.Add(std::to_string(asked.tv_sec) + "." + std::to_string(asked.tv_nsec));
        left = {0, 400};
        errno = EINTR;
        return m_journal.All().size() == 1 ? -1 : 0;
    };
    m_tracker->t_process();
    EXPECT_THAT(m_journal.All(), ElementsAre("1.0", "0.400"));
}

TEST_F(QxLogTrackerTest, TakesTheControlAnewEachCycleAndReleasesIt) {
    Watch();
    m_tracker->t_process();
    EXPECT_EQ(m_control->Requests().size(), 1u);
    const auto other = boost::make_shared<FakeControl>();
    SetControl(other);
    EXPECT_EQ(m_control.use_count(), 1);
    m_tracker->t_process();
    EXPECT_EQ(m_control->Requests().size(), 1u);
    EXPECT_EQ(other->Requests().size(), 1u);
    EXPECT_EQ(other.use_count(), 2);
}

TEST_F(QxLogTrackerTest, NothingStaysOfAnEarlierPath) {
    const auto store = UseTellingStore();
    Watch("a");
    Watch("b");
    AddDumps(*m_live[0], {Calls({1})});
    std::vector<bool> wasEmpty;
    SetControl(
        boost::make_shared<ScriptedControl>([&](std::vector<char>& path, const std::string& process, bool first) {
            wasEmpty.push_back(path.empty());
            if (wasEmpty.size() == 1) m_control->getQxBufferDump(path, m_live[0]->Name(), first);
            return process.empty();
        }));
    Of(TrackerFirstCycle()) = true;
    m_tracker->t_process();
    EXPECT_EQ(wasEmpty, (std::vector<bool>{true, true}));
    EXPECT_EQ(store->GetCallIMap()->size(), 1u);
}

// The answer of the control does not matter, the path does.
TEST_F(QxLogTrackerTest, ReadsTheFileWhateverTheControlAnswers) {
    Watch();
    AddDumps(*m_live[0], {Calls({1})});
    SetControl(
        boost::make_shared<ScriptedControl>([&](std::vector<char>& path, const std::string& process, bool first) {
            m_control->getQxBufferDump(path, process, first);
            return false;
        }));
    Of(TrackerFirstCycle()) = true;
    m_tracker->t_process();
    EXPECT_EQ(m_tracker->Get()->GetCallIMap()->size(), 1u);
    EXPECT_TRUE(std::filesystem::exists(m_control->Directory() + "/" + m_live[0]->Name() + ".qxdump"));
}

TEST_F(QxLogTrackerTest, AProcessWithoutADumpIsMadeCurrentAllTheSame) {
    UseTellingStore();
    const NamedProcess& process = Watch();
    for (const std::string& path : {std::string(), m_control->Directory() + "/missing"}) {
        m_control->AnswerPath(process.Name(), path);
        RecordingLog::Clear();
        m_tracker->t_process();
        EXPECT_EQ(m_journal.All().back(), "current " + process.Name()) << path;
        EXPECT_THAT(RecordingLog::Messages(),
                    ElementsAre("getQxBufferDump END !! Process[" + process.Name() + "] data[0]", "m_instance is NULL"))
            << path;
    }
}

// Whatever stands in place of one process's dump, the others are tracked.
TEST_F(QxLogTrackerTest, FilesThatAreNoDumpsDoNotDisturbOthers) {
    const NamedProcess& bad = Watch("a");
    const NamedProcess& good = Watch("b");
    const std::string path = m_control->Directory() + "/bad";
    const std::vector<std::pair<std::string, std::function<void()>>> rows = {
        {"directory", [&] { std::filesystem::create_directory(path); }},
        {"pipe", [&] { ASSERT_EQ(mkfifo(path.c_str(), 0600), 0); }},
        {"empty", [&] { std::ofstream(path).flush(); }},
        {"3 GiB",
         [&] {
             std::ofstream(path).flush();
             std::filesystem::resize_file(path, std::uintmax_t{3} << 30);
         }},
        {"missing", [] {}},
        {"damaged", [&] { std::ofstream(path, std::ios::binary) << Packet(99, "?"); }},
        {"zeros", [&] { std::ofstream(path, std::ios::binary) << Bytes(1000, '\0'); }}};
    m_control->AnswerPath(bad.Name(), path);
    for (const auto& row : rows) {
        std::filesystem::remove_all(path);
        row.second();
        AddDumps(good, {Calls({1})});
        Of(TrackerFirstCycle()) = true;
        m_tracker->Get()->clearCalls();
        EXPECT_EQ(m_tracker->t_process(), 1) << row.first;
        ASSERT_EQ(m_tracker->Get()->GetCallIMap()->size(), 1u) << row.first;
        EXPECT_EQ(m_tracker->Get()->GetCallIMap()->begin()->second.pid, good.Pid16()) << row.first;
    }
}

TEST_F(QxLogTrackerTest, ADumpWithoutMemoryForItCostsNoOthers) {
    QxDebugPrint::GetInstance()->SetLevel(Major);
    const NamedProcess& good = Watch("a");
    const NamedProcess& bad = Watch("b");
    const std::string told = "[QxLogTracker::t_process] Dump not read, process: " + bad.Name() +
                             ", path: " + m_control->Directory() + "/" + bad.Name() + ".qxdump, error: std::bad_alloc";
    // Builds differ in what is allocated before the dump's bytes: at most its path.
    for (int before = 0; before < 2 && RecordingLog::Count(told, DLOG_ERROR) == 0; ++before) {
        AddDumps(good, {Calls({1})});
        AddDumps(bad, {Calls({2})});
        SetControl(boost::make_shared<ScriptedControl>(
            [&](std::vector<char>& path, const std::string& name, bool first) -> bool {
                const bool given = m_control->getQxBufferDump(path, name, first);
                if (name == bad.Name()) m_calls.allocationsLeft = before;
                return given;
            }));
        Of(TrackerFirstCycle()) = true;
        try {
            EXPECT_EQ(m_tracker->t_process(), 1);
        } catch (const std::bad_alloc&) {
            m_calls.allocationsLeft = -1;
        }
    }
    EXPECT_EQ(RecordingLog::Count(told, DLOG_ERROR), 1);
    ASSERT_EQ(m_tracker->Get()->GetCallIMap()->size(), 1u);
    EXPECT_EQ(m_tracker->Get()->GetCallIMap()->begin()->second.pid, good.Pid16());
}

TEST_F(QxLogTrackerTest, ANullControlEndsTheProcess) {
    Watch();
    SetControl(nullptr);
    EXPECT_DEATH(m_tracker->t_process(), "px != 0");
}

TEST_F(QxLogTrackerTest, AControlThatThrowsIsPrintedAndTrackingGoesOn) {
    QxDebugPrint::GetInstance()->SetLevel(Fatal);
    const NamedProcess& process = Watch();
    Load(*m_tracker, Scenario(Action("VOLUME")));
    AddDumps(process, {Calls({1}), Calls({2})});
    int turns = 0;
    SetControl(
        boost::make_shared<ScriptedControl>([&](std::vector<char>& path, const std::string& name, bool first) -> bool {
            ++turns;
            if (turns == 1) throw std::runtime_error("no framework");
            if (turns == 2) throw 42;
            return m_control->getQxBufferDump(path, name, first);
        }));
    Run();
    ASSERT_TRUE(m_client.WaitFor(2));
    m_tracker->Stop();
    EXPECT_EQ(RecordingLog::Count("[QxTask::Loop] t_process threw: no framework", DLOG_ERROR), 1);
    EXPECT_EQ(RecordingLog::Count("[QxTask::Loop] t_process threw", DLOG_ERROR), 1);
    EXPECT_EQ(m_client.Events(), (Names{"VOLUME=1", "VOLUME=2"}));
}

TEST_F(QxLogTrackerTest, TellsItsCyclesToAnObserver) {
    class Observer final : public IQxCycleObserver {
    public:
        void OnCycle(bool primes) override { steps.emplace_back(primes ? "primes" : "traces"); }
        void OnDump(const std::string& process, const std::vector<char>& dump) override {
            steps.push_back("dump " + process + " " + std::to_string(dump.size()));
        }
        void OnDecoded(const std::string& process, const QxCycle::Decoded& decoded) override {
            steps.push_back((decoded.Whole() ? "whole " : "damaged ") + process);
        }
        void OnCycleEnd() override { steps.emplace_back("end"); }
        Names steps;
    };
    Observer observer;
    const std::string process = Watch().Name();
    AddDumps(*m_live[0], {Calls({1}), Packet(99, "?")});
    m_tracker->SetCycleObserver(&observer);
    Of(TrackerFirstCycle()) = true;
    for (int cycle = 0; cycle < 3; ++cycle) m_tracker->t_process();
    EXPECT_THAT(observer.steps,
                ElementsAre("primes", "dump " + process + " " + std::to_string(Calls({1}).size()), "whole " + process,
                            "end", "traces", "dump " + process + " 3", "damaged " + process, "end", "traces",
                            "dump " + process + " 0", "whole " + process, "end"));
}

TEST_F(QxLogTrackerTest, AProcessIsDroppedFetchedAnewAndTakenUpBetweenCycles) {
    const NamedProcess& first = Watch("a");
    NamedProcess second(NamedProcess::UniqueName("b"));
    class Observer final : public IQxCycleObserver {
    public:
        void OnCycle(bool) override { steps[cycle++](); }
        std::vector<std::function<void()>> steps;
        std::size_t cycle = 0;
    };
    Observer observer;
    observer.steps = {[] {},
                      [&] {
                          std::string name = second.Name();
                          m_tracker->SetQxProcess(name);
                          m_tracker->FetchAnew(name);
                      },
                      [&] { m_tracker->DropProcess(first.Name()); }};
    m_tracker->SetCycleObserver(&observer);
    Of(TrackerFirstCycle()) = true;
    for (int cycle = 0; cycle < 3; ++cycle) m_tracker->t_process();
    EXPECT_THAT(m_control->Requests(), ElementsAre(Pair(first.Name(), true), Pair(first.Name(), false),
                                                   Pair(second.Name(), true), Pair(second.Name(), false)));
}
