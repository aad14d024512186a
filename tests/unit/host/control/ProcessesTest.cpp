// What is told of the processes of a name, and why nothing can be read of some.
#include <fcntl.h>
#include <grp.h>
#include <qx/recorder.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "HostTest.h"
#include "QxProcessInfo.h"
#include "RecordingLog.h"

namespace {

using ProcessesTest = HostTest;
using Pause = PausingChild::Pause;
using qx::host::ProcessState;
using qx::host::Visibility;

// All processes of the machine are looked through: the tests that run beside this one must have others.
const std::string kName = "p-" + std::to_string(::getpid());

void Note(int value) {
    QX_CALL(call, "p", "Note", qx::In(value));
}

void NoteAndPause(const Pause& pause) {
    Note(1);
    pause();
}

TEST_F(ProcessesTest, ThoseThatRunAndThoseThatEndedAreTold) {
    EXPECT_TRUE(m_control->GetProcesses(kName).empty());
    Child(m_directory, kName, [] { Note(1); }).Join();
    PausingChild one(m_directory, kName, NoteAndPause);
    PausingChild two(m_directory, kName, NoteAndPause);
    PausingChild other(m_directory, kName + "x", NoteAndPause);
    m_control->Watch(kName);
    std::vector<ProcessState> states = m_control->GetProcesses(kName);
    ASSERT_EQ(states.size(), 2u);
    EXPECT_EQ(states[0].pid, one.Pid());
    EXPECT_EQ(states[1].pid, two.Pid());
    for (const ProcessState& state : states) {
        EXPECT_TRUE(state.isRunning);
        EXPECT_TRUE(state.isRead);
        EXPECT_EQ(state.visibility, Visibility::Read);
        EXPECT_EQ(state.problem + state.advice, "");
    }
    Dump(kName, true);
    // Before a dump took note of it, and after.
    one.Kill();
    for (int i = 0; i < 2; ++i) {
        states = m_control->GetProcesses(kName);
        ASSERT_EQ(states.size(), 2u);
        EXPECT_EQ(states[0].pid, one.Pid());
        EXPECT_FALSE(states[0].isRunning);
        EXPECT_TRUE(states[0].isRead);
        EXPECT_TRUE(states[1].isRunning);
        Dump(kName);
    }
    two.Finish();
    other.Finish();
}

TEST_F(ProcessesTest, OneThatLivedBetweenTwoDumpsIsToldWithTheSecond) {
    m_control->Watch(kName);
    Dump(kName, true);
    Child child(m_directory, kName, [] { Note(1); });
    const pid_t pid = child.Pid();
    child.Join();
    Dump(kName);
    const std::vector<ProcessState> states = m_control->GetProcesses(kName);
    ASSERT_EQ(states.size(), 1u);
    EXPECT_EQ(states[0].pid, pid);
    EXPECT_FALSE(states[0].isRunning);
    EXPECT_TRUE(states[0].isRead);
}

TEST_F(ProcessesTest, OfThoseThatEndedTheLastOnesAreKept) {
    m_control->Watch(kName);
    pid_t last = 0;
    for (int i = 0; i < 70; ++i) {
        Child child(m_directory, kName, [] { Note(1); });
        last = child.Pid();
        child.Join();
        Dump(kName);
    }
    const std::vector<ProcessState> states = m_control->GetProcesses(kName);
    ASSERT_EQ(states.size(), 64u);
    EXPECT_EQ(states.back().pid, last);
}

TEST_F(ProcessesTest, ALongNameIsFoundAsTheSystemShortensItAndAPrefixIsNone) {
    const std::string name = kName + "-that-is-far-too-long";
    PausingChild child(m_directory, name, NoteAndPause);
    EXPECT_EQ(m_control->GetProcesses(name).size(), 1u);
    EXPECT_EQ(m_control->GetProcesses(name.substr(0, 15)).size(), 1u);
    EXPECT_TRUE(m_control->GetProcesses(name.substr(0, 14)).empty());
    EXPECT_TRUE(m_control->GetProcesses("").empty());
    child.Finish();
}

TEST_F(ProcessesTest, OneThatChangesItsNameIsFoundUnderTheOneThatItRecordsAs) {
    PausingChild child(m_directory, kName, [](const Pause& pause) {
        Note(1);
        ::prctl(PR_SET_NAME, (kName + "r").c_str());
        pause();
        Note(2);
        pause();
    });
    ASSERT_EQ(m_control->GetProcesses(kName).size(), 1u);
    EXPECT_TRUE(m_control->GetProcesses(kName)[0].isRead);
    Dump(kName, true);
    child.Continue();
    EXPECT_EQ(Dump(kName).calls.size(), 1u);
    const std::vector<ProcessState> states = m_control->GetProcesses(kName + "r");
    ASSERT_EQ(states.size(), 1u);
    EXPECT_EQ(states[0].visibility, Visibility::Unreadable);
    EXPECT_EQ(states[0].problem, "it records as " + kName + ", its name when it began");
    EXPECT_EQ(states[0].advice, "watch it under that name");
    child.Finish();
}

// The only state of the name; expects that nothing is read.
ProcessState OnlyUnread(qxhost::QxControl& control, const std::string& name) {
    const std::vector<ProcessState> states = control.GetProcesses(name);
    EXPECT_EQ(states.size(), 1u);
    if (states.size() != 1) return {};
    EXPECT_TRUE(states[0].isRunning);
    EXPECT_FALSE(states[0].isRead);
    EXPECT_NE(states[0].advice, "");
    return states[0];
}

TEST_F(ProcessesTest, AProcessOfAnotherUserIsTold) {
    if (::geteuid() != 0) GTEST_SKIP() << "only root can be another user";
    PausingChild child(m_directory, kName, [](const Pause& pause) {
        EXPECT_EQ(::setgroups(0, nullptr), 0);
        EXPECT_EQ(::setresuid(65534, 65534, 65534), 0);
        // A change of the user takes it back.
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        pause();
    });
    const ProcessState state = OnlyUnread(*m_control, kName);
    EXPECT_EQ(state.visibility, Visibility::OtherUser);
    EXPECT_NE(state.problem.find("it runs as user nobody (65534), and this is user root (0)"), std::string::npos);
    EXPECT_NE(state.advice.find("as user nobody (65534)"), std::string::npos);
    child.Finish();
}

TEST_F(ProcessesTest, AUserWithoutNameIsToldByItsNumber) {
    if (::geteuid() != 0) GTEST_SKIP() << "only root can be another user";
    PausingChild child(m_directory, kName, [](const Pause& pause) {
        // For files it is another user; what began it does not matter.
        EXPECT_EQ(::setresuid(0, 54321, 0), 0);
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        pause();
    });
    const ProcessState state = OnlyUnread(*m_control, kName);
    EXPECT_EQ(state.visibility, Visibility::OtherUser);
    EXPECT_NE(state.problem.find("it runs as user 54321, and"), std::string::npos) << state.problem;
    child.Finish();
}

TEST_F(ProcessesTest, OneThatEndedAndWasNotWaitedForIsTold) {
    m_control->Watch(kName);
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::prctl(PR_SET_NAME, kName.c_str());
        ::_exit(0);
    }
    siginfo_t info{};
    ASSERT_EQ(::waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOWAIT), 0);
    EXPECT_TRUE(m_control->GetProcesses(kName).empty()) << "it recorded nothing, and does not run";
    ::waitpid(pid, nullptr, 0);
}

