// Which recordings the control finds, what it writes of them and when.
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

using ControlTest = HostTest;
using Pause = PausingChild::Pause;

void Note(int value) {
    QX_CALL(call, "p", "Note", qx::In(value));
}

// Notes 1 to `count`, and pauses after each.
void NoteOneByOne(int count, const Pause& pause) {
    for (int i = 1; i <= count; ++i) {
        Note(i);
        pause();
    }
}

std::set<std::uint64_t> Values(const DecodedDump& dump) {
    std::set<std::uint64_t> values;
    for (const IQxData::HSCall& call : dump.calls) values.insert(Number(call.args.in.at(0)));
    return values;
}

using Numbers = std::set<std::uint64_t>;

TEST_F(ControlTest, WithoutARecordingThereIsNoDump) {
    EXPECT_FALSE(Dump("traced", true).exists);
    Run("traced", [] { Note(1); });
    EXPECT_FALSE(Dump("other", true).exists);
    EXPECT_FALSE(Dump("", true).exists);
    EXPECT_TRUE(RecordingLog::Lines().empty());
    qxhost::QxControl nowhere(m_directory + "/missing");
    std::vector<char> path(3, 'x');
    EXPECT_FALSE(nowhere.getQxBufferDump(path, "traced", true));
    EXPECT_TRUE(path.empty());
    EXPECT_TRUE(RecordingLog::Lines().empty());
}

TEST_F(ControlTest, ARefusedDirectoryIsReportedOnce) {
    Run("traced", [] { Note(1); });
    ASSERT_EQ(::chmod(m_directory.c_str(), 0755), 0);
    EXPECT_FALSE(Dump("traced", true).exists);
    EXPECT_FALSE(Dump("traced", false).exists);
    ASSERT_EQ(RecordingLog::Lines().size(), 1u);
    EXPECT_EQ(RecordingLog::Lines()[0].text,
              "runtime directory " + m_directory + " is refused: group or others may enter it, its mode must be 0700");
    ASSERT_EQ(::chmod(m_directory.c_str(), 0700), 0);
    EXPECT_TRUE(Dump("traced", true).exists);
}

TEST_F(ControlTest, TheNextDumpHoldsWhatIsNewAndTheFirstFlagAllThatIsBuffered) {
    PausingChild child(m_directory, "traced", [](const Pause& pause) { NoteOneByOne(3, pause); });
    EXPECT_EQ(Values(Dump("traced", true)), Numbers{1});
    EXPECT_FALSE(Dump("traced").exists);
    child.Continue();
    EXPECT_EQ(Values(Dump("traced")), Numbers{2});
    EXPECT_EQ(Values(Dump("traced", true)), (Numbers{1, 2}));
    child.Continue();
    EXPECT_EQ(Values(Dump("traced")), Numbers{3});
    ExpectBalanced(Total("traced"));
    EXPECT_EQ(Total("traced").delivered, 3u);
    child.Finish();
}

TEST_F(ControlTest, TheFirstDumpOfAProgramThatIsIdleDescribesIt) {
    PausingChild child(m_directory, "traced", [](const Pause& pause) {
        Note(1);
        pause();
    });
    Dump("traced", true);
    // Nothing happened since.
    const DecodedDump dump = Dump("traced", true);
    EXPECT_EQ(dump.data->GetCallLocationWithPID(1, 77).callerName, "Note");
    child.Finish();
}

TEST_F(ControlTest, ACallThatIsOpenIsHeldBackAndWrittenWholeAtItsOwnTime) {
    PausingChild child(m_directory, "traced", [](const Pause& pause) {
        {
            QX_CALL_RETURNS(call, int, "p", "Open", qx::In(1));
            Note(2);
            QX_LOG("p", "Log", 3);
            pause();
            Note(4);
            call.Return(10);
        }
        pause();
    });
    const DecodedDump first = Dump("traced", true);
    EXPECT_EQ(Values(first), (Numbers{2, 3}));
    EXPECT_EQ(Total("traced").held, 1u);
    child.Continue();
    const DecodedDump second = Dump("traced");
    EXPECT_EQ(Values(second), (Numbers{1, 4}));
    const IQxData::HSCall& open = second.Only("Open");
    EXPECT_LT(open.time, first.calls[0].time);
    EXPECT_GE(open.exitTime + 2000, second.Only("Note").exitTime);
    EXPECT_EQ(Number(open.args.ret[0]), 10u);
    EXPECT_EQ(Total("traced").held, 0u);
    EXPECT_EQ(Total("traced").exitsDropped, 0u);
    child.Finish();
}

