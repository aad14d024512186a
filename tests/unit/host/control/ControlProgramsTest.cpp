// Which recordings the control reads: of programs that come, go and change, and of several of one name.
#include <fcntl.h>
#include <qx/recorder.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <set>
#include <thread>

#include "HostTest.h"
#include "NotedCalls.h"
#include "QxBytes.h"
#include "QxFileName.h"
#include "QxProcessInfo.h"
#include "RecordingLog.h"

struct Pair {
    int first = 0;
    int second = 0;
};
QX_TRACE_STRUCT(Pair, first, second)

namespace {

using ControlProgramsTest = HostTest;

TEST_F(ControlProgramsTest, WhatHadEndedBeforeTheWatchIsLeftAlone) {
    Child(m_directory, "traced", [] { Note(1); }).Join();
    PausingChild living(m_directory, "traced", [](const Pause& pause) { NoteOneByOne(2, pause); });
    m_control->Watch("traced");
    Child(m_directory, "traced", [] { Note(3); }).Join();
    EXPECT_EQ(Values(Dump("traced", true)), (Numbers{1, 3}));
    EXPECT_EQ(Total("traced").recorded, 2u);
    // It stays left alone, and so does what was read to its end.
    EXPECT_EQ(Values(Dump("traced", true)), Numbers{1});
    living.Continue();
    EXPECT_EQ(Values(Dump("traced")), Numbers{2});
    living.Finish();
}

TEST_F(ControlProgramsTest, TheFirstDumpBeginsTheWatch) {
    Child(m_directory, "traced", [] { Note(1); }).Join();
    EXPECT_FALSE(Dump("traced", true).exists);
    Child(m_directory, "traced", [] { Note(2); }).Join();
    EXPECT_EQ(Values(Dump("traced")), Numbers{2});
    EXPECT_FALSE(Dump("traced").exists);
    EXPECT_TRUE(RecordingLog::Lines().empty());
}

TEST_F(ControlProgramsTest, AWatchThatFindsNoUsableDirectoryBeginsWhenThereIsOne) {
    Child(m_directory, "traced", [] { Note(1); }).Join();
    ASSERT_EQ(::chmod(m_directory.c_str(), 0755), 0);
    m_control->Watch("traced");
    ASSERT_EQ(::chmod(m_directory.c_str(), 0700), 0);
    EXPECT_FALSE(Dump("traced", true).exists);
    Child(m_directory, "traced", [] { Note(2); }).Join();
    EXPECT_EQ(Values(Dump("traced", true)), Numbers{2});
}

TEST_F(ControlProgramsTest, AnEndedRecordingOfALongerNameDoesNotHideALivingOne) {
    Child(m_directory, "abcd", [] { Note(1); }).Join();
    PausingChild living(m_directory, "abc", [](const Pause& pause) { NoteOneByOne(1, pause); });
    EXPECT_EQ(Values(Dump("abcd", true)), Numbers{1});
    EXPECT_EQ(Total("abcd").recorded, 1u);
    living.Finish();
}

TEST_F(ControlProgramsTest, AShorterNameDoesNotStepInWhenALongerOneHasEnded) {
    PausingChild shorter(m_directory, "short", [](const Pause& pause) { NoteOneByOne(2, pause); });
    Run("shorter", [] { Note(7); });
    EXPECT_EQ(Values(Dump("shorter", true)), Numbers{7});
    shorter.Continue();
    EXPECT_FALSE(Dump("shorter").exists);
    EXPECT_FALSE(Dump("shorter", true).exists);
    shorter.Finish();
}

TEST_F(ControlProgramsTest, AShorterNameDoesNotStepInForAProcessThatRecordsNothing) {
    PausingChild shorter(m_directory, "short", [](const Pause& pause) { NoteOneByOne(1, pause); });
    {
        PausingChild silent(m_directory, "shorter", [](const Pause& pause) { pause(); });
        EXPECT_FALSE(Dump("shorter", true).exists);
        silent.Finish();
    }
    EXPECT_FALSE(Dump("shorter").exists);
    shorter.Finish();
}

TEST_F(ControlProgramsTest, WhatIsGoneIsForgottenSoThatAnotherFileMayHaveItsPlace) {
    Child(m_directory, "traced", [] { Note(1); }).Join();
    const std::string path = Files(".qxrec").at(0);
    const std::string bytes = ReadFile(path);
    m_control->Watch("traced");
    EXPECT_FALSE(Dump("traced", true).exists);
    ::unlink(path.c_str());
    EXPECT_FALSE(Dump("traced").exists);
    WriteFile(path, bytes);
    ASSERT_EQ(::chmod(path.c_str(), 0600), 0);
    EXPECT_EQ(Values(Dump("traced")), Numbers{1});
}

TEST_F(ControlProgramsTest, AStoppedProgramIsDumpedAndGoesOn) {
    PausingChild child(m_directory, "traced", [](const Pause& pause) {
        Note(1);
        pause();
        Note(2);
    });
    ASSERT_EQ(::kill(child.Pid(), SIGSTOP), 0);
    EXPECT_EQ(Values(Dump("traced", true)), Numbers{1});
    EXPECT_FALSE(Dump("traced").exists);
    EXPECT_EQ(Files(".qxrec").size(), 1u);
    ASSERT_EQ(::kill(child.Pid(), SIGCONT), 0);
    child.Finish();
    EXPECT_EQ(Values(Dump("traced")), Numbers{2});
}

TEST_F(ControlProgramsTest, AProgramWhoseFirstThreadHasEndedGoesOn) {
    PausingChild child(m_directory, "traced", [](const Pause& pause) {
        Note(1);
        std::thread([&pause] {
            while (ReadFile("/proc/self/stat").find(") Z ") == std::string::npos) std::this_thread::yield();
            pause();
            Note(2);
            pause();
            ::_exit(0);
        }).detach();
        ::syscall(SYS_exit, 0);
    });
    EXPECT_EQ(Values(Dump("traced", true)), Numbers{1});
    child.Continue();
    EXPECT_EQ(Values(Dump("traced")), Numbers{2});
    EXPECT_EQ(Files(".qxrec").size(), 1u);
    child.Finish();
    EXPECT_FALSE(Dump("traced").exists);
}

TEST_F(ControlProgramsTest, ARestartedProgramGoesOnUnderItsName) {
    for (int run = 1; run <= 3; ++run) {
        Run("traced", [run] { Note(run); });
        EXPECT_EQ(Values(Dump("traced", run == 1)), Numbers{static_cast<std::uint64_t>(run)});
    }
    EXPECT_EQ(Total("traced").recorded, 3u);
    EXPECT_EQ(Total("traced").delivered, 3u);
}

// A program that runs another one in its place keeps id and start time, and so the name of its recording's file.
TEST_F(ControlProgramsTest, AProgramRunByAnotherInItsPlaceTakesNothingFromIt) {
    using qxhost::QxFileName;
    Run("traced", [] { Note(1); });
    const std::string earlier = Files(".qxrec").at(0);
    Run("traced", [&] {
        const std::uint64_t start = qxhost::QxProcessInfo::StartTime(::getpid());
        const std::string own = QxFileName{"traced", ::getpid(), start, QxFileName::kRecording}.ToString();
        EXPECT_EQ(::rename(earlier.c_str(), (m_directory + "/" + own).c_str()), 0);
        Note(2);
    });
    EXPECT_EQ(Files(".qxrec").size(), 2u);
    EXPECT_EQ(Values(Dump("traced", true)), (Numbers{1, 2}));
    EXPECT_FALSE(Dump("traced").exists);
}

// The recorder of the program that is run anew finds a recording under its own name and puts it aside.
TEST_F(ControlProgramsTest, AProgramThatRunsItselfAnewLosesNothingAndRepeatsNothing) {
    using qxhost::QxFileName;
    Run("traced", [] { Note(1); });
    const std::string earlier = Files(".qxrec").at(0);
    PausingChild child(m_directory, "traced", [&](const Pause& pause) {
        const std::uint64_t start = qxhost::QxProcessInfo::StartTime(::getpid());
        const std::string own = QxFileName{"traced", ::getpid(), start, QxFileName::kRecording}.ToString();
        EXPECT_EQ(::rename(earlier.c_str(), (m_directory + "/" + own).c_str()), 0);
        pause();
        Note(2);
        pause();
        Note(3);
    });
    EXPECT_EQ(Values(Dump("traced", true)), Numbers{1});
    child.Continue();
    EXPECT_EQ(Values(Dump("traced")), Numbers{2});
    EXPECT_EQ(Files(".qxrec").size(), 2u);
    child.Finish();
    EXPECT_EQ(Values(Dump("traced")), Numbers{3});
    EXPECT_FALSE(Dump("traced").exists);
    ExpectBalanced(Total("traced"));
    EXPECT_EQ(Total("traced").delivered, 3u);
}

// A file that is put aside between being found and being removed is not forgotten, or it would be read again.
TEST_F(ControlProgramsTest, ARecordingThatIsPutAsideUnseenIsReadOnce) {
    PausingChild child(m_directory, "traced", [](const Pause& pause) { NoteOneByOne(1, pause); });
    EXPECT_EQ(Values(Dump("traced", true)), Numbers{1});
    const std::string path = Files(".qxrec").at(0);
    const std::string aside = path + ".aside";
    ASSERT_EQ(::rename(path.c_str(), aside.c_str()), 0);
    child.Kill();
    EXPECT_FALSE(Dump("traced").exists);
    ASSERT_EQ(::rename(aside.c_str(), path.c_str()), 0);
    EXPECT_FALSE(Dump("traced").exists);
    EXPECT_EQ(Total("traced").delivered, 1u);
}

TEST_F(ControlProgramsTest, WithoutDescriptorsNothingIsLost) {
    const auto noteAndPause = [](int value) {
        return [value](const Pause& pause) {
            Note(value);
            pause();
        };
    };
    PausingChild one(m_directory, "traced", [](const Pause& pause) { NoteOneByOne(2, pause); });
    EXPECT_EQ(Values(Dump("traced", true)), Numbers{1});
    PausingChild two(m_directory, "traced", noteAndPause(3));
    PausingChild three(m_directory, "traced", noteAndPause(4));
    one.Continue();
    const struct {
        std::size_t left;
        const char* message;
    } rows[] = {
        {0, " is not usable: Too many open files"},
        {1, " cannot be listed: Too many open files"},
        {2, " cannot be opened for now: Too many open files"},
        {1, " cannot be written: Too many open files"},
    };
    // The undefined-behaviour sanitizer takes descriptors itself when it meets a class, of streams say, the first time.
    EXPECT_NE(qxhost::QxProcessInfo::InnerPid(::getpid()), 0);
    for (const auto& row : rows) {
        const FewDescriptors few(row.left);
        EXPECT_FALSE(Dump("traced").exists);
        EXPECT_FALSE(Dump("traced").exists);
    }
    const std::vector<RecordingLog::Line> lines = RecordingLog::Lines();
    for (const auto& row : rows) {
        EXPECT_EQ(std::count_if(lines.begin(), lines.end(),
                                [&row](const auto& line) { return line.text.find(row.message) != std::string::npos; }),
                  1)
            << row.message;
    }
    EXPECT_EQ(Files(".qxrec").size(), 3u);
    EXPECT_EQ(Values(Dump("traced")), (Numbers{2, 3, 4}));
    EXPECT_EQ(Total("traced").delivered, 4u);
    one.Finish();
    two.Finish();
    three.Finish();
}

TEST_F(ControlProgramsTest, NamesAreFoundAsTheSystemShortensThem) {
    m_control->Watch("abcxyz");
    Run("abc", [] { Note(1); });
    Run("abcdef", [] { Note(2); });
    Run("a-name-that-is-far-too-long", [] { Note(3); });
    EXPECT_EQ(Values(Dump("abcxyz", true)), Numbers{1});
    EXPECT_EQ(Values(Dump("abcdef", true)), Numbers{2});
    EXPECT_EQ(Values(Dump("a-name-that-is-far-too-long", true)), Numbers{3});
    EXPECT_FALSE(Dump("ab", true).exists);
}

TEST_F(ControlProgramsTest, AWholeNameIsPreferredToAPrefixAndALongPrefixToAShortOne) {
    m_control->Watch("abcde");
    Run("abc", [] { Note(1); });
    Run("abcd", [] { Note(2); });
    Run("abcdef", [] { Note(3); });
    EXPECT_EQ(Values(Dump("abcde", true)), Numbers{2});
    EXPECT_EQ(Values(Dump("abcdef", true)), Numbers{3});
    EXPECT_EQ(Values(Dump("abc", true)), Numbers{1});
}

TEST_F(ControlProgramsTest, NamesOfAnyBytesMakeFiles) {
    const std::string name = "a/b %.\n\xFF";
    Run(name, [] { Note(1); });
    EXPECT_EQ(Values(Dump(name, true)), Numbers{1});
    EXPECT_EQ(Files(".qxdump").size(), 1u);
}

void RecordLayoutOne() {
    const Pair pair{1, 2};
    QX_CALL(call, "p", "One", qx::In(pair), qx::In(11));
}

}  // namespace