TEST_F(ProcessesTest, AnotherDirectoryIsToldAndHelps) {
    const std::string other = m_directory + "/other dir";
    PausingChild child(m_directory, kName, [&other](const Pause& pause) {
        ::setenv("QX_RUNTIME_DIR", other.c_str(), 1);
        NoteAndPause(pause);
    });
    const ProcessState state = OnlyUnread(*m_control, kName);
    EXPECT_EQ(state.visibility, Visibility::OtherDirectory);
    EXPECT_EQ(state.problem, "it records into " + other + ", and this looks into " + m_directory);
    EXPECT_EQ(state.advice, "run this with QX_RUNTIME_DIR='" + other + "'");
    qxhost::QxControl there(other);
    EXPECT_TRUE(there.GetProcesses(kName).at(0).isRead);
    child.Finish();
    ::unlink(Files(".qxrec").empty() ? "" : Files(".qxrec")[0].c_str());
}

// As in a container, but for its process ids.
TEST_F(ProcessesTest, AnotherNamespaceIsToldAndHelps) {
    if (::geteuid() != 0) GTEST_SKIP() << "only root can have directories of its own";
    const std::string hidden = m_directory + "/own";
    ASSERT_EQ(::mkdir(hidden.c_str(), 0700), 0);
    PausingChild child(m_directory, kName, [&hidden](const Pause& pause) {
        EXPECT_EQ(::unshare(CLONE_NEWNS), 0);
        EXPECT_EQ(::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr), 0);
        EXPECT_EQ(::mount("none", hidden.c_str(), "tmpfs", 0, "mode=0700"), 0);
        ::setenv("QX_RUNTIME_DIR", (hidden + "/qx").c_str(), 1);
        NoteAndPause(pause);
    });
    const ProcessState state = OnlyUnread(*m_control, kName);
    EXPECT_EQ(state.visibility, Visibility::OtherNamespace);
    const std::string path = "/proc/" + std::to_string(child.Pid()) + "/root" + hidden + "/qx";
    EXPECT_EQ(state.advice, "run this with QX_RUNTIME_DIR=" + path);
    m_control = std::make_unique<qxhost::QxControl>(path);
    EXPECT_TRUE(m_control->GetProcesses(kName).at(0).isRead);
    EXPECT_EQ(Dump(kName, true).calls.size(), 1u);
    child.Finish();
}

