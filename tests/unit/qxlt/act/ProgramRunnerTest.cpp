// Commands that run beside the tracker.
#include "ProgramRunner.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>

#include "Descriptor.h"
#include "EventPrograms.h"
#include "Workplace.h"

namespace {

using namespace qxlt;
using std::chrono::milliseconds;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

constexpr milliseconds kLong(60000);

ProgramRunner::Bounds BoundsOf(unsigned atOnce, milliseconds limit, std::size_t waiting = 100) {
    ProgramRunner::Bounds bounds;
    bounds.atOnce = atOnce;
    bounds.limit = limit;
    bounds.waiting = waiting;
    return bounds;
}

// What the runner says while it does that.
template <typename Work>
std::string ErrorsOf(Work work) {
    testing::internal::CaptureStderr();
    work();
    return testing::internal::GetCapturedStderr();
}

TEST(ProgramRunner, GivesACommandItsInputAndItsVariables) {
    const Workplace place;
    ASSERT_EQ(setenv("QX_EVENT_VALUE", "inherited", 1), 0);
    const std::string errors = ErrorsOf([&place] {
        ProgramRunner runner(BoundsOf(4, kLong));
        runner.Run("E", {"cat > " + place.At("in") + "; printf %s \"$QX_EVENT_VALUE\" > " + place.At("value"),
                         {"QX_EVENT_VALUE=$(touch " + place.At("injected") + ")`x`; 'q' \"w\"\n"},
                         std::string(1 << 20, 'x')});
        runner.Finish();
        EXPECT_FALSE(runner.Failed());
    });
    unsetenv("QX_EVENT_VALUE");
    EXPECT_EQ(errors, "");
    EXPECT_EQ(place.Read("in"), std::string(1 << 20, 'x'));
    EXPECT_EQ(place.Read("value"), "$(touch " + place.At("injected") + ")`x`; 'q' \"w\"\n");
    EXPECT_NE(access(place.At("injected").c_str(), F_OK), 0);
}

// Nobody reads the input, and what is printed goes where messages go.
TEST(ProgramRunner, KeepsResultsApart) {
    const std::string errors = ErrorsOf([] {
        ProgramRunner runner(BoundsOf(1, kLong));
        runner.Run("E", {"echo hello", {}, std::string(1 << 20, 'x')});
        runner.Finish();
        EXPECT_FALSE(runner.Failed());
    });
    EXPECT_EQ(errors, "hello\n");
}

TEST(ProgramRunner, LeavesNothingOfThisProcessToACommand) {
    const Workplace place;
    sigset_t blocked;
    sigset_t before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &blocked, &before);
    const auto handler = ::signal(SIGPIPE, SIG_IGN);
    const Descriptor secret(open("/dev/null", O_RDONLY | O_CLOEXEC));
    ErrorsOf([&place] {
        ProgramRunner runner(BoundsOf(1, kLong));
        runner.Run("E", {"exec cat /proc/self/status /proc/self/stat > " + place.At("status"), {}, ""});
        runner.Run("E", {"exec ls -l /proc/self/fd > " + place.At("files"), {}, ""});
        runner.Finish();
    });
    ::signal(SIGPIPE, handler);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    const std::string status = place.Read("status");
    EXPECT_THAT(status, HasSubstr("SigBlk:\t0000000000000000\n"));
    EXPECT_THAT(status, ContainsRegex("SigIgn:\t[0-9a-f]+0000000\n"));  // but for two of the C library's own
    // A leader of a group and a session of its own: its id, its parent's, the group's and the session's.
    EXPECT_THAT(status, ContainsRegex("\nPid:\t([0-9]+)\n"));
    const std::string stat = status.substr(status.rfind("\n", status.size() - 2) + 1);
    EXPECT_THAT(stat, ContainsRegex("^[0-9]+ \\(cat\\)"));
    const std::string pid = stat.substr(0, stat.find(' '));
    EXPECT_THAT(stat, ContainsRegex("\\) [A-Z] [0-9]+ " + pid + " " + pid + " "));
    const std::string files = place.Read("files");
    EXPECT_THAT(files, ContainsRegex(" 2 -> "));
    EXPECT_THAT(files, Not(HasSubstr(" " + std::to_string(secret.Get()) + " -> /dev/null")));
    EXPECT_THAT(files, Not(HasSubstr("anon_inode")));
}

TEST(ProgramRunner, TellsOfFailures) {
    const std::string errors = ErrorsOf([] {
        ProgramRunner runner(BoundsOf(1, kLong));
        runner.Run("A", {"exit 3", {}, ""});
        runner.Run("B", {"kill -9 $$", {}, ""});
        runner.Run("C", {"true", {}, ""});
        runner.Finish();
        EXPECT_TRUE(runner.Failed());
        EXPECT_EQ(runner.Count().started, 3U);
        EXPECT_EQ(runner.Count().failed, 2U);
        EXPECT_EQ(runner.Count().leftOut, 0U);
    });
    EXPECT_EQ(errors,
              "warning: --exec A: \"exit 3\" ended with status 3\n"
              "warning: --exec B: \"kill -9 $$\" was ended by signal 9\n");
}

TEST(ProgramRunner, TellsOfSoManyFailuresOnly) {
    const std::string errors = ErrorsOf([] {
        ProgramRunner runner(BoundsOf(4, kLong));
        for (int i = 0; i < 40; ++i) runner.Run("A", {"exit 3", {}, ""});
        runner.Finish();
    });
    EXPECT_EQ(std::count(errors.begin(), errors.end(), '\n'), 11);
    EXPECT_THAT(errors, testing::EndsWith("warning: --exec: 30 failures not told\n"));
}

