#include "QxLogTrackerFixture.h"

// --- Creation

TEST_F(QxLogTrackerTest, OperationsStandInTheirOrder) {
    EXPECT_THAT(
        SlotsOf(&IQxLogTracker::SetQxProcess, &IQxLogTracker::ParseScript, &IQxLogTracker::Run, &IQxLogTracker::Stop,
                &IQxLogTracker::Get, &IQxLogTracker::Clear, &QxLogTracker::t_process, &QxLogTracker::t_onEvent),
        ElementsAre(2u, 3u, 4u, 5u, 6u, 7u, 8u, 9u));
}

TEST_F(QxLogTrackerTest, InstanceMakesANewTrackerEachTime) {
    const std::unique_ptr<IQxLogTracker> first = IQxLogTracker::Instance(Fatal);
    const std::unique_ptr<IQxLogTracker> second = IQxLogTracker::Instance(Warning);
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    EXPECT_NE(first, second);
    EXPECT_NE(first->Get(), second->Get());
}

TEST_F(QxLogTrackerTest, TheLastLevelGivenHoldsForAll) {
    const std::unique_ptr<IQxLogTracker> first = IQxLogTracker::Instance(Info);
    const std::unique_ptr<IQxLogTracker> second = IQxLogTracker::Instance(Warning);
    EXPECT_TRUE(QxDebugPrint::GetInstance()->CheckLevel(Warning));
    EXPECT_FALSE(QxDebugPrint::GetInstance()->CheckLevel(Debug));
    const std::unique_ptr<IQxLogTracker> third = IQxLogTracker::Instance(Silent);
    EXPECT_FALSE(QxDebugPrint::GetInstance()->CheckLevel(Fatal));
}

TEST_F(QxLogTrackerTest, StartsWithNothing) {
    EXPECT_TRUE(Of(TrackerProcesses()).empty());
    EXPECT_EQ(Of(TrackerCallback()), nullptr);
    ASSERT_NE(m_tracker->Get(), nullptr);
    EXPECT_TRUE(m_tracker->Get()->GetCallIMap()->empty());
    EXPECT_FALSE(m_tracker->IsRunning());
}

TEST_F(QxLogTrackerTest, GetSharesTheStore) {
    const std::shared_ptr<IQxData> store = m_tracker->Get();
    EXPECT_EQ(store, m_tracker->Get());
    m_tracker.reset();
    EXPECT_EQ(store.use_count(), 1);
}

TEST_F(QxLogTrackerTest, TakesAStoreOfTheCallers) {
    const auto store = std::make_shared<QxData>();
    store->AppendProcessName(7, "a");
    QxLogTracker tracker(Info, store);
    EXPECT_EQ(tracker.Get(), store);
    store->AppendCurrentProcess("a");
    EXPECT_EQ(store->GetCurrentPID(), 0);  // as with its own store, it begins with nothing
}

TEST_F(QxLogTrackerTest, ClearClearsTheStore) {
    UseTellingStore();
    m_tracker->Clear();
    EXPECT_THAT(m_journal.All(), ElementsAre("clear"));
}

TEST_F(QxLogTrackerTest, WithoutAStoreClearDoesNothingAndGetIsNull) {
    Of(TrackerStore()) = nullptr;
    m_tracker->Clear();
    EXPECT_EQ(m_tracker->Get(), nullptr);
}

// --- Watched processes

TEST_F(QxLogTrackerTest, AnAbsentProcessIsNotWatched) {
    UseTellingStore();
    std::string name = NamedProcess::UniqueName("none");
    EXPECT_EQ(m_tracker->SetQxProcess(name), 0);
    EXPECT_TRUE(Of(TrackerProcesses()).empty());
    EXPECT_TRUE(m_journal.All().empty());
}

TEST_F(QxLogTrackerTest, AProcessIsWatchedOnceAndAppendedEachTime) {
    const NamedProcess process(NamedProcess::UniqueName("a"));
    UseTellingStore();
    std::string name = process.Name();
    EXPECT_EQ(m_tracker->SetQxProcess(name), 1);
    EXPECT_EQ(m_tracker->SetQxProcess(name), 1);
    EXPECT_THAT(Of(TrackerProcesses()), ElementsAre(process.Name()));
    const std::string appended = "name " + process.Name() + " " + std::to_string(process.Pid16());
    EXPECT_THAT(m_journal.All(), ElementsAre(appended, appended));
    EXPECT_EQ(name, process.Name());
}

TEST_F(QxLogTrackerTest, WatchedProcessesAreOrderedByName) {
    const std::string b = Watch("b").Name();
    const std::string a = Watch("a").Name();
    Names sorted = {a, b};
    std::sort(sorted.begin(), sorted.end());
    EXPECT_EQ(Names(Of(TrackerProcesses()).begin(), Of(TrackerProcesses()).end()), sorted);
}

