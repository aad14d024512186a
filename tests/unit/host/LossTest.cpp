// What was recorded is, exactly, what dumps held plus what was counted as lost: with rings that overflow, with items
// that span pages, with many threads at full speed, and with writers that are killed.
#include <qx/recorder.h>
#include <signal.h>
#include <sys/mman.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <map>
#include <memory>
#include <new>
#include <thread>

#include "HostTest.h"
#include "QxProcessInfo.h"
#include "RecordingLog.h"

namespace {

using qx::recorder::Counters;
using qx::recorder::Mode;
using qx::recorder::Options;

// Numbers that a child leaves for its parent.
class Shared {
public:
    Shared()
        : m_memory(::mmap(nullptr, sizeof(Content), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)),
          m_content(new (m_memory) Content) {}
    Shared(const Shared&) = delete;
    Shared& operator=(const Shared&) = delete;
    ~Shared() { ::munmap(m_memory, sizeof(Content)); }

    Counters& Counts() { return m_content->counters; }
    std::atomic<bool>& Stop() { return m_content->stop; }

private:
    struct Content {
        Counters counters;
        std::atomic<bool> stop{false};
    };
    void* m_memory;
    Content* m_content;
};

// What call n of a thread passes, so that each value that comes out can be told to be one that went in.
std::string TextOf(std::uint32_t n) {
    return std::string(n % 7 == 0 ? n % 900 : n % 30, static_cast<char>('a' + n % 26));
}

std::uint32_t Traced(std::uint32_t thread, std::uint32_t n, std::string& text) {
    QX_CALL_RETURNS(call, std::uint32_t, "p", "Traced", qx::In(thread), qx::In(n), qx::InOut(text));
    if (n % 5 == 0) QX_LOG("p", "Log", thread, n);
    if (n % 11 == 0) {
        QX_CALL(inner, "p", "Inner", qx::In(thread), qx::In(n));
        text += "!";
    }
    return call.Return(n + 1);
}

void TraceUntil(std::uint32_t thread, const std::atomic<bool>& stop, std::uint32_t limit) {
    for (std::uint32_t n = 0; n < limit && !stop.load(std::memory_order_relaxed); ++n) {
        std::string text = TextOf(n);
        Traced(thread, n, text);
    }
}

void TraceWithThreads(unsigned count, const std::atomic<bool>& stop, std::uint32_t limit) {
    std::vector<std::thread> threads;
    for (std::uint32_t t = 0; t < count; ++t) {
        threads.emplace_back([t, limit, &stop] { TraceUntil(t, stop, limit); });
    }
    for (std::thread& thread : threads) thread.join();
}

class LossTest : public HostTest {
protected:
    // Takes a dump, and expects of each call that it went in so and comes out for the first time.
    void TakeDump(bool first = false) {
        const DecodedDump dump = Dump("traced", first);
        for (const IQxData::HSCall& call : dump.calls) {
            const std::string& method = Method(dump, call.locId);
            const auto thread = static_cast<std::uint32_t>(Number(call.args.in.at(0)));
            const auto n = static_cast<std::uint32_t>(Number(call.args.in.at(1)));
            EXPECT_TRUE(IsNew(method, thread, n)) << method << " " << thread << " " << n;
            if (method == "Traced") ExpectTraced(call, n);
            EXPECT_FALSE(method == "Log" && call.exitTime != 0);
            m_exits += call.exitTime != 0 ? 1 : 0;
            ++m_calls;
        }
    }

    // After the last dump.
    void ExpectExact(const Counters& counters) {
        const qx::host::Loss loss = Total("traced");
        ExpectBalanced(loss);
        EXPECT_EQ(loss.recorded, counters.recorded);
        EXPECT_EQ(loss.refused, counters.refused);
        EXPECT_EQ(loss.exits, counters.exits);
        EXPECT_EQ(loss.exitsRefused, counters.exitsRefused);
        EXPECT_EQ(loss.delivered, m_calls);
        EXPECT_EQ(loss.exitsDelivered, m_exits);
        EXPECT_EQ(loss.held, 0u);
        EXPECT_EQ(loss.dropped, 0u);
        EXPECT_TRUE(RecordingLog::Lines().empty());
    }