// The child of the command, too.
TEST(ProgramRunner, KillsTheWholeGroupOfOneThatTakesTooLong) {
    const Workplace place;
    const auto began = std::chrono::steady_clock::now();
    const std::string errors = ErrorsOf([&place] {
        ProgramRunner runner(BoundsOf(1, milliseconds(200)));
        runner.Run("A", {"sleep 100 & echo $! > " + place.At("child") + "; wait", {}, ""});
        while (place.Read("child").empty()) std::this_thread::yield();
        // Reaped by whoever reaps orphans; that it is killed shows in its state at the latest.
        runner.Finish();
    });
    EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::seconds(60));
    EXPECT_EQ(errors, "warning: --exec A: \"sleep 100 & echo $! > " + place.At("child") +
                          "; wait\" was killed, since it ran longer than 200.0 ms\n");
    const int child = std::stoi(place.Read("child"));
    std::string state;
    do {
        std::ifstream stat("/proc/" + std::to_string(child) + "/stat");
        state.assign(std::istreambuf_iterator<char>(stat), {});
    } while (!state.empty() && state.find(") Z ") == std::string::npos);
}

TEST(ProgramRunner, RunsSoManyAtOnce) {
    const Workplace place;
    const std::string errors = ErrorsOf([&place] {
        ProgramRunner runner(BoundsOf(2, kLong));
        const std::string command = "mkdir " + place.At("a") + " || mkdir " + place.At("b") + " || touch " +
                                    place.At("third") + "; sleep 0.05; rmdir " + place.At("b") + " || rmdir " +
                                    place.At("a");
        for (int i = 0; i < 8; ++i) runner.Run("A", {"{ " + command + "; } 2>/dev/null", {}, ""});
        runner.Finish();
        EXPECT_FALSE(runner.Failed());
    });
    EXPECT_EQ(errors, "");
    EXPECT_NE(access(place.At("third").c_str(), F_OK), 0);
}

// A pipe that nobody has written to holds the first one up.
TEST(ProgramRunner, CountsWhatHasNoRoom) {
    const Workplace place;
    ASSERT_EQ(mkfifo(place.At("gate").c_str(), 0600), 0);
    const std::string errors = ErrorsOf([&place] {
        ProgramRunner runner(BoundsOf(1, kLong, 2));
        runner.Run("A", {"touch " + place.At("runs") + "; cat " + place.At("gate"), {}, ""});
        while (access(place.At("runs").c_str(), F_OK) != 0) std::this_thread::yield();
        for (int i = 0; i < 5; ++i) runner.Run("A", {"echo x >> " + place.At("ran"), {}, ""});
        Descriptor(open(place.At("gate").c_str(), O_WRONLY)).Close();
        runner.Finish();
        EXPECT_TRUE(runner.Failed());
    });
    EXPECT_EQ(place.Read("ran"), "x\nx\n");
    EXPECT_EQ(errors,
              "warning: --exec A: 2 commands wait already; others are left out until there is room, and counted\n"
              "warning: --exec: 3 commands left out, for which no room was\n");
}

TEST(ProgramRunner, CountsTheBytesThatWait) {
    ErrorsOf([] {
        ProgramRunner::Bounds bounds = BoundsOf(1, kLong);
        bounds.waitingBytes = 10;
        ProgramRunner runner(bounds);
        runner.Run("A", {"true", {}, std::string(10, 'x')});
        EXPECT_FALSE(runner.Failed());
        runner.Run("A", {"true", {}, std::string(11, 'x')});
        EXPECT_TRUE(runner.Failed());
        runner.Finish();
    });
}

TEST(ProgramRunner, EndsAllWhenNobodyWaitsForThem) {
    const Workplace place;
    const auto began = std::chrono::steady_clock::now();
    ErrorsOf([&place] {
        ProgramRunner runner(BoundsOf(1, kLong));
        runner.Run("A", {"touch " + place.At("runs") + "; sleep 100", {}, ""});
        while (access(place.At("runs").c_str(), F_OK) != 0) std::this_thread::yield();
    });
    EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::seconds(50));
}

// At the end of the run what runs may go on for as long as it might anyway.
TEST(ProgramRunner, LeavesOutWhatIsNotStartedInTime) {
    const Workplace place;
    const std::string errors = ErrorsOf([&place] {
        ProgramRunner runner(BoundsOf(1, milliseconds(300)));
        runner.Run("A", {"sleep 100", {}, ""});
        runner.Run("B", {"sleep 100", {}, ""});
        runner.Run("C", {"touch " + place.At("ran"), {}, ""});
        runner.Finish();
    });
    EXPECT_NE(access(place.At("ran").c_str(), F_OK), 0);
    EXPECT_THAT(errors, HasSubstr("A: \"sleep 100\" was killed, since "));
}

TEST(EventPrograms, BoundsWhatStandsInTheEnvironment) {
    const IQxData::HSCall call = {};
    const IQxData::_HSCallLocation location = {};
    const std::string process("a\0b", 3);
    const std::vector<std::string> variables =
        EventEnvironment({3, "E", std::string(5000, 'v'), {call, location, process, std::nullopt}});
    EXPECT_THAT(variables, testing::Contains("QX_EVENT_NAME=E"));
    EXPECT_THAT(variables, testing::Contains("QX_EVENT_CYCLE=3"));
    EXPECT_THAT(variables, testing::Contains("QX_EVENT_VALUE=" + std::string(4096, 'v')));
    EXPECT_THAT(variables, testing::Contains("QX_EVENT_PROCESS=a\xEF\xBF\xBD"
                                             "b"));
}

}  // namespace
