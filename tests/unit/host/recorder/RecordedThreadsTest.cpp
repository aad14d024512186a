// Threads that record: their names, their slots, and calls that go from one to another.
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

using RecordedThreadsTest = HostTest;
using qx::recorder::Options;
using qxhost::QxFileName;
using qxhost::QxProcessInfo;

TEST_F(RecordedThreadsTest, ThreadsGoByTheirSystemNameOrTheOneTheyGive) {
    Run("traced", [] {
        Note(0);
        std::thread([] {
            Note(1);
            qx::recorder::SetThreadName("given");
            Note(2);
        }).join();
    });
    const DecodedDump dump = Dump("traced", true);
    std::set<std::string> names;
    for (const IQxData::HSCall& call : dump.Of("Note")) names.insert(dump.data->GetThread(call.tid).name);
    EXPECT_EQ(names, (std::set<std::string>{"traced", "given"}));
}

TEST_F(RecordedThreadsTest, OfAGivenName64BytesCount) {
    const std::string longest(64, 'n');
    Run("traced", [&longest] {
        // Before its first call and after.
        for (const std::string& name : {longest, longest + "x", std::string("short")}) {
            qx::recorder::SetThreadName(name);
            EXPECT_EQ(qx::recorder::GetThreadCounters().empty(), name == longest);
            Note(1);
            EXPECT_EQ(qx::recorder::GetThreadCounters().at(0).name, name.substr(0, 64));
        }
    });
}

TEST_F(RecordedThreadsTest, TheCountersOfAllThreadsAddUp) {
    Run("traced", [] {
        EXPECT_TRUE(qx::recorder::Configure({4096, 64, 1 << 20}));
        Gate haveRecorded(3);
        Gate mayEnd(3);
        const auto record = [&](int calls) {
            const std::string tooLong(qx::recorder::kMaxText + 1, 'x');
            const std::vector<std::string> large(8, tooLong);  // what is refused is not counted as cut
            for (int i = 0; i < calls; ++i) {
                NoteText(tooLong);
                QX_LOG("p", "Log", i);
                { QX_CALL(call, "p", "LargeEntry", qx::In(large)); }
                { QX_CALL(call, "p", "LargeExit", qx::Out(large)); }
            }
            haveRecorded.Pass();
            mayEnd.Pass();
        };
        std::thread one(record, 1);
        std::thread two(record, 100);
        haveRecorded.Pass();
        const std::vector<qx::recorder::ThreadCounters> threads = qx::recorder::GetThreadCounters();
        EXPECT_EQ(threads.size(), 2u);
        const std::size_t busy = threads[0].counters.recorded > threads[1].counters.recorded ? 0 : 1;
        const qx::recorder::Counters& few = threads[1 - busy].counters;
        EXPECT_EQ(few.recorded, 4u);
        EXPECT_EQ(few.refused, 1u);
        EXPECT_EQ(few.overwritten, 0u);
        EXPECT_EQ(few.exits, 2u);
        EXPECT_EQ(few.exitsRefused, 1u);
        EXPECT_EQ(few.cut, 1u);
        const qx::recorder::Counters& many = threads[busy].counters;
        EXPECT_TRUE(threads[0].active && threads[1].active);
        EXPECT_GT(many.overwritten, 100u);
        const qx::recorder::Counters sum = qx::recorder::GetCounters();
        EXPECT_EQ(sum.recorded, 404u);
        EXPECT_EQ(sum.refused, 101u);
        EXPECT_EQ(sum.overwritten, many.overwritten);
        EXPECT_EQ(sum.exits, 202u);
        EXPECT_EQ(sum.exitsRefused, 101u);
        EXPECT_EQ(sum.cut, 101u);
        mayEnd.Pass();
        one.join();
        two.join();
    });
}

TEST_F(RecordedThreadsTest, MoreThreadsThanSlotsAreRefusedAndCounted) {
    constexpr int kThreads = 70;
    Run("traced", [] {
        Gate gate(kThreads);
        std::vector<std::thread> threads;
        for (int i = 0; i < kThreads; ++i) {
            threads.emplace_back([&gate, i] {
                Note(i);
                gate.Pass();
                // Those that have a ring keep it until all have tried again.
                Note(i);
            });
        }
        for (std::thread& thread : threads) thread.join();
        EXPECT_EQ(qx::recorder::GetThreadCounters().size(), 64u);
        const qx::recorder::Counters counters = qx::recorder::GetCounters();
        EXPECT_EQ(counters.recorded, 2u * kThreads);
        EXPECT_GE(counters.refused, 6u);
        Note(1000);
    });
    const DecodedDump dump = Dump("traced", true);
    const qx::host::Loss loss = Total("traced");
    ExpectBalanced(loss);
    EXPECT_EQ(loss.recorded, 2u * kThreads + 1);
    EXPECT_EQ(loss.delivered, dump.calls.size());
    std::set<unsigned> values;
    for (const IQxData::HSCall& call : dump.calls) values.insert(static_cast<unsigned>(Number(call.args.in[0])));
    EXPECT_EQ(values.count(1000), 1u);
}

