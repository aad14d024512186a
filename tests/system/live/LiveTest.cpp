// Live programs, tracked through the shared library as a client does it.
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <map>
#include <memory>

#include "EventSink.h"
#include "IQxLogTracker.h"
#include "TracedProgram.h"

namespace {

// The first cycle primes, and what it primed is traced with the next dump: calls go on for some seconds, so that there
// is one.
constexpr int kPauseUs = 20000;
constexpr std::ptrdiff_t kCallsOfThreeSeconds = 3000000 / kPauseUs;

class Live : public testing::Test {
protected:
    // One directory for all tests of the process: the control looks it up once.
    static void SetUpTestSuite() {
        directory = (std::filesystem::temp_directory_path() / "qx-live-XXXXXX").string();
        ASSERT_NE(mkdtemp(directory.data()), nullptr);
        setenv("QX_RUNTIME_DIR", directory.c_str(), 1);
        setenv("QX_LOG", "none", 1);
    }
    static void TearDownTestSuite() { std::filesystem::remove_all(directory); }

    void SetUp() override {
        ++testNumber;
        m_tracker = IQxLogTracker::Instance(Silent);
    }
    void TearDown() override {
        unsetenv("QX_RING_PAGES");
        unsetenv("QX_RING_PAGE_SIZE");
    }

    // Unique in the system, and within the 15 bytes that it keeps.
    static std::string Name(char which) {
        return "qx" + std::to_string(getpid()) + static_cast<char>('A' + testNumber) + which;
    }

    static constexpr char kEachCount[] =
        "<method name='Count'/><event name='COUNTED' tag='IN' value='1' type='INT' watch='ALWAYS'/>";

    // One action for each process. Unless told otherwise each call of Count fires; the value is n.
    int Load(const std::vector<std::string>& processes, const std::string& content = kEachCount) {
        std::string xml = "<Scenario>";
        for (const std::string& process : processes) {
            xml += "<action name='count' process='" + process + "'>" + content + "</action>";
        }
        xml += "</Scenario>";
        std::pair<int, char*> script(static_cast<int>(xml.size()), &xml[0]);
        return m_tracker->ParseScript(script);
    }

    void Run() { ASSERT_EQ(m_tracker->Run(EventSink::OnEvent, &m_events, 1), 1); }

    // Nothing came out that did not go in, nothing twice, and each thread's calls in their order.
    static void ExpectTrue(const std::vector<CountEvent>& events) {
        std::map<std::pair<unsigned, std::uint32_t>, std::int64_t> last;
        for (const CountEvent& event : events) {
            ASSERT_EQ(event.value, std::to_string(event.n));
            ASSERT_EQ(event.text, std::to_string(event.thread) + "/" + event.value);
            if (event.returned) {
                ASSERT_EQ(event.result, event.n + 1);
            }
            const auto thread = last.try_emplace({event.pid, event.thread}, -1).first;
            ASSERT_GT(std::int64_t{event.n}, thread->second);
            thread->second = event.n;
        }
    }

    // Waits until so many more events of the program have arrived.
    bool WaitForMoreOf(const TracedProgram& program, std::ptrdiff_t more) {
        const std::ptrdiff_t wanted = CountOf(m_events.Events(), program) + more;
        return m_events.WaitFor(
            [&](const std::vector<CountEvent>& events) { return CountOf(events, program) >= wanted; });
    }

    static std::ptrdiff_t CountOf(const std::vector<CountEvent>& events, const TracedProgram& program) {
        return std::count_if(events.begin(), events.end(), [&program](const CountEvent& event) {
            return event.pid == static_cast<unsigned short>(program.Pid());
        });
    }

    // Where the last dump of the process lies; empty when there is none.
    static std::filesystem::path DumpOf(const std::string& process) {
        for (const auto& entry : std::filesystem::directory_iterator(directory)) {
            const std::string name = entry.path().filename();
            if (name.rfind(process + ".", 0) == 0 && entry.path().extension() == ".qxdump") return entry.path();
        }
        return {};
    }