TEST_F(ControlTest, ACallThatStaysOpenTooLongLosesItsExitOnly) {
    m_control->SetOpenCallLimit(0);
    PausingChild child(m_directory, "traced", [](const Pause& pause) {
        {
            QX_CALL(call, "p", "Open", qx::In(1));
            pause();
            Note(2);
        }
        pause();
    });
    EXPECT_EQ(Dump("traced", true).Only("Open").exitTime, 0u);
    child.Continue();
    const DecodedDump second = Dump("traced");
    EXPECT_EQ(Values(second), Numbers{2});
    EXPECT_NE(second.calls[0].exitTime, 0u);
    const qx::host::Loss loss = Total("traced");
    ExpectBalanced(loss);
    EXPECT_EQ(loss.delivered, 2u);
    EXPECT_EQ(loss.exitsDropped, 1u);
    child.Finish();
}

TEST_F(ControlTest, AKilledProgramIsDumpedWithItsOpenCallsAndThenForgotten) {
    PausingChild child(m_directory, "traced", [](const Pause& pause) {
        Note(1);
        QX_CALL(call, "p", "Open", qx::In(2));
        pause();
    });
    m_control->Watch("traced");
    child.Kill();
    const DecodedDump dump = Dump("traced", true);
    EXPECT_EQ(Values(dump), (Numbers{1, 2}));
    EXPECT_EQ(dump.Only("Open").exitTime, 0u);
    EXPECT_FALSE(Dump("traced").exists);
    EXPECT_EQ(Total("traced").delivered, 2u);
    EXPECT_FALSE(Dump("traced", true).exists);
    EXPECT_EQ(Files(".qxrec").size(), 1u);
}