TEST_F(RecordedThreadsTest, AThreadThatWasRefusedRecordsOnceASlotIsFree) {
    Run("traced", [] {
        Gate all(65);
        Gate ended(2);
        std::vector<std::thread> threads;
        for (int i = 0; i < 64; ++i) {
            threads.emplace_back([&all, i] {
                Note(i);
                all.Pass();
            });
        }
        while (qx::recorder::GetCounters().recorded < 64) std::this_thread::yield();
        std::thread late([&] {
            Note(64);
            all.Pass();
            ended.Pass();
            Note(65);
        });
        for (std::thread& thread : threads) thread.join();
        ended.Pass();
        late.join();
        EXPECT_EQ(qx::recorder::GetCounters().refused, 1u);
    });
    std::set<std::uint64_t> values;
    for (const IQxData::HSCall& call : Dump("traced", true).calls) values.insert(Number(call.args.in[0]));
    EXPECT_EQ(values.size(), 65u);
    EXPECT_EQ(values.count(64), 0u);
    EXPECT_EQ(values.count(65), 1u);
}

TEST_F(RecordedThreadsTest, ThreadsThatComeAndGoUseNothingUp) {
    constexpr int kThreads = 3000;
    Run("traced", [] {
        for (int i = 0; i < kThreads; ++i) std::thread([i] { Note(i); }).join();
        EXPECT_EQ(qx::recorder::GetThreadCounters().size(), 1u);
    });
    const DecodedDump dump = Dump("traced", true);
    ASSERT_EQ(dump.calls.size(), static_cast<std::size_t>(kThreads));
    std::set<unsigned> tids;
    for (std::size_t i = 0; i < kThreads; ++i) {
        ASSERT_EQ(Number(dump.calls[i].args.in[0]), i);
        tids.insert(dump.calls[i].tid);
    }
    EXPECT_EQ(tids.size(), static_cast<std::size_t>(kThreads));
}

TEST_F(RecordedThreadsTest, TidsAreUsedAgainOnceTheirThreadsAreGone) {
    PausingChild child(m_directory, "traced", [](const PausingChild::Pause& pause) {
        for (int round = 0; round < 5; ++round) {
            for (int i = 0; i < 10; ++i) std::thread([i] { Note(i); }).join();
            pause();
        }
    });
    unsigned highest = 0;
    for (int round = 0; round < 5; ++round) {
        if (round > 0) child.Continue();
        for (const IQxData::HSCall& call : Dump("traced", round == 0).calls)
            highest = std::max<unsigned>(highest, call.tid);
    }
    child.Finish();
    EXPECT_LE(highest, 12u);
}

TEST_F(RecordedThreadsTest, EntryTimesOfAllThreadsDiffer) {
    constexpr int kThreads = 8;
    constexpr int kCalls = 3000;
    Run("traced", [] {
        Gate gate(kThreads);
        std::vector<std::thread> threads;
        for (int t = 0; t < kThreads; ++t) {
            threads.emplace_back([&gate] {
                gate.Pass();
                for (int i = 0; i < kCalls; ++i) QX_LOG("p", "Tick");
            });
        }
        for (std::thread& thread : threads) thread.join();
    });
    const DecodedDump dump = Dump("traced", true);
    std::set<unsigned long long> times;
    for (const IQxData::HSCall& call : dump.calls) times.insert(call.time);
    EXPECT_EQ(dump.calls.size(), static_cast<std::size_t>(kThreads * kCalls));
    EXPECT_EQ(times.size(), dump.calls.size());
}

// Calls that end on other threads, where no exit is recorded, keep no room for one in a ring that discards.
TEST_F(RecordedThreadsTest, CallsThatEndOnOtherThreadsUseNoRoomUp) {
    using Call = qx::recorder::Call<void>;
    Run("traced", [this] {
        EXPECT_TRUE(qx::recorder::Configure({4096, 4, 1 << 16, qx::recorder::Mode::Discard}));
        static qx::recorder::detail::Site site{"file", 1, {0}};
        for (int round = 0; round < 12; ++round) {
            std::vector<std::unique_ptr<Call>> calls;
            for (int i = 0; i < 200; ++i) calls.push_back(std::make_unique<Call>(site, "p", "Async"));
            std::thread([&calls] { calls.clear(); }).join();
            std::vector<char> path;
            m_control->getQxBufferDump(path, "traced", round == 0);
        }
        EXPECT_EQ(qx::recorder::GetCounters().refused, 0u);
    });
}

}  // namespace
