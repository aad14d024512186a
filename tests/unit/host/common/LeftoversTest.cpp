// How long the recording of a process that has ended stays.
#include <fcntl.h>
#include <qx/recorder.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <deque>
#include <set>

#include "HostTest.h"
#include "QxFileName.h"
#include "QxLayout.h"
#include "QxProcessInfo.h"
#include "QxRecordingClock.h"

namespace {

using namespace qxhost;
using Pause = PausingChild::Pause;

void Note(int value) {
    QX_CALL(call, "p", "Note", qx::In(value));
}

class LeftoversTest : public HostTest {
protected:
    // Starts a program that ends at once, and gives its id.
    pid_t Start(const std::string& name) const {
        Child child(m_directory, name, [] { Note(1); });
        const pid_t pid = child.Pid();
        child.Join();
        return pid;
    }

    // Whether there is a recording of that process.
    bool Has(const std::string& name, pid_t pid) const {
        const std::string begin = m_directory + "/" + name + "." + std::to_string(pid) + ".";
        const std::vector<std::string> files = Files(".qxrec");
        return std::any_of(files.begin(), files.end(),
                           [&begin](const std::string& file) { return file.compare(0, begin.size(), begin) == 0; });
    }
};

TEST_F(LeftoversTest, ARecordingStaysUntilItsProgramHasStartedTwiceSince) {
    const pid_t first = Start("traced");
    const pid_t second = Start("traced");
    EXPECT_TRUE(Has("traced", first));
    for (int i = 0; i < 5; ++i) Start("other");
    EXPECT_TRUE(Has("traced", first));
    const pid_t third = Start("traced");
    EXPECT_FALSE(Has("traced", first));
    EXPECT_TRUE(Has("traced", second));
    EXPECT_TRUE(Has("traced", third));
    EXPECT_EQ(Files(".qxrec").size(), 4u);
}

TEST_F(LeftoversTest, StartsCountFromTheEndOn) {
    PausingChild running(m_directory, "traced", [](const Pause& pause) {
        Note(1);
        pause();
    });
    for (int i = 0; i < 3; ++i) Start("traced");
    EXPECT_TRUE(Has("traced", running.Pid()));
    running.Kill();
    Start("traced");
    EXPECT_TRUE(Has("traced", running.Pid()));
    Start("traced");
    EXPECT_FALSE(Has("traced", running.Pid()));
}

TEST_F(LeftoversTest, TwoProgramsThatStartAtOnceAreTwo) {
    for (int round = 0; round < 30 && !HasFailure(); ++round) {
        const pid_t ended = Start("traced");
        Signal go;
        const auto body = [&go] {
            go.Wait();
            Note(2);
        };
        Child one(m_directory, "traced", body);
        Child two(m_directory, "traced", body);
        go.Send();
        go.Send();
        one.Join();
        two.Join();
        EXPECT_FALSE(Has("traced", ended));
        for (const std::string& path : Files(".qxrec")) ::unlink(path.c_str());
    }
}

// It tries again and again, and is one start none the less.
TEST_F(LeftoversTest, AProgramThatCannotRecordIsNoStart) {
    const pid_t ended = Start("traced");
    Run("traced", [] {
        struct rlimit limit {};
        EXPECT_EQ(::getrlimit(RLIMIT_FSIZE, &limit), 0);
        limit.rlim_cur = 1 << 20;
        EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
        ::setenv("QX_LOG", "none", 1);
        for (int i = 0; i < 20000; ++i) Note(i);
        EXPECT_EQ(qx::recorder::GetCounters().refused, 20000u);
    });
    EXPECT_TRUE(Has("traced", ended));
    Start("traced");
    EXPECT_TRUE(Has("traced", ended));
    Start("traced");
    EXPECT_FALSE(Has("traced", ended));
}

TEST_F(LeftoversTest, SixteenOthersThatEndedLaterTakeItsPlace) {
    // Began before all others, and ends after some.
    PausingChild daemon(m_directory, "daemon", [](const Pause& pause) {
        Note(1);
        pause();
    });
    std::deque<pid_t> jobs;
    const auto name = [](int number) { return "job-" + std::to_string(number); };
    for (int number = 0; number < 10; ++number) jobs.push_back(Start(name(number)));
    daemon.Kill();
    // Nobody saw which of the daemon and the last job ended first.
    for (int number = 10; number < 25; ++number) jobs.push_back(Start(name(number)));
    EXPECT_TRUE(Has("daemon", daemon.Pid()));
    EXPECT_FALSE(Has(name(8), jobs[8]));
    jobs.push_back(Start(name(25)));
    EXPECT_FALSE(Has("daemon", daemon.Pid()));
    EXPECT_TRUE(Has(name(9), jobs[9]));
    Start(name(26));
    EXPECT_FALSE(Has(name(9), jobs[9]));
    EXPECT_TRUE(Has(name(10), jobs[10]));
    EXPECT_EQ(Files(".qxrec").size(), 17u);
}

TEST_F(LeftoversTest, ProgramsThatStartOverAndOverTakeNoOthersPlace) {
    const pid_t ended = Start("crashed");
    for (int i = 0; i < 40; ++i) Start("job");
    EXPECT_TRUE(Has("crashed", ended));
    EXPECT_EQ(Files(".qxrec").size(), 3u);
}

TEST_F(LeftoversTest, FilesThatAreNoRecordingsGoFirst) {
    WriteFile(m_directory + "/traced.999999999.1.qxrec", "");
    for (int number = 0; number < 20; ++number) {
        WriteFile(m_directory + "/job-" + std::to_string(number) + ".999999999." + std::to_string(number) + ".qxrec",
                  "x");
    }
    WriteFile(m_directory + "/job.999999999.1.qxnew", "");
    Start("traced");
    EXPECT_FALSE(Has("traced", 999999999));
    EXPECT_EQ(Files(".qxrec").size(), 17u);
    EXPECT_TRUE(Files("-3.999999999.3.qxrec").empty());
    EXPECT_EQ(Files("-4.999999999.4.qxrec").size(), 1u);
    EXPECT_TRUE(Files(".qxnew").empty());
}

TEST_F(LeftoversTest, FilesThatAreNoRecordingsTakeNoRecordingsPlaceAndStayAsTheyAre) {
    const pid_t ended = Start("crashed");
    const std::string path = m_directory + "/job-";
    for (int number = 0; number < 20; ++number) WriteFile(path + std::to_string(number) + ".999999999.1.qxrec", "x");
    for (int i = 0; i < 2; ++i) Start("traced");
    EXPECT_TRUE(Has("crashed", ended));
    for (const std::string& file : Files(".999999999.1.qxrec")) EXPECT_EQ(ReadFile(file), "x") << file;
    EXPECT_FALSE(Files(".999999999.1.qxrec").empty());
}

// The clock began anew with the system.
TEST_F(LeftoversTest, AnEndThatLiesAheadIsOneOfAnEarlierRunOfTheSystem) {
    const pid_t old = Start("old");
    WriteWord(Files(".qxrec").at(0), qxlayout::kHeaderEndSeen, NowNs() + 1000000000000);
    for (int number = 0; number < 16; ++number) Start("job-" + std::to_string(number));
    EXPECT_TRUE(Has("old", old));
    Start("traced");
    EXPECT_FALSE(Has("old", old));
}

// The program that a process ran before has ended, and what it runs now has started.
TEST_F(LeftoversTest, AProgramThatRunsItselfAnewIsAStart) {
    const pid_t first = Start("traced");
    const std::string earlier = Files(".qxrec").at(0);
    PausingChild child(m_directory, "traced", [&](const Pause& pause) {
        const std::uint64_t start = QxProcessInfo::StartTime(::getpid());
        const std::string own = QxFileName{"traced", ::getpid(), start, QxFileName::kRecording}.ToString();
        EXPECT_EQ(::rename(earlier.c_str(), (m_directory + "/" + own).c_str()), 0);
        Note(2);
        pause();
    });
    EXPECT_FALSE(Has("traced", first));
    EXPECT_EQ(Files(".0.qxrec").size(), 1u);
    Start("traced");
    EXPECT_TRUE(Files(".0.qxrec").empty());
    EXPECT_EQ(Files(".qxrec").size(), 2u);
    child.Finish();
}

TEST_F(LeftoversTest, ReadingRemovesNothing) {
    m_control->Watch("traced");
    const pid_t ended = Start("traced");
    for (int i = 0; i < 3; ++i) Dump("traced", i == 0);
    EXPECT_TRUE(Has("traced", ended));
    Start("traced");
    EXPECT_TRUE(Has("traced", ended));
}

// Its name is another one's by then; it is no start of that one.
TEST_F(LeftoversTest, ADumpOfAReaderThatRunsStays) {
    PausingChild reader(m_directory, "reader", [this](const Pause& pause) {
        Note(1);
        EXPECT_TRUE(Dump("reader", true).exists);
        pause();
    });
    m_control = std::make_unique<QxControl>(m_directory);
    Dump("nobody", true);
    Start("reader");
    EXPECT_EQ(Files(".qxdump").size(), 1u);
    reader.Finish();
}

}  // namespace