TEST_F(ControlTest, WhatHadEndedBeforeTheWatchIsLeftAlone) {
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

TEST_F(ControlTest, TheFirstDumpBeginsTheWatch) {
    Child(m_directory, "traced", [] { Note(1); }).Join();
    EXPECT_FALSE(Dump("traced", true).exists);
    Child(m_directory, "traced", [] { Note(2); }).Join();
    EXPECT_EQ(Values(Dump("traced")), Numbers{2});
    EXPECT_FALSE(Dump("traced").exists);
    EXPECT_TRUE(RecordingLog::Lines().empty());
}

TEST_F(ControlTest, AWatchThatFindsNoUsableDirectoryBeginsWhenThereIsOne) {
    Child(m_directory, "traced", [] { Note(1); }).Join();
    ASSERT_EQ(::chmod(m_directory.c_str(), 0755), 0);
    m_control->Watch("traced");
    ASSERT_EQ(::chmod(m_directory.c_str(), 0700), 0);
    EXPECT_FALSE(Dump("traced", true).exists);
    Child(m_directory, "traced", [] { Note(2); }).Join();
    EXPECT_EQ(Values(Dump("traced", true)), Numbers{2});
}

TEST_F(ControlTest, AnEndedRecordingOfALongerNameDoesNotHideALivingOne) {
    Child(m_directory, "abcd", [] { Note(1); }).Join();
    PausingChild living(m_directory, "abc", [](const Pause& pause) { NoteOneByOne(1, pause); });
    EXPECT_EQ(Values(Dump("abcd", true)), Numbers{1});
    EXPECT_EQ(Total("abcd").recorded, 1u);
    living.Finish();
}

TEST_F(ControlTest, AShorterNameDoesNotStepInWhenALongerOneHasEnded) {
    PausingChild shorter(m_directory, "short", [](const Pause& pause) { NoteOneByOne(2, pause); });
    Run("shorter", [] { Note(7); });
    EXPECT_EQ(Values(Dump("shorter", true)), Numbers{7});
    shorter.Continue();
    EXPECT_FALSE(Dump("shorter").exists);
    EXPECT_FALSE(Dump("shorter", true).exists);
    shorter.Finish();
}

TEST_F(ControlTest, AShorterNameDoesNotStepInForAProcessThatRecordsNothing) {
    PausingChild shorter(m_directory, "short", [](const Pause& pause) { NoteOneByOne(1, pause); });
    {
        PausingChild silent(m_directory, "shorter", [](const Pause& pause) { pause(); });
        EXPECT_FALSE(Dump("shorter", true).exists);
        silent.Finish();
    }
    EXPECT_FALSE(Dump("shorter").exists);
    shorter.Finish();
}

TEST_F(ControlTest, WhatIsGoneIsForgottenSoThatAnotherFileMayHaveItsPlace) {
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

TEST_F(ControlTest, AStoppedProgramIsDumpedAndGoesOn) {
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

TEST_F(ControlTest, AProgramWhoseFirstThreadHasEndedGoesOn) {
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

TEST_F(ControlTest, ARestartedProgramGoesOnUnderItsName) {
    for (int run = 1; run <= 3; ++run) {
        Run("traced", [run] { Note(run); });
        EXPECT_EQ(Values(Dump("traced", run == 1)), Numbers{static_cast<std::uint64_t>(run)});
    }
    EXPECT_EQ(Total("traced").recorded, 3u);
    EXPECT_EQ(Total("traced").delivered, 3u);
}

// A program that runs another one in its place keeps id and start time, and so the name of its recording's file.
TEST_F(ControlTest, AProgramRunByAnotherInItsPlaceTakesNothingFromIt) {
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
TEST_F(ControlTest, AProgramThatRunsItselfAnewLosesNothingAndRepeatsNothing) {
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
TEST_F(ControlTest, ARecordingThatIsPutAsideUnseenIsReadOnce) {
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

TEST_F(ControlTest, WithoutDescriptorsNothingIsLost) {
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

TEST_F(ControlTest, NamesAreFoundAsTheSystemShortensThem) {
    m_control->Watch("abcxyz");
    Run("abc", [] { Note(1); });
    Run("abcdef", [] { Note(2); });
    Run("a-name-that-is-far-too-long", [] { Note(3); });
    EXPECT_EQ(Values(Dump("abcxyz", true)), Numbers{1});
    EXPECT_EQ(Values(Dump("abcdef", true)), Numbers{2});
    EXPECT_EQ(Values(Dump("a-name-that-is-far-too-long", true)), Numbers{3});
    EXPECT_FALSE(Dump("ab", true).exists);
}

TEST_F(ControlTest, AWholeNameIsPreferredToAPrefixAndALongPrefixToAShortOne) {
    m_control->Watch("abcde");
    Run("abc", [] { Note(1); });
    Run("abcd", [] { Note(2); });
    Run("abcdef", [] { Note(3); });
    EXPECT_EQ(Values(Dump("abcde", true)), Numbers{2});
    EXPECT_EQ(Values(Dump("abcdef", true)), Numbers{3});
    EXPECT_EQ(Values(Dump("abc", true)), Numbers{1});
}

TEST_F(ControlTest, NamesOfAnyBytesMakeFiles) {
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
struct qx::recorder::StructTrait<other::Pair> {
    static const char* Name() { return "Pair"; }
    template <class Visitor>
    static void ForEach(Visitor&& visit) {
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

TEST_F(ControlTest, TwoProgramsOfOneNameDoNotGetIntoEachOthersWay) {
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

TEST_F(ControlTest, ThreadsOfTwoProgramsHaveDifferentNumbers) {
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

TEST_F(ControlTest, DumpsReplaceEachOtherAndThoseOfDeadReadersGo) {
    using qxhost::QxFileName;
    const std::string own = QxFileName{"dead", 999999999, 5, QxFileName::kDump}.ToString();
    WriteFile(m_directory + "/" + own, "x");
    WriteFile(m_directory + "/" + QxFileName{"dead", 999999999, 5, QxFileName::kNewDump}.ToString(), "x");
    const std::uint64_t start = qxhost::QxProcessInfo::StartTime(::getppid());
    const std::string alive = m_directory + "/" + QxFileName{"live", ::getppid(), start, QxFileName::kDump}.ToString();
    WriteFile(alive, "x");
    for (int run = 0; run < 3; ++run) {
        Run("traced", [run] { Note(run); });
        EXPECT_TRUE(Dump("traced", run == 0).exists);
    }
    const std::vector<std::string> files = Files(".qxdump");
    ASSERT_EQ(files.size(), 2u);
    EXPECT_EQ(files[0], alive);
    EXPECT_TRUE(Files(".qxtmp").empty());
    struct stat status {};
    ASSERT_EQ(::stat(files[1].c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
}

TEST_F(ControlTest, WhatADumpThatCannotBeWrittenHeldComesWithTheNextOne) {
    PausingChild child(m_directory, "traced", [](const Pause& pause) { NoteOneByOne(2, pause); });
    ASSERT_TRUE(Dump("traced", true).exists);
    const std::string path = Files(".qxdump").at(0);
    ::unlink(path.c_str());
    ASSERT_EQ(::mkdir(path.c_str(), 0700), 0);
    child.Continue();
    EXPECT_FALSE(Dump("traced").exists);
    EXPECT_FALSE(Dump("traced").exists);
    ASSERT_EQ(RecordingLog::Lines().size(), 1u);
    EXPECT_NE(RecordingLog::Lines()[0].text.find("cannot be written: Is a directory"), std::string::npos);
    EXPECT_EQ(Total("traced").delivered, 1u);
    ::rmdir(path.c_str());
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    EXPECT_EQ(Values(Dump("traced")), Numbers{2});
    EXPECT_EQ(Total("traced").delivered, 2u);
    child.Finish();
}

TEST_F(ControlTest, AReadOnlyDirectoryGivesNoDumpAndLosesNone) {
    if (::geteuid() != 0) GTEST_SKIP() << "only root can make a file system read-only";
    Run("traced", [] { Note(1); });
    Run("reader", [this] {
        const char* path = m_directory.c_str();
        if (::unshare(CLONE_NEWNS) != 0 || ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) return;
        ASSERT_EQ(::mount(path, path, nullptr, MS_BIND, nullptr), 0);
        ASSERT_EQ(::mount(nullptr, path, nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr), 0);
        EXPECT_FALSE(Dump("traced", true).exists);
        ASSERT_EQ(RecordingLog::Lines().size(), 1u);
        EXPECT_NE(RecordingLog::Lines()[0].text.find("cannot be written: Read-only file system"), std::string::npos);
        ASSERT_EQ(::mount(nullptr, path, nullptr, MS_REMOUNT | MS_BIND, nullptr), 0);
        EXPECT_EQ(Values(Dump("traced")), Numbers{1});
        ExpectBalanced(Total("traced"));
    });
}

TEST_F(ControlTest, FilesThatAreNoRecordingsOfThisUserAreRefused) {
    const std::string name = m_directory + "/traced.1.1.qxrec";
    const std::string given = " in " + m_directory + " is given up: ";
    const struct {
        const char* reason;
        std::function<void()> make;
    } rows[] = {
        {"it is a symbolic link", [&] { EXPECT_EQ(::symlink("/etc/passwd", name.c_str()), 0); }},
        {"it is no regular file", [&] { EXPECT_EQ(::mkfifo(name.c_str(), 0600), 0); }},
        {"group or others may open it",
         [&] {
             WriteFile(name, "x");
             EXPECT_EQ(::chmod(name.c_str(), 0640), 0);
         }},
        {"the file is cut short",
         [&] {
             WriteFile(name, "x");
             EXPECT_EQ(::chmod(name.c_str(), 0600), 0);
         }},
        {"its header is none",
         [&] {
             WriteFile(name, std::string(100000, 'x'));
             EXPECT_EQ(::chmod(name.c_str(), 0600), 0);
         }},
        {"a recorder of another version wrote it",
         [&] {
             WriteFile(name, "QXCER001" + std::string(100000, '\0'));
             EXPECT_EQ(::chmod(name.c_str(), 0600), 0);
         }},
    };
    for (const auto& row : rows) {
        m_control = std::make_unique<qxhost::QxControl>(m_directory);
        m_control->Watch("traced");
        row.make();
        RecordingLog::Clear();
        EXPECT_FALSE(Dump("traced", true).exists);
        ASSERT_EQ(RecordingLog::Lines().size(), 1u);
        EXPECT_EQ(RecordingLog::Lines()[0].text, "recording traced.1.1.qxrec" + given + row.reason);
        EXPECT_FALSE(Dump("traced", false).exists);
        EXPECT_EQ(RecordingLog::Lines().size(), 1u);
        EXPECT_EQ(::unlink(name.c_str()), 0);
    }
}

TEST_F(ControlTest, ARecordingOfAnotherUserIsRefused) {
    if (::geteuid() != 0) GTEST_SKIP() << "only root can give files away";
    Run("traced", [] { Note(1); });
    const std::string path = Files(".qxrec").at(0);
    ASSERT_EQ(::chown(path.c_str(), 1, 1), 0);
    EXPECT_FALSE(Dump("traced", true).exists);
    ASSERT_EQ(RecordingLog::Lines().size(), 1u);
    EXPECT_NE(RecordingLog::Lines()[0].text.find("is given up: it belongs to another user"), std::string::npos);
}

TEST_F(ControlTest, DumpsFollowNoLink) {
    PausingChild child(m_directory, "traced", [](const Pause& pause) { NoteOneByOne(2, pause); });
    ASSERT_TRUE(Dump("traced", true).exists);
    const std::string path = Files(".qxdump").at(0);
    const std::string newPath = path.substr(0, path.rfind('.')) + ".qxtmp";
    const std::string victim = m_directory + "/victim";
    WriteFile(victim, "precious");
    ::unlink(path.c_str());
    ASSERT_EQ(::symlink(victim.c_str(), path.c_str()), 0);
    ASSERT_EQ(::symlink(victim.c_str(), newPath.c_str()), 0);
    child.Continue();
    EXPECT_EQ(Values(Dump("traced")), Numbers{2});
    EXPECT_EQ(ReadFile(victim), "precious");
    struct stat status {};
    ASSERT_EQ(::lstat(path.c_str(), &status), 0);
    EXPECT_TRUE(S_ISREG(status.st_mode));
    EXPECT_NE(::access(newPath.c_str(), F_OK), 0);
    child.Finish();
}

TEST_F(ControlTest, LossIsToldByThreadAndForTheLastDump) {
    PausingChild child(m_directory, "traced", [](const Pause& pause) {
        qx::recorder::SetThreadName("first");
        Note(1);
        std::thread([&] {
            qx::recorder::SetThreadName("second");
            Note(2);
            Note(3);
            pause();
            Note(4);
            pause();
        }).join();
    });
    Dump("traced", true);
    qx::host::Loss last;
    ASSERT_TRUE(m_control->GetLoss("traced", nullptr, &last));
    EXPECT_EQ(last.delivered, 3u);
    child.Continue();
    Dump("traced");
    ASSERT_TRUE(m_control->GetLoss("traced", nullptr, &last));
    EXPECT_EQ(last.recorded, 1u);
    EXPECT_EQ(last.delivered, 1u);
    EXPECT_EQ(last.exitsDelivered, 1u);
    const std::vector<qx::host::ThreadLoss> threads = m_control->GetThreadLoss("traced");
    ASSERT_EQ(threads.size(), 2u);
    EXPECT_EQ(threads[0].name, "first");
    EXPECT_EQ(threads[0].loss.delivered, 1u);
    EXPECT_EQ(threads[1].name, "second");
    EXPECT_EQ(threads[1].loss.delivered, 3u);
    EXPECT_EQ(threads[1].pid, child.Pid());
    EXPECT_FALSE(m_control->GetLoss("unknown", &last, nullptr));
    EXPECT_TRUE(m_control->GetThreadLoss("unknown").empty());
    child.Finish();
}

TEST_F(ControlTest, ADumpThatIsNotMadeHasLostNothing) {
    Run("traced", [] { Note(1); });
    ASSERT_TRUE(Dump("traced", true).exists);
    qx::host::Loss last;
    ASSERT_TRUE(m_control->GetLoss("traced", nullptr, &last));
    EXPECT_EQ(last.delivered, 1u);
    ASSERT_EQ(::chmod(m_directory.c_str(), 0755), 0);
    EXPECT_FALSE(Dump("traced").exists);
    ASSERT_TRUE(m_control->GetLoss("traced", nullptr, &last));
    EXPECT_EQ(last.recorded, 0u);
    EXPECT_EQ(last.delivered, 0u);
    EXPECT_EQ(Total("traced").delivered, 1u);
}

// The packets of a dump: compressed ones that describe, the process's header, thread names, then the calls.
TEST_F(ControlTest, DumpsUseEveryBufferKindInOrder) {
    Run("traced", [] { Note(1); });
    const std::string bytes = Dump("traced", true).bytes;
    std::string tags;
    qxhost::QxByteReader reader(bytes.data(), bytes.size());
    while (reader.Left() > 0) {
        tags += static_cast<char>('0' + reader.ReadByte());
        reader.Skip(reader.ReadVarint());
    }
    EXPECT_EQ(tags, "5241");
}

}  // namespace