    // A child that records at full speed until it is stopped, while dumps are taken all the time.
    void Stress(const Options& options, unsigned threads, int seconds = 0) {
        Shared shared;
        Signal started;
        Child child(m_directory, "traced", [&] {
            EXPECT_TRUE(qx::recorder::Configure(options));
            started.Send();
            TraceWithThreads(threads, shared.Stop(), ~0u);
            shared.Counts() = qx::recorder::GetCounters();
        });
        started.Wait();
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
        for (int i = 0; i < 20 || Total("traced").recorded < 20000 || std::chrono::steady_clock::now() < end; ++i) {
            TakeDump(i == 0);
            if (HasFailure()) break;
        }
        shared.Stop() = true;
        child.Join();
        TakeDump();
        ExpectExact(shared.Counts());
    }

    // Starts a child that records through tiny rings, `limit` calls and more on each of two threads, and takes the
    // first dump of it.
    std::unique_ptr<Child> StartAndDump(Shared& shared, std::uint32_t limit) {
        Signal started;
        // The child may have ended by the first dump.
        m_control->Watch("traced");
        auto child = std::make_unique<Child>(m_directory, "traced", [&] {
            EXPECT_TRUE(qx::recorder::Configure({512, 8}));
            std::string text;
            Traced(9, 0, text);
            started.Send();
            TraceWithThreads(2, shared.Stop(), limit);
            shared.Counts() = qx::recorder::GetCounters();
        });
        started.Wait();
        m_seen.clear();
        m_calls = m_exits = 0;
        TakeDump(true);
        return child;
    }

    bool IsNew(const std::string& method, std::uint32_t thread, std::uint32_t n) {
        std::vector<bool>& seen = m_seen[method][thread];
        if (seen.size() <= n) seen.resize(n + 1);
        if (seen[n]) return false;
        seen[n] = true;
        return true;
    }

    std::map<std::string, std::map<std::uint32_t, std::vector<bool>>> m_seen;  // by method and thread
    std::uint64_t m_calls = 0;
    std::uint64_t m_exits = 0;

private:
    static const std::string& Method(const DecodedDump& dump, unsigned locId) {
        static std::string name;
        name = dump.data->GetCallLocationWithPID(locId, 77).callerName;
        return name;
    }