// The same name as Pair, but another layout: another program's.
namespace other {
struct Pair {
    std::string text;
    char flag = 0;
};
}  // namespace other
template <>
struct qx_traits::StructTrait<other::Pair> {
    static const char* QxName() { return "Pair"; }
    template <class Visitor>
    static void QxForEach(Visitor&& visit) {
        visit("text", &other::Pair::text);
        visit("flag", &other::Pair::flag);
    }
};

namespace {

void RecordLayoutTwo() {
    const other::Pair pair{"two", 'x'};
    const std::vector<other::Pair> list{pair};
    QX_CALL(call, "p", "Two", qx::In(pair), qx::In(list), qx::In(12));
}

TEST_F(ControlProgramsTest, TwoProgramsOfOneNameDoNotGetIntoEachOthersWay) {
    PausingChild one(m_directory, "traced", [](const Pause& pause) {
        RecordLayoutOne();
        Note(1);
        pause();
    });
    PausingChild two(m_directory, "traced", [](const Pause& pause) {
        RecordLayoutTwo();
        Note(2);
        pause();
    });
    const DecodedDump dump = Dump("traced", true);
    ASSERT_EQ(dump.calls.size(), 4u);
    const IQxData::HSCall& first = dump.Only("One");
    EXPECT_EQ(Number(first.args.in[0], 0), 1u);
    EXPECT_EQ(first.args.in[0][1].first, "second");
    EXPECT_EQ(Number(first.args.in[1]), 11u);
    const IQxData::HSCall& second = dump.Only("Two");
    EXPECT_EQ(Bytes(second.args.in[0], 0), "two");
    EXPECT_EQ(second.args.in[0][1].first, "flag");
    EXPECT_EQ(Bytes(second.args.in[1], 0), "two");
    EXPECT_EQ(Number(second.args.in[2]), 12u);
    EXPECT_NE(first.tid, second.tid);
    EXPECT_EQ(Numbers({Number(dump.Of("Note")[0].args.in[0]), Number(dump.Of("Note")[1].args.in[0])}), (Numbers{1, 2}));
    one.Finish();
    two.Finish();
}

TEST_F(ControlProgramsTest, ThreadsOfTwoProgramsHaveDifferentNumbers) {
    Run("one", [] { Note(1); });
    Run("two", [] { Note(2); });
    // Read in one go, as a tracker's cycle does: the numbers of the first are free again only afterwards.
    const DecodedDump one = Dump("one", true);
    EXPECT_EQ(one.calls.at(0).tid, 1u);
    PausingChild three(m_directory, "three", [](const Pause& pause) {
        Note(3);
        pause();
    });
    const unsigned short tid = Dump("three", true).calls.at(0).tid;
    EXPECT_NE(Dump("two", true).calls.at(0).tid, tid);
    three.Finish();
}

}  // namespace
