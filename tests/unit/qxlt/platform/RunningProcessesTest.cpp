// Finding processes by name, without taking one for another.
#include "RunningProcesses.h"

#include <gmock/gmock.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "NamedProcess.h"

namespace {

using namespace qxlt;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

TEST(RunningProcesses, TakeNoShorterNameForTheOneAskedFor) {
    const NamedProcess short_(NamedProcess::UniqueName("j"));
    EXPECT_THAT(FindRunning(short_.Name()), ElementsAre(short_.Pid()));
    EXPECT_THAT(FindRunning(short_.Name() + "q"), IsEmpty());
    EXPECT_EQ(NotRunningText(short_.Name() + "q"), short_.Name() + "q does not run; " + short_.Name() + " does");
}

TEST(RunningProcesses, TakeTheNameThatTheSystemHasCut) {
    const std::string name = NamedProcess::UniqueName("whole").substr(0, 15);
    ASSERT_EQ(name.size(), 15u);
    const NamedProcess cut(name + "-and-more");
    EXPECT_THAT(FindRunning(name), ElementsAre(cut.Pid()));
    EXPECT_THAT(FindRunning(name + "-and-more"), ElementsAre(cut.Pid()));
    EXPECT_THAT(FindRunning(name.substr(0, 14)), IsEmpty());
}

TEST(RunningProcesses, TakeAllOfAName) {
    const NamedProcess first(NamedProcess::UniqueName());
    const NamedProcess second(first.Name());
    EXPECT_THAT(FindRunning(first.Name()),
                ElementsAre(std::min(first.Pid(), second.Pid()), std::max(first.Pid(), second.Pid())));
}

TEST(RunningProcesses, TakeNoneThatHasEnded) {
    const std::string name = NamedProcess::UniqueName();
    const pid_t child = fork();
    if (child == 0) {
        prctl(PR_SET_NAME, name.c_str());
        _exit(0);
    }
    siginfo_t information;
    ASSERT_EQ(waitid(P_PID, static_cast<id_t>(child), &information, WEXITED | WNOWAIT), 0);
    EXPECT_THAT(FindRunning(name), IsEmpty());
    waitpid(child, nullptr, 0);
}

TEST(RunningProcesses, SuggestAName) {
    const NamedProcess process(NamedProcess::UniqueName("a"));
    std::string misspelt = process.Name();
    misspelt.back() = 'b';
    EXPECT_THAT(NotRunningText(misspelt), HasSubstr("; "));
    EXPECT_THAT(NotRunningText(std::string(40, '\x01')), Not(HasSubstr(";")));
}

}  // namespace