// A container with ids of its own: the recording is named after the one that its process has in there.
TEST_F(ProcessesTest, AProcessThatIsContainedIsKnownByTheIdThatItHasHere) {
    if (::geteuid() != 0) GTEST_SKIP() << "only root can give ids of its own";
    Signal isReady;
    Signal go;
    Child child(m_directory, "outer", [&] {
        ASSERT_EQ(::unshare(CLONE_NEWPID), 0);
        const pid_t inner = ::fork();
        if (inner == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            ::prctl(PR_SET_NAME, kName.c_str());
            // The process's own directory of processes is that of its container.
            if (::unshare(CLONE_NEWNS) != 0 || ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
                ::mount("proc", "/proc", "proc", 0, nullptr) != 0) {
                ::_exit(1);
            }
            Note(1);
            isReady.Send();
            go.Wait();
            ::_exit(0);
        }
        int status = 0;
        EXPECT_EQ(::waitpid(inner, &status, 0), inner);
        EXPECT_EQ(status, 0);
    });
    isReady.Wait();
    EXPECT_EQ(Files(".1." + Files(".qxrec").at(0).substr(Files(".qxrec").at(0).find(".1.") + 3)).size(), 1u);
    const std::vector<ProcessState> states = m_control->GetProcesses(kName);
    ASSERT_EQ(states.size(), 1u);
    EXPECT_TRUE(states[0].isRunning);
    EXPECT_TRUE(states[0].isRead);
    EXPECT_NE(states[0].pid, 1);
    EXPECT_EQ(Dump(kName, true).calls.size(), 1u);
    const std::vector<qx::host::ThreadLoss> threads = m_control->GetThreadLoss(kName);
    ASSERT_EQ(threads.size(), 1u);
    EXPECT_EQ(threads[0].pid, states[0].pid);
    go.Send();
    child.Join();
    EXPECT_FALSE(m_control->GetProcesses(kName).at(0).isRunning);
}

// Whatever is wrong with the directory: it would record nothing there.
TEST_F(ProcessesTest, OneThatHasNotLoadedTheRecorderIsTold) {
    const std::string program = m_directory + "/" + kName;
    ASSERT_EQ(::symlink("/bin/sleep", program.c_str()), 0);
    Child child(m_directory, "x", [&program] {
        ::execl(program.c_str(), "sleep", "1000", nullptr);
        ::_exit(1);
    });
    while (qxhost::QxProcessInfo::CommandName(child.Pid()) != kName) std::this_thread::yield();
    for (const mode_t mode : {0700u, 0755u}) {
        ASSERT_EQ(::chmod(m_directory.c_str(), mode), 0);
        const ProcessState state = OnlyUnread(*m_control, kName);
        EXPECT_EQ(state.visibility, Visibility::NoRecorder);
        EXPECT_EQ(state.problem, "it has not loaded the recorder (libqxrecorder)");
    }
    child.Kill();
}

