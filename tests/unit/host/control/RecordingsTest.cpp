// Recordings as they lie in a directory.
#include "QxRecordings.h"

#include <qx/recorder.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include "HostTest.h"
#include "QxFileName.h"
#include "QxLayout.h"
#include "QxProcessInfo.h"
#include "QxRecordingClock.h"
#include "RecordingLog.h"

namespace {

using namespace qxhost;
using Pause = PausingChild::Pause;
using qx::host::RecordingInfo;

void Note(int value) {
    QX_CALL(call, "p", "Note", qx::In(value));
}

// With rings that are read and written whole in no time.
void NoteInSmallRings(int value) {
    EXPECT_TRUE(qx::recorder::Configure({512, 16, 4096}));
    Note(value);
}

class RecordingsTest : public HostTest {
protected:
    std::vector<RecordingInfo> List() const {
        std::string problem;
        const std::vector<RecordingInfo> all = QxRecordings::List(m_directory, problem);
        EXPECT_EQ(problem, "");
        return all;
    }

    static DecodedDump Take(const std::vector<std::string>& paths, const std::string& expectedProblem = "") {
        std::string bytes;
        std::string problem;
        EXPECT_TRUE(QxRecordings::Dump(paths, bytes, problem));
        EXPECT_EQ(problem, expectedProblem);
        return Decode("traced", bytes);
    }
};

TEST_F(RecordingsTest, AreListedWithWhatIsKnownOfThem) {
    EXPECT_TRUE(List().empty());
    const std::uint64_t begin = NowNs();
    Child ended(m_directory, "traced", [] { Note(1); });
    const pid_t endedPid = ended.Pid();
    ended.Join();
    const std::uint64_t end = NowNs();
    PausingChild running(m_directory, "another", [](const Pause& pause) {
        // Into a second page and beyond, with an item that is larger than a page.
        for (int i = 0; i < 1000; ++i) Note(i);
        const std::string text(20000, 'x');
        QX_LOG("p", "Log", text);
        pause();
    });
    const std::vector<RecordingInfo> all = List();
    ASSERT_EQ(all.size(), 2u);
    EXPECT_EQ(all[0].process, "another");
    EXPECT_EQ(all[0].pid, running.Pid());
    EXPECT_TRUE(all[0].isRunning);
    EXPECT_GT(all[0].lastTime, end);
    EXPECT_LE(all[0].lastTime, NowNs());
    EXPECT_EQ(all[1].process, "traced");
    EXPECT_EQ(all[1].pid, endedPid);
    EXPECT_EQ(all[1].uid, ::geteuid());
    EXPECT_FALSE(all[1].isRunning);
    EXPECT_GT(all[1].lastTime, begin);
    EXPECT_LT(all[1].lastTime, end);
    struct stat status {};
    ASSERT_EQ(::stat(all[1].path.c_str(), &status), 0);
    EXPECT_EQ(all[1].bytes, static_cast<std::uint64_t>(status.st_blocks) * 512) << "what it takes, not its size";
    EXPECT_GT(all[1].bytes, 1u << 18);
    EXPECT_LT(all[1].bytes, 1u << 22);
    EXPECT_EQ(all[1].problem, "");
    EXPECT_EQ(all[1].path, Files(".qxrec").at(1));
    running.Finish();
}

TEST_F(RecordingsTest, ThoseOfOneNameComeInTheOrderOfTheirProcesses) {
    for (const char* file : {"b.7.2", "b.10.1", "a.9.3", "b.7.1"}) {
        WriteFile(m_directory + "/" + file + ".qxrec", "x");
    }
    std::vector<std::string> files;
    for (const RecordingInfo& info : List()) files.push_back(info.path.substr(m_directory.size() + 1));
    EXPECT_EQ(files, (std::vector<std::string>{"a.9.3.qxrec", "b.7.1.qxrec", "b.7.2.qxrec", "b.10.1.qxrec"}));
}

TEST_F(RecordingsTest, ADirectoryThatIsMissingHoldsNoneAndOneThatIsRefusedIsTold) {
    std::string problem = "x";
    EXPECT_TRUE(QxRecordings::List(m_directory + "/missing", problem).empty());
    EXPECT_EQ(problem, "");
    ASSERT_EQ(::chmod(m_directory.c_str(), 0755), 0);
    EXPECT_TRUE(QxRecordings::List(m_directory, problem).empty());
    EXPECT_NE(problem.find("its mode must be 0700"), std::string::npos);
}

TEST_F(RecordingsTest, FilesThatAreNoneAreListedWithWhatIsWrong) {
    WriteFile(m_directory + "/a%0Ab.1.1.qxrec", "x");
    ASSERT_EQ(::chmod((m_directory + "/a%0Ab.1.1.qxrec").c_str(), 0600), 0);
    ASSERT_EQ(::symlink("/etc/passwd", (m_directory + "/link.1.1.qxrec").c_str()), 0);
    WriteFile(m_directory + "/half.1.1.qxnew", "x");
    WriteFile(m_directory + "/other", "x");
    const std::vector<RecordingInfo> all = List();
    ASSERT_EQ(all.size(), 2u);
    EXPECT_EQ(all[0].process, "a\nb");
    EXPECT_EQ(all[0].problem, "the file is cut short");
    EXPECT_EQ(all[1].problem, "it is a symbolic link");
    EXPECT_EQ(all[1].lastTime, 0u);
}

TEST_F(RecordingsTest, ADumpOfThemLeavesThemAsTheyAre) {
    PausingChild child(m_directory, "traced", [](const Pause& pause) {
        NoteInSmallRings(1);
        QX_CALL(call, "p", "Open", qx::In(2));
        pause();
        Note(3);
    });
    const std::string path = Files(".qxrec").at(0);
    const std::string before = ReadFile(path);
    const DecodedDump dump = Take({path});
    EXPECT_EQ(dump.calls.size(), 2u);
    EXPECT_EQ(dump.Only("Open").exitTime, 0u);
    EXPECT_EQ(ReadFile(path), before);
    child.Kill();
    for (int i = 0; i < 2; ++i) EXPECT_EQ(Take({path}).calls.size(), 2u);
    EXPECT_EQ(ReadFile(path), before);
    EXPECT_TRUE(Files(".qxdump").empty());
}

// Elsewhere, under any name, for anybody to read.
TEST_F(RecordingsTest, ACopyIsRead) {
    Child(m_directory, "traced", [] { NoteInSmallRings(1); }).Join();
    const std::string copy = m_directory + "/copy";
    WriteFile(copy, ReadFile(Files(".qxrec").at(0)));
    ASSERT_EQ(::chmod(copy.c_str(), 0444), 0);
    const std::string link = m_directory + "/link";
    ASSERT_EQ(::symlink("copy", link.c_str()), 0);
    EXPECT_EQ(Take({copy}).calls.size(), 1u);
    EXPECT_EQ(Take({link}).calls.size(), 1u);
}

TEST_F(RecordingsTest, AreToldByHowTheyBegin) {
    Child(m_directory, "traced", [] { NoteInSmallRings(1); }).Join();
    const std::string path = Files(".qxrec").at(0);
    const std::string magic = "QXCER002";
    const std::string link = m_directory + "/link";
    ASSERT_EQ(::symlink(path.c_str(), link.c_str()), 0);
    EXPECT_TRUE(QxRecordings::IsOne(path));
    EXPECT_TRUE(QxRecordings::IsOne(link));
    const std::string other = m_directory + "/other";
    EXPECT_FALSE(QxRecordings::IsOne(other)) << "it is missing";
    EXPECT_FALSE(QxRecordings::IsOne(m_directory));
    for (const std::string& content : {std::string(), std::string(8, '\0'), magic.substr(0, 7), "x" + magic}) {
        WriteFile(other, content);
        EXPECT_FALSE(QxRecordings::IsOne(other)) << content;
    }
    WriteFile(other, magic);
    EXPECT_TRUE(QxRecordings::IsOne(other));
    ASSERT_EQ(::unlink(other.c_str()), 0);
    ASSERT_EQ(::mkfifo(other.c_str(), 0600), 0);
    EXPECT_FALSE(QxRecordings::IsOne(other));
}

TEST_F(RecordingsTest, ADumpSaysWhichProcessRecorded) {
    Child child(m_directory, "traced", [] { NoteInSmallRings(1); });
    const std::string pid = std::to_string(child.Pid());
    child.Join();
    const std::string digits = std::string(8 - pid.size(), '0') + pid;
    EXPECT_NE(Take({Files(".qxrec").at(0)}).bytes.find(digits), std::string::npos);
}

TEST_F(RecordingsTest, AnyProcessIdFitsIntoADump) {
    Child(m_directory, "traced", [] { NoteInSmallRings(1); }).Join();
    const std::string path = Files(".qxrec").at(0);
    WriteWord(path, qxlayout::kHeaderPid, 0xFFFFFFFF);
    // 2147483647, as much of it as the field has place for.
    EXPECT_NE(Take({path}).bytes.find("47483647"), std::string::npos);
}

TEST_F(RecordingsTest, SeveralMakeOneDumpAndTheBadOnesAreTold) {
    for (int i = 0; i < 2; ++i) Child(m_directory, "traced", [i] { Note(i); }).Join();
    std::vector<std::string> paths = Files(".qxrec");
    ASSERT_EQ(paths.size(), 2u);
    EXPECT_EQ(Take(paths).calls.size(), 2u);
    const std::string bad = m_directory + "/bad";
    WriteFile(bad, "x");
    paths.push_back(bad);
    paths.push_back(bad + "der");
    EXPECT_EQ(Take(paths, bad + ": the file is cut short; " + bad + "der: No such file or directory").calls.size(), 2u);
    std::string dump = "kept";
    std::string problem;
    EXPECT_FALSE(QxRecordings::Dump({bad, m_directory}, dump, problem));
    EXPECT_EQ(dump, "kept");
    EXPECT_EQ(problem, bad + ": the file is cut short; " + m_directory + ": it is no regular file");
}

TEST_F(RecordingsTest, OnlyThoseOfEndedProcessesAreRemoved) {
    Child(m_directory, "ended", [] { Note(1); }).Join();
    PausingChild running(m_directory, "running", [](const Pause& pause) {
        Note(1);
        pause();
    });
    const std::vector<RecordingInfo> all = List();
    ASSERT_EQ(all.size(), 2u);
    std::string problem;
    EXPECT_TRUE(QxRecordings::Remove(all[0].path, problem));
    EXPECT_EQ(problem, "");
    EXPECT_FALSE(QxRecordings::Remove(all[0].path, problem));
    EXPECT_EQ(problem, "No such file or directory");
    EXPECT_FALSE(QxRecordings::Remove(all[1].path, problem));
    EXPECT_EQ(problem, "its process runs");
    WriteFile(m_directory + "/an.other", "x");
    EXPECT_FALSE(QxRecordings::Remove(m_directory + "/an.other", problem));
    EXPECT_EQ(problem, "it is no recording");
    EXPECT_EQ(Files(".other").size(), 1u);
    EXPECT_EQ(List().size(), 1u);
    running.Finish();
}

// The process goes on, under another name and without the recording.
TEST_F(RecordingsTest, AProgramThatRunsAnotherInItsPlaceHasEnded) {
    Child child(m_directory, "traced", [] {
        Note(1);
        ::execlp("sleep", "sleep", "1000", nullptr);
    });
    while (QxProcessInfo::CommandName(child.Pid()) != "sleep") ::usleep(1000);
    const std::vector<RecordingInfo> all = List();
    ASSERT_EQ(all.size(), 1u);
    EXPECT_FALSE(all[0].isRunning);
    EXPECT_FALSE(Dump("traced", true).exists);
    child.Kill();
}

}  // namespace
