// Starts and ends of processes.
#include "ProcessWatch.h"

#include <gmock/gmock.h>

#include "Json.h"

namespace {

using namespace qxlt;
using testing::ElementsAre;
using testing::IsEmpty;

// A platform whose processes are given.
class Processes {
public:
    std::vector<ProcessStatus> now;
    ProcessWatch watch{
        [this](const std::string& process) { return process == "a" ? now : std::vector<ProcessStatus>(); }};

    // "12 started, 13 unreadable: why"
    std::string Look() {
        std::string text;
        for (const ProcessChange& change : watch.Look("a")) {
            const JsonObject json = ParseJson("changes", ChangesJson({change}));
            text += (text.empty() ? "" : ", ") + std::to_string(change.pid) + " " + json[0]["state"].get<std::string>();
            if (!change.reason.empty()) text += ": " + change.reason;
        }
        return text;
    }
};

TEST(ProcessWatch, KnowsWhatRunsAlready) {
    Processes processes;
    processes.now = {{4, true, "", ""}};
    processes.watch.Begin("a");
    EXPECT_EQ(processes.Look(), "");
    EXPECT_THAT(processes.watch.Running("a"), ElementsAre(4));
    EXPECT_THAT(processes.watch.Running("b"), IsEmpty());
}

// Who starts a program and tracks it at once is told that it is tracked.
TEST(ProcessWatch, KnowsWhatRunsBeforeItIsToldOf) {
    Processes processes;
    processes.watch.Begin("a");
    processes.now = {{4, true, "", ""}, {5, false, "", ""}};
    EXPECT_THAT(processes.watch.Running("a"), ElementsAre(4));
    EXPECT_EQ(processes.Look(), "4 started, 5 started, 5 ended");
}

TEST(ProcessWatch, TellsOfStartsAndEnds) {
    Processes processes;
    processes.watch.Begin("a");
    processes.now = {{4, true, "", ""}};
    EXPECT_EQ(processes.Look(), "4 started");
    processes.now = {{4, true, "", ""}, {5, true, "", ""}};
    EXPECT_EQ(processes.Look(), "5 started");
    processes.now = {{4, false, "", ""}, {5, true, "", ""}};
    EXPECT_EQ(processes.Look(), "4 ended");
    EXPECT_EQ(processes.Look(), "");
    processes.now = {{4, false, "", ""}};
    EXPECT_EQ(processes.Look(), "5 ended");
    processes.now = {{6, true, "", ""}, {7, true, "", ""}};
    EXPECT_EQ(processes.Look(), "6 restarted, 7 started");
    EXPECT_THAT(processes.watch.Running("a"), ElementsAre(6, 7));
}

TEST(ProcessWatch, TellsOfARestartBetweenTwoLooks) {
    Processes processes;
    processes.now = {{4, true, "", ""}};
    processes.watch.Begin("a");
    processes.now = {{4, false, "", ""}, {5, false, "", ""}, {6, true, "", ""}};
    EXPECT_EQ(processes.Look(), "4 ended, 5 restarted, 5 ended, 6 restarted");
    processes.now = {};
    EXPECT_EQ(processes.Look(), "6 ended");
    processes.now = {{6, true, "", ""}};
    EXPECT_EQ(processes.Look(), "6 restarted");
}

TEST(ProcessWatch, TellsOnceThatNothingCanBeRead) {
    Processes processes;
    processes.now = {{4, true, "runs as user b", "run this as b"}};
    processes.watch.Begin("a");
    EXPECT_FALSE(processes.watch.IsBlind());
    EXPECT_EQ(processes.Look(), "4 unreadable: runs as user b; run this as b");
    EXPECT_TRUE(processes.watch.IsBlind());
    EXPECT_EQ(processes.Look(), "");
    processes.now = {{4, true, "", ""}};
    EXPECT_EQ(processes.Look(), "4 started: it can be read now");
    EXPECT_FALSE(processes.watch.IsBlind());
}

TEST(ProcessWatch, GivesANewProcessTheTimeToRecord) {
    Processes processes;
    processes.watch.Begin("a");
    processes.now = {{4, true, "has no recorder", ""}};
    EXPECT_FALSE(processes.watch.LooksBlind());
    EXPECT_EQ(processes.Look(), "4 started");
    EXPECT_TRUE(processes.watch.LooksBlind());
    EXPECT_FALSE(processes.watch.IsBlind());
    EXPECT_EQ(processes.Look(), "4 unreadable: has no recorder");
    processes.now = {{4, false, "", ""}, {5, true, "", ""}};
    EXPECT_EQ(processes.Look(), "4 ended, 5 restarted");
    EXPECT_FALSE(processes.watch.IsBlind());
    EXPECT_FALSE(processes.watch.LooksBlind());
}

}  // namespace
