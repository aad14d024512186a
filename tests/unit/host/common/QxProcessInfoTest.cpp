// Which processes count as running.
#include "QxProcessInfo.h"

#include <sys/wait.h>
#include <unistd.h>

#include "HostTest.h"

namespace {

using qxhost::QxProcessInfo;
using QxProcessInfoTest = HostTest;

TEST_F(QxProcessInfoTest, AProcessIsKnownByItsIdAndStartTime) {
    const std::uint64_t start = QxProcessInfo::StartTime(::getpid());
    EXPECT_NE(start, 0u);
    EXPECT_TRUE(QxProcessInfo::IsAlive(::getpid(), start));
    EXPECT_FALSE(QxProcessInfo::IsAlive(::getpid(), start + 1));
    EXPECT_FALSE(QxProcessInfo::IsAlive(::getpid(), 0));
    EXPECT_FALSE(QxProcessInfo::IsAlive(999999999, start));
}

TEST_F(QxProcessInfoTest, OneThatEndedAndWasNotWaitedForDoesNotRun) {
    const pid_t pid = ::fork();
    if (pid == 0) ::_exit(0);
    siginfo_t info{};
    ASSERT_EQ(::waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOWAIT), 0);
    EXPECT_EQ(QxProcessInfo::StartTime(pid), 0u);
    ::waitpid(pid, nullptr, 0);
}

TEST_F(QxProcessInfoTest, WithoutDescriptorsAProcessIsTakenToRun) {
    const std::uint64_t start = QxProcessInfo::StartTime(::getpid());
    const FewDescriptors none(0);
    EXPECT_EQ(QxProcessInfo::StartTime(::getpid()), 0u);
    EXPECT_TRUE(QxProcessInfo::IsAlive(::getpid(), start));
}

TEST_F(QxProcessInfoTest, ANameMayHoldWhatStandsAroundNames) {
    PausingChild child(m_directory, "a) (b) Z 1", [](const PausingChild::Pause& pause) {
        EXPECT_EQ(QxProcessInfo::OwnName(), "a) (b) Z 1");
        pause();
    });
    EXPECT_EQ(QxProcessInfo::CommandName(child.Pid()), "a) (b) Z 1");
    EXPECT_GE(QxProcessInfo::StartTime(child.Pid()), QxProcessInfo::StartTime(::getpid()));
    EXPECT_EQ(QxProcessInfo::CommandName(999999999), "");
    child.Finish();
}

TEST_F(QxProcessInfoTest, AllThatRunAreTold) {
    const std::set<pid_t> all = QxProcessInfo::All();
    EXPECT_EQ(all.count(::getpid()), 1u);
    for (const pid_t pid : all) EXPECT_GT(pid, 0);
    EXPECT_EQ(QxProcessInfo::InnerPid(::getpid()), ::getpid());
    EXPECT_EQ(QxProcessInfo::InnerPid(999999999), 999999999) << "nobody tells";
}

}  // namespace