    // The calls 0 to `count` - 1 of the process, all of them.
    static void ExpectWhole(const std::vector<CountEvent>& events, pid_t pid, std::uint32_t count) {
        std::uint32_t next = 0;
        for (const CountEvent& event : events) {
            if (event.pid != static_cast<unsigned short>(pid)) continue;
            ASSERT_EQ(event.n, next++);
        }
        EXPECT_EQ(next, count);
    }

    static std::string directory;
    static int testNumber;
    EventSink m_events;
    std::unique_ptr<IQxLogTracker> m_tracker;
};

std::string Live::directory;
int Live::testNumber = 0;

TEST_F(Live, DeliversEveryCallOfOneProgram) {
    TracedProgram program(Name('a'), 1, 200, kPauseUs);
    ASSERT_EQ(Load({Name('a')}), 1);
    Run();
    ASSERT_TRUE(m_events.WaitForCount(200));
    ExpectTrue(m_events.Events());
    ExpectWhole(m_events.Events(), program.Pid(), 200);
}

TEST_F(Live, TellsTwoProgramsApart) {
    TracedProgram first(Name('a'), 1, 200, kPauseUs);
    TracedProgram second(Name('b'), 2, 100, kPauseUs);
    ASSERT_EQ(Load({Name('a'), Name('b')}), 1);
    Run();
    ASSERT_TRUE(m_events.WaitForCount(400));
    const std::vector<CountEvent> events = m_events.Events();
    ExpectTrue(events);
    ExpectWhole(events, first.Pid(), 200);
    EXPECT_EQ(
        std::count_if(events.begin(), events.end(),
                      [&](const CountEvent& event) { return event.pid == static_cast<unsigned short>(second.Pid()); }),
        200);
}

// The system keeps 15 bytes of the name, the scenario has all of it.
TEST_F(Live, FindsAProgramByItsLongName) {
    const std::string name = Name('a') + "-with-a-long-name";
    TracedProgram program(name, 1, 150, kPauseUs);
    ASSERT_EQ(Load({name}), 1);
    Run();
    ASSERT_TRUE(m_events.WaitForCount(150));
    ExpectWhole(m_events.Events(), program.Pid(), 150);
}

// The store knows one process of a name, the one that was found first: the calls of both carry its id.
TEST_F(Live, DeliversTheCallsOfBothProgramsOfOneName) {
    TracedProgram first(Name('a'), 1, 150, kPauseUs);
    TracedProgram second(Name('a'), 1, 150, kPauseUs);
    ASSERT_EQ(Load({Name('a')}), 1);
    Run();
    ASSERT_TRUE(m_events.WaitForCount(300));
    std::map<std::uint32_t, int> times;
    for (const CountEvent& event : m_events.Events()) ++times[event.n];
    EXPECT_EQ(times.size(), 150u);
    for (const auto& [n, count] : times) EXPECT_EQ(count, 2) << n;
}

TEST_F(Live, LosesNothingOfAProgramThatIsStoppedForAWhile) {
    TracedProgram program(Name('a'), 1, 300, kPauseUs);
    TracedProgram other(Name('b'), 1, 0, kPauseUs);
    ASSERT_EQ(Load({Name('a'), Name('b')}), 1);
    Run();
    ASSERT_TRUE(WaitForMoreOf(program, 1));
    program.Signal(SIGSTOP);
    ASSERT_TRUE(WaitForMoreOf(other, kCallsOfThreeSeconds));
    program.Signal(SIGCONT);
    ASSERT_TRUE(
        m_events.WaitFor([&](const std::vector<CountEvent>& events) { return CountOf(events, program) == 300; }));
    ExpectWhole(m_events.Events(), program.Pid(), 300);
}

TEST_F(Live, WaitsForAProgramThatComesLater) {
    std::future<int> loaded = std::async(std::launch::async, [this] { return Load({Name('a')}); });
    ASSERT_EQ(loaded.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    TracedProgram program(Name('a'), 1, 150, kPauseUs);
    ASSERT_EQ(loaded.get(), 1);
    Run();
    ASSERT_TRUE(m_events.WaitForCount(150));
    ExpectWhole(m_events.Events(), program.Pid(), 150);
}

TEST_F(Live, GoesOnWhenAProgramDies) {
    TracedProgram staying(Name('a'), 1, 0, 5000);
    auto dying = std::make_unique<TracedProgram>(Name('b'), 1, 100, 1000);
    const pid_t dead = dying->Pid();
    ASSERT_EQ(Load({Name('a'), Name('b')}), 1);
    Run();
    ASSERT_TRUE(m_events.WaitForCount(1));
    dying->WaitUntilDone();
    dying.reset();
    // The last calls of the dead one still come, and the other's keep coming.
    const auto ofDead = [dead](const CountEvent& event) { return event.pid == static_cast<unsigned short>(dead); };
    ASSERT_TRUE(m_events.WaitFor([&](const std::vector<CountEvent>& events) {
        return std::count_if(events.begin(), events.end(), ofDead) == 100;
    }));
    ASSERT_TRUE(m_events.WaitForCount(m_events.Count() + 10));
    ExpectTrue(m_events.Events());
    ExpectWhole(m_events.Events(), dead, 100);
}

TEST_F(Live, FollowsAProgramThatIsRestarted) {
    auto program = std::make_unique<TracedProgram>(Name('a'), 1, 0, kPauseUs);
    ASSERT_EQ(Load({Name('a')}), 1);
    Run();
    ASSERT_TRUE(m_events.WaitForCount(10));
    program.reset();
    program = std::make_unique<TracedProgram>(Name('a'), 1, 0, kPauseUs);
    const auto isFirst = [](const CountEvent& event) { return event.n == 0; };
    ASSERT_TRUE(m_events.WaitFor([&](const std::vector<CountEvent>& events) {
        return std::count_if(events.begin(), events.end(), isFirst) == 2 && events.back().n > 10;
    }));
    // Both count as the process that was registered under the name: two runs of numbers, neither with a gap.
    m_tracker->Stop();
    const std::vector<CountEvent> events = m_events.Events();
    for (std::size_t i = 1; i < events.size(); ++i) {
        ASSERT_TRUE(isFirst(events[i]) || events[i].n == events[i - 1].n + 1) << i;
    }
}

TEST_F(Live, KeepsTheNewestCallsOfARingThatOverflows) {
    setenv("QX_RING_PAGE_SIZE", "512", 1);
    setenv("QX_RING_PAGES", "4", 1);
    TracedProgram program(Name('a'), 1, 0, 50);
    ASSERT_EQ(Load({Name('a')}), 1);
    Run();
    ASSERT_TRUE(m_events.WaitForCount(100));
    m_tracker->Stop();
    const std::vector<CountEvent> events = m_events.Events();
    ExpectTrue(events);
    EXPECT_GT(events.back().n, events.size());
}

TEST_F(Live, DecodesWhatAKilledProgramLeft) {
    TracedProgram program(Name('a'), 3, 0, 0);
    ASSERT_EQ(Load({Name('a')}), 1);
    Run();
    ASSERT_TRUE(m_events.WaitForCount(1000));
    program.Signal(SIGKILL);
    program.End();
    const std::size_t before = m_events.Count();
    ASSERT_TRUE(m_events.WaitForCount(before + 1));
    m_tracker->Stop();
    ExpectTrue(m_events.Events());
}

// What stands where the dump belongs is replaced by the next dump, or keeps it from being written for as long as it
// stands there: nothing is lost either way.
TEST_F(Live, LosesNothingToWhatTakesThePlaceOfADump) {
    namespace fs = std::filesystem;
    TracedProgram program(Name('a'), 1, 0, kPauseUs);
    TracedProgram other(Name('b'), 1, 0, kPauseUs);
    ASSERT_EQ(Load({Name('a'), Name('b')}), 1);
    Run();
    ASSERT_TRUE(WaitForMoreOf(program, 1));
    const fs::path dump = DumpOf(Name('a'));
    const std::function<void()> things[] = {[&] { mkfifo(dump.c_str(), 0600); }, [&] { std::ofstream{dump}; },
                                            [&] {
                                                std::ofstream{dump};
                                                fs::resize_file(dump, std::uintmax_t{3} << 30);
                                            },
                                            [&] { fs::create_directory(dump); }};
    for (const auto& put : things) {
        // When events arrive, the cycle has read its dumps, and the next one is a second away.
        ASSERT_TRUE(WaitForMoreOf(program, 1));
        fs::remove(dump);
        put();
    }
    // No dump of the program can take the directory's place, while the other one is tracked on.
    ASSERT_TRUE(WaitForMoreOf(other, kCallsOfThreeSeconds));
    EXPECT_TRUE(fs::is_directory(dump));
    fs::remove(dump);
    ASSERT_TRUE(WaitForMoreOf(program, 1));
    m_tracker->Stop();
    ExpectTrue(m_events.Events());
    std::int64_t last = -1;
    for (const CountEvent& event : m_events.Events()) {
        if (event.pid != static_cast<unsigned short>(program.Pid())) continue;
        ASSERT_TRUE(last == -1 || event.n == last + 1) << last << " " << event.n;
        last = event.n;
    }
}

// An event on the result fires for the calls that returned alone, though 0 is what they return.
TEST_F(Live, RaisesNothingOnTheResultOfACallThatThrew) {
    TracedProgram program(Name('a'), 1, 200, kPauseUs);
    ASSERT_EQ(Load({Name('a')},
                   "<method name='Try'/>"
                   "<event name='TRIED' tag='IN' value='1' type='INT' watch='ALWAYS'/>"
                   "<event name='RETURNED' tag='RET' value='0' type='INT' watch='ALWAYS'/>"),
              1);
    Run();
    ASSERT_TRUE(m_events.WaitForCount(30));
    m_tracker->Stop();
    std::map<std::uint32_t, std::vector<std::string>> byCall;
    for (const CountEvent& event : m_events.Events()) {
        byCall[event.n].push_back(event.name + " " + event.value);
        EXPECT_EQ(event.returned, event.n % 20 != 0) << event.n;
    }
    EXPECT_EQ(byCall.size(), 20u);
    for (const auto& [n, events] : byCall) {
        std::vector<std::string> expected{"TRIED " + std::to_string(n)};
        if (n % 20 != 0) expected.emplace_back("RETURNED 0");
        EXPECT_EQ(events, expected);
    }
}

TEST_F(Live, RunsAgainAfterStop) {
    TracedProgram program(Name('a'), 1, 0, kPauseUs);
    ASSERT_EQ(Load({Name('a')}), 1);
    Run();
    ASSERT_TRUE(m_events.WaitForCount(10));
    EXPECT_EQ(m_tracker->Stop(), 1);
    const std::size_t stopped = m_events.Count();
    Run();
    ASSERT_TRUE(m_events.WaitForCount(stopped + 10));
    EXPECT_EQ(m_tracker->Stop(), 1);
}

TEST_F(Live, DeliversOnlyWhatWentInAtFullSpeed) {
    TracedProgram program(Name('a'), 4, 0, 0);
    ASSERT_EQ(Load({Name('a')}), 1);
    Run();
    ASSERT_TRUE(m_events.WaitForCount(20000));
    m_tracker->Stop();
    ExpectTrue(m_events.Events());
}

}  // namespace