// A program that has the recorder and has recorded nothing: its environment says where it will.
TEST_F(ProcessesTest, OneThatHasRecordedNothingYetIsKnownByItsEnvironment) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a program that is built without the sanitizer does not load the recorder";
#endif
    const std::string program = m_directory + "/" + kName;
    ASSERT_EQ(::symlink("/bin/sleep", program.c_str()), 0);
    const struct {
        std::string directory;
        Visibility visibility;
        std::string advice;
    } rows[] = {
        {m_directory + "//", Visibility::NothingYet, "wait until it calls a traced function"},
        {m_directory + "/.", Visibility::NothingYet, "wait until it calls a traced function"},
        {m_directory + "/it's other/", Visibility::OtherDirectory,
         "run this with QX_RUNTIME_DIR='" + m_directory + "/it'\\''s other'"},
        {"here", Visibility::OtherDirectory, "run this with QX_RUNTIME_DIR=" + m_directory + "/here"},
        {"", Visibility::OtherDirectory, "run this with QX_RUNTIME_DIR=/dev/shm/qx-" + std::to_string(::geteuid())},
    };
    for (const auto& row : rows) {
        Child child(row.directory, "x", [&] {
            ::setenv("LD_PRELOAD", QX_TEST_PLUGIN, 1);
            EXPECT_EQ(::chdir(m_directory.c_str()), 0);
            ::execl(program.c_str(), "sleep", "1000", nullptr);
            ::_exit(1);
        });
        const auto isLoaded = [&child] {
            return qxhost::QxProcessInfo::CommandName(child.Pid()) == kName &&
                   ReadFile("/proc/" + std::to_string(child.Pid()) + "/maps").find("libqxrecorder") !=
                       std::string::npos;
        };
        const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (!isLoaded()) {
            ASSERT_LT(std::chrono::steady_clock::now(), limit) << "the recorder is not loaded";
            std::this_thread::yield();
        }
        const ProcessState state = OnlyUnread(*m_control, kName);
        EXPECT_EQ(state.visibility, row.visibility) << row.directory;
        EXPECT_EQ(state.advice.find(row.advice), 0u) << state.advice;
        child.Kill();
    }
}

TEST_F(ProcessesTest, ARecordingThatIsDamagedOrRemovedIsTold) {
    PausingChild child(m_directory, kName, NoteAndPause);
    const std::string path = Files(".qxrec").at(0);
    ASSERT_EQ(::chmod(path.c_str(), 0644), 0);
    ProcessState state = OnlyUnread(*m_control, kName);
    EXPECT_EQ(state.visibility, Visibility::Unreadable);
    EXPECT_EQ(state.problem, "its recording cannot be read: group or others may open it");
    ::unlink(path.c_str());
    state = OnlyUnread(*m_control, kName);
    EXPECT_EQ(state.visibility, Visibility::Unreadable);
    EXPECT_EQ(state.problem, "its recording was removed from " + m_directory);
    child.Finish();
}

TEST_F(ProcessesTest, ADirectoryThatIsRefusedIsTold) {
    PausingChild child(m_directory, kName, NoteAndPause);
    ASSERT_EQ(::chmod(m_directory.c_str(), 0755), 0);
    const ProcessState state = OnlyUnread(*m_control, kName);
    EXPECT_EQ(state.visibility, Visibility::Unreadable);
    EXPECT_NE(state.problem.find("its mode must be 0700"), std::string::npos);
    ASSERT_EQ(::chmod(m_directory.c_str(), 0700), 0);
    child.Finish();
}

// A fork has its parent's recording in its memory, and none of its own.
TEST_F(ProcessesTest, AForkThatHasRecordedNothingYetIsNoProblem) {
    Signal isForked;
    Signal go;
    Child child(m_directory, kName, [&] {
        Note(1);
        const pid_t fork = ::fork();
        if (fork == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            isForked.Send();
            go.Wait();
            ::_exit(0);
        }
        EXPECT_EQ(::waitpid(fork, nullptr, 0), fork);
    });
    isForked.Wait();
    const std::vector<ProcessState> states = m_control->GetProcesses(kName);
    ASSERT_EQ(states.size(), 2u);
    EXPECT_EQ(states[0].visibility, Visibility::Read);
    EXPECT_EQ(states[1].visibility, Visibility::NothingYet);
    EXPECT_FALSE(states[1].isRead);
    go.Send();
    child.Join();
}

}  // namespace