TEST_F(QxLogTrackerTest, ClearKeepsWatchedProcesses) {
    const NamedProcess& process = Watch();
    m_tracker->Clear();
    EXPECT_THAT(Of(TrackerProcesses()), ElementsAre(process.Name()));
    m_tracker->Get()->AppendCurrentProcess(process.Name());
    EXPECT_EQ(m_tracker->Get()->GetCurrentPID(), 0);
}

TEST_F(QxLogTrackerTest, FindsAProcessByItsName) {
    const NamedProcess process(NamedProcess::UniqueName("a"));
    EXPECT_EQ(QxLogTracker::GetProcessID(process.Name().c_str()), process.Pid16());
    const std::string line = "getProcessID(" + process.Name() + ") " + process.Name() +
                             "\n: Found. id = " + std::to_string(process.Pid16()) + "\n";
    EXPECT_THAT(RecordingLog::Messages(), ElementsAre(line));
    EXPECT_EQ(RecordingLog::Count(line, DLOG_INFO), 1);
}

TEST_F(QxLogTrackerTest, SaysThatAProcessWasNotFound) {
    const std::string name = NamedProcess::UniqueName("none");
    EXPECT_EQ(QxLogTracker::GetProcessID(name.c_str()), 0);
    const std::string line = "getProcessID(" + name + ") : id = 0 (could not find process)\n";
    EXPECT_THAT(RecordingLog::Messages(), ElementsAre(line));
    EXPECT_EQ(RecordingLog::Count(line, DLOG_INFO), 1);
}

TEST_F(QxLogTrackerTest, LooksUpSilentlyBelowLevelInfo) {
    const NamedProcess process(NamedProcess::UniqueName("a"));
    QxDebugPrint::GetInstance()->SetLevel(Debug);
    EXPECT_NE(QxLogTracker::GetProcessID(process.Name().c_str()), 0);
    EXPECT_EQ(QxLogTracker::GetProcessID((process.Name().substr(0, 3) + "?").c_str()), 0);
    EXPECT_TRUE(RecordingLog::Lines().empty());
}

TEST_F(QxLogTrackerTest, ACommandNameThatIsAPrefixMatches) {
    const NamedProcess shorter(NamedProcess::UniqueName("abc"));
    EXPECT_EQ(QxLogTracker::GetProcessID((shorter.Name() + "def").c_str()), shorter.Pid16());
}

TEST_F(QxLogTrackerTest, TheFirstMatchInProcWins) {
    const std::string name = NamedProcess::UniqueName("a");
    const NamedProcess one(name);
    const NamedProcess longer(name + "bcd");
    const NamedProcess other(name);
    const pid_t first = FirstInProc({one.Pid(), longer.Pid(), other.Pid()});
    EXPECT_EQ(QxLogTracker::FindProcess((name + "bcd").c_str()), static_cast<unsigned long>(first));
    EXPECT_EQ(QxLogTracker::FindProcess(name.c_str()),
              static_cast<unsigned long>(FirstInProc({one.Pid(), other.Pid()})));
}

TEST_F(QxLogTrackerTest, ALongNameMatchesItsShortenedForm) {
    const std::string name = NamedProcess::UniqueName("long-command-name");
    const NamedProcess process(name);
    ASSERT_GT(name.size(), 15u);
    EXPECT_EQ(QxLogTracker::GetProcessID(name.c_str()), process.Pid16());
    EXPECT_EQ(RecordingLog::Count("getProcessID(" + name + ") " + name.substr(0, 15) +
                                  "\n: Found. id = " + std::to_string(process.Pid16()) + "\n"),
              1);
}

TEST_F(QxLogTrackerTest, ALongerCommandNameDoesNotMatch) {
    const NamedProcess process(NamedProcess::UniqueName("abcd"));
    EXPECT_EQ(QxLogTracker::GetProcessID(process.Name().substr(0, process.Name().size() - 1).c_str()), 0);
    EXPECT_EQ(QxLogTracker::GetProcessID(""), 0);
}

TEST_F(QxLogTrackerTest, AProcessWithoutANameMatchesNothing) {
    const NamedProcess nameless("");
    EXPECT_EQ(QxLogTracker::GetProcessID(NamedProcess::UniqueName("none").c_str()), 0);
    EXPECT_EQ(QxLogTracker::GetProcessID(""), 0);
}

TEST_F(QxLogTrackerTest, OnlyTheFirstLineOfACommandNameCounts) {
    const std::string name = NamedProcess::UniqueName("a");
    const NamedProcess process(name + "\nb");
    const NamedProcess nameless("\nb");
    EXPECT_EQ(QxLogTracker::GetProcessID((name + "c").c_str()), process.Pid16());
    EXPECT_EQ(QxLogTracker::GetProcessID("\nb"), 0);
}

TEST_F(QxLogTrackerTest, LookupClosesWhatItOpened) {
    const NamedProcess process(NamedProcess::UniqueName("a"));
    const auto openFiles = [] { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); };
    const auto before = openFiles();
    QxLogTracker::GetProcessID(process.Name().c_str());
    QxLogTracker::GetProcessID(NamedProcess::UniqueName("none").c_str());
    EXPECT_EQ(openFiles(), before);
}
