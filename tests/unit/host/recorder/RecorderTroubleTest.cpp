// Forks, signals and cancellation in the midst of recording, and all that a traced program may run out of.
#include <dlfcn.h>
#include <fcntl.h>
#include <qx/recorder.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <stdexcept>
#include <thread>
#include <utility>

#include "HostTest.h"
#include "QxFileName.h"
#include "QxProcessInfo.h"

#include "TracedCalls.h"

namespace {

using RecorderTroubleTest = HostTest;
using qx::recorder::Options;
using qxhost::QxFileName;
using qxhost::QxProcessInfo;

TEST_F(RecorderTroubleTest, AForkedChildRecordsForItself) {
    Run("traced", [] {
        QX_CALL(call, "p", "Parent", qx::In(::getpid()));
        Note(1);
        const pid_t pid = ::fork();
        if (pid == 0) {
            Note(2);
            std::thread([] { Note(3); }).join();
            EXPECT_EQ(qx::recorder::GetCounters().recorded, 2u);
            // Leaves the scope of the parent's call, which must not record its exit here.
            return;
        }
        EXPECT_EQ(::waitpid(pid, nullptr, 0), pid);
        EXPECT_EQ(qx::recorder::GetCounters().recorded, 2u);
    });
    EXPECT_EQ(Files(".qxrec").size(), 2u);
    const DecodedDump dump = Dump("traced", true);
    EXPECT_EQ(dump.calls.size(), 4u);
    EXPECT_NE(dump.Only("Parent").exitTime, 0u);
    std::set<unsigned> tids;
    for (const IQxData::HSCall& call : dump.calls) tids.insert(call.tid);
    EXPECT_EQ(tids.size(), 3u);
    const qx::host::Loss loss = Total("traced");
    ExpectBalanced(loss);
    EXPECT_EQ(loss.exitsDelivered, 4u);
}

// Fork handlers that were added before the recorder's own: in the child they run before the recording of the parent is
// left, and ahead of the fork while it is held.
std::function<void()> g_atFork;

void ExpectEndedWell(pid_t pid) {
    int status = -1;
    EXPECT_EQ(::waitpid(pid, &status, 0), pid);
    EXPECT_EQ(status, 0);
}

void AtFork() {
    if (g_atFork) g_atFork();
}

__attribute__((constructor(101))) void AddForkHandlers() {
    ::pthread_atfork(AtFork, AtFork, AtFork);
}

TEST_F(RecorderTroubleTest, CallsOfEarlyForkHandlersAreRefusedAndCounted) {
    Run("traced", [] {
        Note(1);
        g_atFork = [] { Note(2); };
        const pid_t pid = ::fork();
        g_atFork = nullptr;
        Note(3);
        EXPECT_EQ(qx::recorder::GetCounters().recorded, pid == 0 ? 2u : 4u);
        EXPECT_EQ(qx::recorder::GetCounters().refused, pid == 0 ? 1u : 2u);
        if (pid != 0) ExpectEndedWell(pid);
    });
    const DecodedDump dump = Dump("traced", true);
    EXPECT_EQ(dump.calls.size(), 3u);
    ExpectBalanced(Total("traced"));
    EXPECT_EQ(Total("traced").refused, 3u);
}

TEST_F(RecorderTroubleTest, CallsFromWithinTheRecorderAreRefusedAndCounted) {
    Run("traced", [] {
        NoteHooked<1>([] {
            Note(1);
            qx::recorder::SetThreadName("within");
            EXPECT_FALSE(qx::recorder::Configure({}));
            EXPECT_TRUE(qx::recorder::GetThreadCounters().empty());
        });
        Note(2);
    });
    EXPECT_EQ(Dump("traced", true).calls.size(), 2u);
    EXPECT_EQ(Total("traced").refused, 1u);
}

void ForkAndWait(int) {
    const pid_t pid = ::fork();
    if (pid == 0) ::_exit(0);
    ExpectEndedWell(pid);
}

// A text whose reading does something, like a signal's handler that comes while a record is made.
struct Interrupting {
    std::function<void()> interruption;
    operator std::string_view() const {
        interruption();
        return "text";
    }
};

void NoteInterrupted(const std::function<void()>& interruption) {
    const Interrupting text{interruption};
    QX_CALL(call, "p", "NoteInterrupted", qx::In(text));
}

TEST_F(RecorderTroubleTest, ARecordWithinARecordIsRefusedAndCounted) {
    Run("traced", [] {
        Note(1);
        NoteInterrupted([] {
            Note(2);
            qx::recorder::SetThreadName("renamed");
            Note(3);
        });
        Note(4);
        EXPECT_EQ(qx::recorder::GetCounters().recorded, 5u);
        EXPECT_EQ(qx::recorder::GetCounters().refused, 2u);
    });
    const DecodedDump dump = Dump("traced", true);
    ASSERT_EQ(dump.calls.size(), 3u);
    EXPECT_EQ(Bytes(dump.Only("NoteInterrupted").args.in[0]), "text");
    EXPECT_EQ(Number(dump.Of("Note")[1].args.in[0]), 4u);
    ExpectBalanced(Total("traced"));
}

TEST_F(RecorderTroubleTest, AForkWithinARecordLeavesItToTheParent) {
    Run("traced", [] {
        Note(1);
        pid_t child = -1;
        NoteInterrupted([&child] { child = ::fork(); });
        if (child == 0) {
            const bool isFresh = qx::recorder::GetCounters().recorded == 0;
            Note(2);
            ::_exit(isFresh && qx::recorder::GetCounters().recorded == 1 ? 0 : 1);
        }
        int status = -1;
        ::waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
        Note(3);
        EXPECT_EQ(qx::recorder::GetCounters().recorded, 3u);
    });
    EXPECT_EQ(Dump("traced", true).Of("NoteInterrupted").size(), 1u);
}

TEST_F(RecorderTroubleTest, ASignalWhoseHandlerForksComesAfterwards) {
    Run("traced", [] {
        ::signal(SIGUSR1, ForkAndWait);
        NoteHooked<2>([] { ::raise(SIGUSR1); });
    });
    EXPECT_EQ(Dump("traced", true).calls.size(), 1u);
    EXPECT_EQ(Total("traced").refused, 0u);
}

// The child leaves its parent's recording when it leaves the recorder.
TEST_F(RecorderTroubleTest, AForkFromWithinTheRecorderLeavesTwoProgramsThatRecord) {
    Run("traced", [] {
        pid_t pid = -1;
        NoteHooked<3>([&pid] {
            pid = ::fork();
            if (pid == 0) Note(1);
        });
        Note(2);
        EXPECT_EQ(qx::recorder::GetCounters().recorded, pid == 0 ? 3u : 2u);
        if (pid != 0) ExpectEndedWell(pid);
    });
    EXPECT_EQ(Files(".qxrec").size(), 2u);
    EXPECT_EQ(Dump("traced", true).calls.size(), 4u);
    ExpectBalanced(Total("traced"));
    EXPECT_EQ(Total("traced").recorded, 5u);
    EXPECT_EQ(Total("traced").refused, 1u);
    EXPECT_EQ(Total("traced").dropped, 0u);
}

TEST_F(RecorderTroubleTest, ACancelledThreadIsCancelledAfterItsFirstCall) {
    Run("traced", [] {
        std::thread([] {
            ::pthread_cancel(::pthread_self());
            Note(1);
            qx::recorder::SetThreadName("cancelled");
            ::pthread_testcancel();
            ADD_FAILURE();
        }).join();
    });
    EXPECT_EQ(Dump("traced", true).calls.size(), 1u);
}

TEST_F(RecorderTroubleTest, ErrnoStaysAsItIs) {
    Run("traced", [] {
        errno = EDOM;
        Note(1);
        EXPECT_EQ(errno, EDOM);
        NoteHooked<4>([] { errno = ERANGE; });
        EXPECT_EQ(errno, EDOM);
    });
    Child(m_directory + "/missing/deeper", "traced", [] {
        errno = EDOM;
        Note(1);
        EXPECT_EQ(errno, EDOM);
    }).Join();
}

TEST_F(RecorderTroubleTest, ACallThatFindsNoMemoryIsRefusedAndTheNextOneTriesAgain) {
    const auto note = [](const std::function<void()>& hook) { NoteHooked<5>(hook); };
    Run("traced", [&] {
        note([] { throw std::bad_alloc(); });
        note(nullptr);
        EXPECT_EQ(qx::recorder::GetCounters().refused, 1u);
    });
    EXPECT_EQ(Dump("traced", true).calls.size(), 1u);
}

TEST_F(RecorderTroubleTest, AForkedChildHasRoomForWhatItsParentDescribed) {
    Run("traced", [] {
        NoteMany<50>();
        const pid_t pid = ::fork();
        if (pid == 0) {
            EXPECT_TRUE(qx::recorder::Configure({4096, 64, 256}));
            NoteMany<50>();
            EXPECT_EQ(qx::recorder::GetCounters().refused, 0u);
            return;
        }
        ExpectEndedWell(pid);
    });
    EXPECT_EQ(Dump("traced", true).Of("Method50").size(), 2u);
}

TEST_F(RecorderTroubleTest, WithoutAThreadSpecificKeyCallsAreRefused) {
    Run("traced", [] {
        pthread_key_t key;
        while (::pthread_key_create(&key, nullptr) == 0) continue;
        void* plugin = ::dlopen(QX_TEST_PLUGIN, RTLD_NOW);
        ASSERT_NE(plugin, nullptr) << ::dlerror();
        reinterpret_cast<void (*)(int)>(::dlsym(plugin, "RecordInPlugin"))(1);
    });
    EXPECT_TRUE(Files(".qxrec").empty());
}

TEST_F(RecorderTroubleTest, AProgramThatClosesAllItsFilesGoesOnRecording) {
    Run("traced", [] {
        Note(1);
        for (int fd = 3; fd < 100; ++fd) ::close(fd);
        const int own = ::open("/dev/null", O_RDWR);
        std::thread([] { Note(2); }).join();
        EXPECT_EQ(::write(own, "x", 1), 1);
    });
    EXPECT_EQ(Dump("traced", true).calls.size(), 2u);
}

void LimitFileSize(rlim_t size) {
    struct rlimit limit {};
    EXPECT_EQ(::getrlimit(RLIMIT_FSIZE, &limit), 0);
    limit.rlim_cur = size;
    EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
}

bool IsPending(int signal) {
    sigset_t set;
    return ::sigpending(&set) == 0 && ::sigismember(&set, signal) == 1;
}

// The signal that the recorder's failure raised is taken back, that of the program is not.
TEST_F(RecorderTroubleTest, ASignalThatWasPendingStaysPending) {
    Run("traced", [] {
        sigset_t set;
        ::sigemptyset(&set);
        ::sigaddset(&set, SIGXFSZ);
        ::pthread_sigmask(SIG_BLOCK, &set, nullptr);
        LimitFileSize(1 << 20);
        Note(1);
        EXPECT_FALSE(IsPending(SIGXFSZ));
        std::thread([] {
            ::raise(SIGXFSZ);
            Note(2);
            EXPECT_TRUE(IsPending(SIGXFSZ));
        }).join();
        EXPECT_EQ(qx::recorder::GetCounters().refused, 2u);
    });
}

TEST_F(RecorderTroubleTest, ADumpThatExceedsTheLimitOfFilesEndsNoProgram) {
    Run("traced", [this] {
        Note(1);
        LimitFileSize(1);
        std::vector<char> path;
        EXPECT_FALSE(m_control->getQxBufferDump(path, "traced", true));
    });
}

// The limit's signal would end a program that did not reach the limit by itself.
TEST_F(RecorderTroubleTest, ARecordingThatFindsNoRoomRefusesCallsAndSaysSoOnce) {
    const std::string log = m_directory + "/log";
    Run("traced", [&] {
        ::setenv("QX_LOG", log.c_str(), 1);
        LimitFileSize(1 << 20);
        for (int i = 0; i < 10000; ++i) Note(i);
        EXPECT_EQ(qx::recorder::GetCounters().refused, 10000u);
    });
    EXPECT_TRUE(Files(".qxrec").empty());
    EXPECT_TRUE(Files(".qxnew").empty());
}

// In a file system that has room for the recording and one ring.
void RecordOnFullFileSystem(const std::string& directory) {
    ASSERT_EQ(::chmod(directory.c_str(), 0700), 0);
    Note(1);
    std::thread([] {
        Note(2);
        Note(3);
    }).join();
    EXPECT_EQ(qx::recorder::GetCounters().refused, 2u);
    qxhost::QxControl control(directory);
    control.SetOpenCallLimit(0);
    std::vector<char> path;
    EXPECT_FALSE(control.getQxBufferDump(path, "traced", true));
    EXPECT_TRUE(path.empty());
    qx::host::Loss loss;
    EXPECT_TRUE(control.GetLoss("traced", &loss, nullptr));
    EXPECT_EQ(loss.refused, 2u);
    EXPECT_EQ(loss.delivered, 0u);
    // With room again, the dump holds what the one that failed should have held.
    EXPECT_EQ(::mount("none", directory.c_str(), "tmpfs", MS_REMOUNT, "size=4m"), 0);
    EXPECT_TRUE(control.getQxBufferDump(path, "traced", false));
    EXPECT_TRUE(control.GetLoss("traced", &loss, nullptr));
    EXPECT_EQ(loss.delivered, 1u);
    ExpectBalanced(loss);
}

TEST_F(RecorderTroubleTest, AFullFileSystemRefusesCallsAndLosesNoDump) {
    if (::geteuid() != 0) GTEST_SKIP() << "only root can mount a small file system";
    Run("traced", [this] {
        if (::unshare(CLONE_NEWNS) != 0 || ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) return;
        // Front and one ring: 1.0625 MiB and 256 KiB, and a page for the directory.
        if (::mount("none", m_directory.c_str(), "tmpfs", 0, "size=1376256") != 0) return;
        RecordOnFullFileSystem(m_directory);
    });
}

}  // namespace
