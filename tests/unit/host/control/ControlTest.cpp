// What the control writes of a recording, and when; what it tells of losses.
#include <fcntl.h>
#include <qx/recorder.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/resource.h>
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
#include "QxLayout.h"
#include "QxProcessInfo.h"
#include "RecordingLog.h"

namespace {

using ControlTest = HostTest;

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
    // Behind what this process described itself, if it recorded before: a forked child describes that, too.
    std::set<std::string> described;
    for (unsigned short id = 1; id <= 8; ++id) described.insert(dump.data->GetCallLocationWithPID(id, 77).callerName);
    EXPECT_EQ(described.count("Note"), 1u);
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

TEST_F(ControlTest, TheFirstDumpClearsThoseOfDeadReadersAndNoOther) {
    const std::string dead = m_directory + "/dead.999999999.5.";
    const auto leave = [&dead] {
        for (const char* suffix : {"qxdump", "qxtmp"}) WriteFile(dead + suffix, "x");
    };
    leave();
    EXPECT_FALSE(Dump("traced", true).exists);
    EXPECT_TRUE(Files(".qxdump").empty());
    EXPECT_TRUE(Files(".qxtmp").empty());
    leave();
    EXPECT_FALSE(Dump("traced", true).exists);
    EXPECT_EQ(Files(".qxdump").size(), 1u) << "a control clears once";
}

// Too small for the place in the recording that tells how far it was read.
TEST_F(ControlTest, ALimitOnTheSizeOfFilesEndsNoReader) {
    Run("traced", [] { Note(1); });
    Run("reader", [this] {
        struct rlimit limit {};
        EXPECT_EQ(::getrlimit(RLIMIT_FSIZE, &limit), 0);
        limit.rlim_cur = qxlayout::Geometry::SlotOffset(0);
        EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
        EXPECT_EQ(Values(Dump("traced", true)), Numbers{1});
    });
}

TEST_F(ControlTest, AnExitThatIsLostOfACallThatWasWrittenIsCounted) {
    m_control->SetOpenCallLimit(0);
    PausingChild child(m_directory, "traced", [](const Pause& pause) {
        {
            const std::vector<std::string> large(8, std::string(qx::recorder::kMaxText, 'x'));
            QX_CALL(call, "p", "Open", qx::In(1), qx::Out(large));
            pause();
        }
        Note(2);
        pause();
    });
    EXPECT_EQ(Values(Dump("traced", true)), Numbers{1});
    child.Continue();
    EXPECT_EQ(Values(Dump("traced")), Numbers{2});
    const qx::host::Loss loss = Total("traced");
    ExpectBalanced(loss);
    EXPECT_EQ(loss.delivered, 2u);
    EXPECT_EQ(loss.exitsRefused, 1u);
    child.Finish();
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

// The tags of a dump's packets.
std::string Tags(const std::string& bytes) {
    std::string tags;
    qxhost::QxByteReader reader(bytes.data(), bytes.size());
    while (reader.Left() > 0) {
        tags += static_cast<char>('0' + reader.ReadByte());
        reader.Skip(reader.ReadVarint());
    }
    return tags;
}

// The packets of a dump: compressed ones that describe, the process's header, thread names, then the calls.
TEST_F(ControlTest, DumpsUseEveryBufferKindInOrder) {
    Run("traced", [] { Note(1); });
    EXPECT_EQ(Tags(Dump("traced", true).bytes), "5241");
}

TEST_F(ControlTest, ADumpWithoutCallsEndsWithWhatItDescribes) {
    PausingChild child(m_directory, "traced", [](const Pause& pause) {
        QX_CALL(call, "p", "Open");
        pause();
    });
    EXPECT_EQ(Tags(Dump("traced", true).bytes), "524");
    child.Finish();
}

TEST_F(ControlTest, ARecordingWhoseDescriptionShrinksIsGivenUp) {
    PausingChild child(m_directory, "traced", [](const Pause& pause) { NoteOneByOne(2, pause); });
    EXPECT_EQ(Values(Dump("traced", true)), Numbers{1});
    for (const auto word : {qxlayout::kHeaderMetaUsed, qxlayout::kHeaderMetaUsedAgain}) {
        WriteWord(Files(".qxrec").at(0), word, 1);
    }
    child.Continue();
    EXPECT_FALSE(Dump("traced").exists);
    ASSERT_EQ(RecordingLog::Lines().size(), 1u);
    EXPECT_NE(RecordingLog::Lines()[0].text.find("is given up: its metadata shrank"), std::string::npos);
    child.Finish();
}

}  // namespace
