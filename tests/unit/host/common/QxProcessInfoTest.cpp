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

// Emulators and the like answer what a process asks about itself, and not what others ask about it.
TEST_F(QxProcessInfoTest, AProcessIsToldOfItselfWhatOthersAreTold) {
    const pid_t own = ::getpid();
    const std::uint64_t start = QxProcessInfo::StartTime(own);
    const std::string name = QxProcessInfo::CommandName(own);
    EXPECT_EQ(name, QxProcessInfo::OwnName());
    const pid_t other = ::fork();
    if (other == 0) {
        const int differences =
            (QxProcessInfo::StartTime(own) == start ? 0 : 1) + (QxProcessInfo::CommandName(own) == name ? 0 : 2);
        ::_exit(differences);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(other, &status, 0), other);
    EXPECT_EQ(status, 0) << "1 in the upper byte: another start time, 2: another name";
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
