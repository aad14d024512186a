// Where and how a program records: directory, options, plugins.
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

using RecorderTest = HostTest;
using qx::recorder::Options;
using qxhost::QxFileName;
using qxhost::QxProcessInfo;

TEST_F(RecorderTest, WithoutARuntimeDirectoryCallsAreRefusedAndCounted) {
    Child(m_directory + "/missing/deeper", "traced", [] {
        for (int i = 0; i < 10; ++i) Note(i);
        EXPECT_EQ(qx::recorder::GetCounters().recorded, 10u);
        EXPECT_EQ(qx::recorder::GetCounters().refused, 10u);
        EXPECT_TRUE(qx::recorder::Configure({}));
    }).Join();
}

// Looking for a place costs system calls, which a program that finds none must not make for each of its calls.
TEST_F(RecorderTest, AThreadThatFoundNoPlaceLooksAgainNowAndThen) {
    Run("traced", [this] {
        ASSERT_EQ(::chmod(m_directory.c_str(), 0755), 0);
        Note(0);
        ASSERT_EQ(::chmod(m_directory.c_str(), 0700), 0);
        for (int i = 1; i < 4096; ++i) Note(i);
        EXPECT_EQ(qx::recorder::GetCounters().refused, 4096u);
        for (int i = 0; i < 10; ++i) Note(i);
        EXPECT_EQ(qx::recorder::GetCounters().refused, 4096u);
        EXPECT_EQ(qx::recorder::GetCounters().recorded, 4106u);
    });
    EXPECT_EQ(Dump("traced", true).calls.size(), 10u);
    EXPECT_EQ(Total("traced").refused, 4096u);
}

TEST_F(RecorderTest, OptionsAreCheckedAndFixedOnceRecordingBegan) {
    Run("traced", [] {
        EXPECT_FALSE(qx::recorder::Configure({4095, 64}));
        EXPECT_FALSE(qx::recorder::Configure({128, 64}));
        EXPECT_FALSE(qx::recorder::Configure({2 << 20, 2}));
        EXPECT_FALSE(qx::recorder::Configure({4096, 1}));
        EXPECT_FALSE(qx::recorder::Configure({1 << 20, 17}));
        EXPECT_FALSE(qx::recorder::Configure({4096, 64, 255}));
        EXPECT_TRUE(qx::recorder::Configure({1 << 20, 16}));
        EXPECT_TRUE(qx::recorder::Configure({256, 2}));
        Note(1);
        EXPECT_FALSE(qx::recorder::Configure({}));
    });
    EXPECT_EQ(Dump("traced", true).calls.size(), 1u);
}

TEST_F(RecorderTest, TheEnvironmentOverridesTheProgram) {
    Run("traced", [] {
        ::setenv("QX_RING_PAGE_SIZE", "256", 1);
        ::setenv("QX_RING_PAGES", "2", 1);
        ::setenv("QX_RING_MODE", "discard", 1);
        EXPECT_TRUE(qx::recorder::Configure({4096, 64}));
        for (int i = 0; i < 100; ++i) Note(i);
        EXPECT_GT(qx::recorder::GetCounters().refused, 50u);
    });
    // The first calls are those that stay.
    EXPECT_EQ(Number(Dump("traced", true).calls.front().args.in[0]), 0u);
}

TEST_F(RecorderTest, NonsenseInTheEnvironmentIsIgnored) {
    Run("traced", [] {
        ::setenv("QX_RING_PAGE_SIZE", "many", 1);
        ::setenv("QX_RING_PAGES", "2", 1);
        for (int i = 0; i < 1000; ++i) Note(i);
    });
    EXPECT_EQ(Dump("traced", true).calls.size(), 1000u);
}

// Loads the plugin, records through it, also on a thread that outlives it, and unloads it.
void UsePlugin(int value) {
    void* plugin = ::dlopen(QX_TEST_PLUGIN, RTLD_NOW);
    ASSERT_NE(plugin, nullptr) << ::dlerror();
    const auto record = reinterpret_cast<void (*)(int)>(::dlsym(plugin, "RecordInPlugin"));
    ASSERT_NE(record, nullptr);
    record(value);
    Gate recorded(2);
    Gate unloaded(2);
    std::thread thread([&] {
        record(value + 1);
        recorded.Pass();
        unloaded.Pass();
    });
    recorded.Pass();
    EXPECT_EQ(::dlclose(plugin), 0);
    EXPECT_EQ(::dlopen(QX_TEST_PLUGIN, RTLD_NOW | RTLD_NOLOAD), nullptr);
    unloaded.Pass();
    thread.join();
}

TEST_F(RecorderTest, APluginMayBeLoadedAndUnloadedForEver) {
    constexpr int kRounds = 200;
    Run("traced", [] {
        for (int i = 0; i < kRounds; ++i) UsePlugin(2 * i);
    });
    const DecodedDump dump = Dump("traced", true);
    ASSERT_EQ(dump.calls.size(), 2u * kRounds);
    for (std::size_t i = 0; i < dump.calls.size(); ++i) {
        EXPECT_EQ(Number(dump.calls[i].args.in.at(0)), i);
        // Coming back, a call site is known again and takes no room.
        EXPECT_EQ(dump.calls[i].locId, 1u);
    }
}

TEST_F(RecorderTest, WithoutRoomForItsDescriptionACallIsRefused) {
    Run("traced", [] {
        EXPECT_TRUE(qx::recorder::Configure({4096, 64, 256}));
        NoteMany<50>();
        NoteMany<50>();
        const qx::recorder::Counters counters = qx::recorder::GetCounters();
        EXPECT_EQ(counters.recorded, 102u);
        EXPECT_GT(counters.refused, 50u);
        EXPECT_LT(counters.refused, 102u);
    });
    const DecodedDump dump = Dump("traced", true);
    EXPECT_EQ(dump.Of("Method50").size(), 2u);
    ExpectBalanced(Total("traced"));
    EXPECT_EQ(Total("traced").recorded, 102u);
}

TEST_F(RecorderTest, RecordingsArePrivate) {
    Run("traced", [] {
        ::umask(0);
        Note(1);
    });
    struct stat status {};
    ASSERT_EQ(::stat(Files(".qxrec").at(0).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
}

TEST_F(RecorderTest, ARecordingThatFindsItsPlaceTakenLeavesNothing) {
    Run("traced", [this] {
        const QxFileName name{"traced", ::getpid(), QxProcessInfo::StartTime(::getpid()), QxFileName::kRecording};
        const QxFileName replaced{"traced", ::getpid(), 0, QxFileName::kRecording};
        for (const QxFileName& taken : {name, replaced}) {
            ASSERT_EQ(::mkdir((m_directory + "/" + taken.ToString()).c_str(), 0700), 0);
            WriteFile(m_directory + "/" + taken.ToString() + "/file", "");
        }
        Note(1);
        EXPECT_EQ(qx::recorder::GetCounters().refused, 1u);
        EXPECT_TRUE(Files(".qxnew").empty());
    });
}

}  // namespace