    static void ExpectTraced(const IQxData::HSCall& call, std::uint32_t n) {
        const std::string text = TextOf(n);
        ASSERT_EQ(Bytes(call.args.in.at(2)), text);
        if (call.exitTime == 0) return;
        ASSERT_EQ(Bytes(call.args.out.at(0)), n % 11 == 0 ? text + "!" : text);
        ASSERT_EQ(Number(call.args.ret.at(0)), n + 1);
        ASSERT_GE(call.exitTime, call.time / 1000 * 1000);
    }
};

TEST_F(LossTest, AnOverwrittenRingIsCountedToTheCall) {
    for (const std::uint32_t limit : {1u, 10u, 31u, 100u, 1000u, 5003u}) {
        Shared shared;
        Run("traced", [&] {
            EXPECT_TRUE(qx::recorder::Configure({256, 8}));
            TraceUntil(0, shared.Stop(), limit);
            shared.Counts() = qx::recorder::GetCounters();
        });
        m_seen.clear();
        m_calls = m_exits = 0;
        TakeDump(true);
        ExpectExact(shared.Counts());
        EXPECT_EQ(Total("traced").overwritten, 0u);
        EXPECT_EQ(Total("traced").beforeFirst > 0, limit > 10);
        // Whatever else is lost, the newest call is there.
        EXPECT_FALSE(IsNew("Traced", 0, limit - 1)) << limit;
    }
}

// Nobody who watched lost the return of a call that was gone before anybody watched.
TEST_F(LossTest, AReturnOfACallThatWasGoneBeforeTheFirstDumpIsNotDropped) {
    Shared shared;
    PausingChild child(m_directory, "traced", [&](const PausingChild::Pause& pause) {
        EXPECT_TRUE(qx::recorder::Configure({256, 8}));
        std::string text = TextOf(1);
        {
            QX_CALL_RETURNS(call, std::uint32_t, "p", "Traced", qx::In(7u), qx::In(1u), qx::InOut(text));
            TraceUntil(0, shared.Stop(), 1000);
            pause();
            call.Return(2);
        }
        shared.Counts() = qx::recorder::GetCounters();
    });
    TakeDump(true);
    const std::uint64_t before = Total("traced").exitsBeforeFirst;
    child.Finish();
    TakeDump();
    ExpectExact(shared.Counts());
    EXPECT_EQ(Total("traced").exitsBeforeFirst, before + 1);
    EXPECT_EQ(Total("traced").exitsDropped + Total("traced").exitsOverwritten, 0u);
}

TEST_F(LossTest, AFullRingThatDiscardsKeepsTheFirstCallsAndGoesOnAfterADump) {
    Shared shared;
    PausingChild child(m_directory, "traced", [&](const PausingChild::Pause& pause) {
        EXPECT_TRUE(qx::recorder::Configure({256, 8, 1 << 16, Mode::Discard}));
        std::uint32_t n = 0;
        for (int round = 0; round < 20; ++round) {
            for (int i = 0; i < 100; ++i, ++n) {
                std::string text = TextOf(n);
                Traced(0, n, text);
            }
            pause();
        }
        shared.Counts() = qx::recorder::GetCounters();
    });
    for (int round = 0; round < 20; ++round) {
        if (round > 0) child.Continue();
        const std::uint64_t before = m_calls;
        TakeDump(round == 0);
        EXPECT_GT(m_calls, before);
    }
    child.Finish();
    TakeDump();
    ExpectExact(shared.Counts());
    EXPECT_GT(shared.Counts().refused, 0u);
    EXPECT_EQ(Total("traced").overwritten + Total("traced").beforeFirst, 0u);
    EXPECT_FALSE(IsNew("Traced", 0, 0));
}

// Set QX_STRESS_SECONDS to let the tests at full speed with eight threads run for longer.
int StressSeconds() {
    const char* seconds = std::getenv("QX_STRESS_SECONDS");
    return seconds != nullptr ? std::atoi(seconds) : 1;
}

TEST_F(LossTest, EightThreadsAtFullSpeedOverwriting) {
    Stress({}, 8, StressSeconds());
}

TEST_F(LossTest, EightThreadsAtFullSpeedDiscarding) {
    Stress({4096, 64, 1 << 20, Mode::Discard}, 8, StressSeconds());
}

TEST_F(LossTest, FullSpeedThroughTinyRingsOverwriting) {
    Stress({256, 16}, 2);
}

TEST_F(LossTest, FullSpeedThroughTinyRingsDiscarding) {
    Stress({256, 16, 1 << 16, Mode::Discard}, 2);
}

TEST_F(LossTest, ARecorderAndAControlInOneProcess) {
    ::setenv("QX_RUNTIME_DIR", m_directory.c_str(), 1);
    ASSERT_TRUE(qx::recorder::Configure({1024, 16}));
    std::atomic<bool> stop{false};
    std::thread recorders([&stop] { TraceWithThreads(3, stop, ~0u); });
    const std::string name = qxhost::QxProcessInfo::OwnName();
    DecodedDump dump;
    std::uint64_t calls = 0;
    for (int i = 0; i < 50; ++i) calls += Dump(name, i == 0).calls.size();
    stop = true;
    recorders.join();
    calls += Dump(name).calls.size();
    const qx::host::Loss loss = Total(name);
    ExpectBalanced(loss);
    EXPECT_EQ(loss.recorded, qx::recorder::GetCounters().recorded);
    EXPECT_EQ(loss.exits, qx::recorder::GetCounters().exits);
    EXPECT_EQ(loss.delivered, calls);
    EXPECT_EQ(loss.dropped, 0u);
}

TEST_F(LossTest, AProgramKilledAtAnyMomentStaysReadable) {
    for (int round = 0; round < 50; ++round) {
        Shared shared;
        const std::unique_ptr<Child> child = StartAndDump(shared, ~0u);
        ::usleep(static_cast<unsigned>(round * 137 % 1500));
        child->Kill();
        TakeDump();
        const qx::host::Loss loss = Total("traced");
        ExpectBalanced(loss);
        EXPECT_EQ(loss.delivered, m_calls);
        EXPECT_EQ(loss.exitsDelivered, m_exits);
        EXPECT_EQ(loss.held, 0u);
    }
    for (const RecordingLog::Line& line : RecordingLog::Lines()) ADD_FAILURE() << line.text;
}

TEST_F(LossTest, AProgramThatEndsWhileItIsDumpedLosesNothingUncounted) {
    for (std::uint32_t round = 0; round < 30 && !HasFailure(); ++round) {
        Shared shared;
        const std::unique_ptr<Child> child = StartAndDump(shared, 100 + round * 97);
        const auto runs = [this, pid = child->Pid()] {
            const auto processes = m_control->GetProcesses("traced");
            return std::any_of(processes.begin(), processes.end(),
                               [pid](const auto& one) { return one.pid == pid && one.isRunning; });
        };
        while (runs() && !HasFailure()) TakeDump();
        TakeDump();
        child->Join();
        ExpectExact(shared.Counts());
    }
}

// One call stays open beside many short ones: they all come out, and it does with its exit as long as the limit allows.
TEST_F(LossTest, ALongCallBesideShortOnesLosesNothing) {
    Shared shared;
    Run("traced", [&] {
        std::string text = TextOf(1);
        QX_CALL_RETURNS(call, std::uint32_t, "p", "Traced", qx::In(7u), qx::In(1u), qx::InOut(text));
        for (std::uint32_t n = 0; n < 3000; ++n) QX_LOG("p", "Log", 0u, n);
        call.Return(2);
        shared.Counts() = qx::recorder::GetCounters();
    });
    TakeDump(true);
    ExpectExact(shared.Counts());
    EXPECT_EQ(m_calls, 3001u);
    EXPECT_EQ(m_exits, 1u);
}

// A call of 7 s beside 1,000 short ones a second, with a limit of 5 s; at a tenth of that when the tests are to be
// quick.
TEST_F(LossTest, ACallOpenBeyondTheLimitLosesItsExitAndNothingElse) {
    const unsigned tenths = StressSeconds() < 7 ? 1 : 10;
    const std::uint32_t count = 700 * tenths;
    m_control->SetOpenCallLimit(500 * tenths);
    Shared shared;
    Child child(m_directory, "traced", [&] {
        std::string text = TextOf(1);
        QX_CALL_RETURNS(call, std::uint32_t, "p", "Traced", qx::In(7u), qx::In(1u), qx::InOut(text));
        std::thread([&] {
            for (std::uint32_t n = 0; n < count; ++n) {
                QX_CALL(inner, "p", "Inner", qx::In(0u), qx::In(n));
                ::usleep(1000);
            }
        }).join();
        call.Return(2);
        shared.Counts() = qx::recorder::GetCounters();
        shared.Stop() = true;
    });
    while (Files(".qxrec").empty()) std::this_thread::yield();
    TakeDump(true);
    while (!shared.Stop()) {
        TakeDump();
        ::usleep(50000);
    }
    child.Join();
    TakeDump();
    ExpectExact(shared.Counts());
    EXPECT_EQ(m_calls, count + 1);
    EXPECT_EQ(Total("traced").exitsDelivered, count);
    EXPECT_EQ(Total("traced").exitsDropped, 1u);
}

// The distance to its entry of an exit that returns after more than 16,382 others needs a word of its own.
TEST_F(LossTest, AnExitFarFromItsEntryFindsIt) {
    Shared shared;
    Run("traced", [&] {
        EXPECT_TRUE(qx::recorder::Configure({65536, 64}));
        std::string text = TextOf(1);
        QX_CALL_RETURNS(call, std::uint32_t, "p", "Traced", qx::In(7u), qx::In(1u), qx::InOut(text));
        for (std::uint32_t n = 0; n < 20000; ++n) QX_LOG("p", "Log", 0u, n);
        call.Return(2);
        shared.Counts() = qx::recorder::GetCounters();
    });
    TakeDump(true);
    ExpectExact(shared.Counts());
    EXPECT_EQ(m_exits, 1u);
}

}  // namespace
