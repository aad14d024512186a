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

namespace {

using namespace dump;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;

using Names = std::vector<std::string>;

constexpr char kNoDump[] = "> m_instance is NULL";  // said by each later cycle that no dump was left for

Bytes Site() {
    return Persistent({Item(kLocation, Location(3).Name("SetVolume").Arg("int", kIn, 4))});
}

// A dump with a call SetVolume(value) for each value.
Bytes Calls(const std::vector<int>& values) {
    Bytes stream;
    for (const int value : values) {
        stream += StreamItem(kBefore, Before(105, 3, Int(value, 4))) + StreamItem(kAfter, After(2));
    }
    return Site() + Thread(5, stream);
}

std::string Action(const std::string& event, const std::string& attributes = std::string()) {
    return "<action name='" + event + "' " + attributes + "><method name='SetVolume'/><event name='" + event +
           "' tag='IN' value='0' type='INT'/></action>";
}

std::string Scenario(const std::string& content) {
    return "<Scenario>" + content + "</Scenario>";
}

int Load(IQxLogTracker& tracker, const std::string& script) {
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
pid_t FirstInProc(const std::vector<pid_t>& pids) {
    DIR* const directory = opendir("/proc/");
    pid_t first = 0;
    while (const dirent* const entry = first != 0 ? nullptr : readdir(directory)) {
        const auto pid = static_cast<pid_t>(std::strtol(entry->d_name, nullptr, 10));
        if (std::count(pids.begin(), pids.end(), pid) != 0) first = pid;
    }
    closedir(directory);
    return first;
}

}  // namespace

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

TEST_F(QxLogTrackerTest, DestroyingARunningTrackerStopsIt) {
    const NamedProcess& process = Watch();
    Load(*m_tracker, Scenario(Action("VOLUME")));
    AddDumps(process, std::vector<Bytes>(50, Calls({1})));
    Run();
    ASSERT_TRUE(m_client.WaitFor(1));
    const int worker = m_tracker->Pid();
    m_tracker.reset();
    EXPECT_FALSE(std::filesystem::exists("/proc/self/task/" + std::to_string(worker)));
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
    EXPECT_EQ(threads(), before);
}

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
