// Files that the control refuses to read, and places where it refuses to write.
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

namespace {

using ControlRefusalTest = HostTest;

TEST_F(ControlRefusalTest, FilesThatAreNoRecordingsOfThisUserAreRefused) {
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

TEST_F(ControlRefusalTest, ARecordingOfAnotherUserIsRefused) {
    if (::geteuid() != 0) GTEST_SKIP() << "only root can give files away";
    Run("traced", [] { Note(1); });
    const std::string path = Files(".qxrec").at(0);
    ASSERT_EQ(::chown(path.c_str(), 1, 1), 0);
    EXPECT_FALSE(Dump("traced", true).exists);
    ASSERT_EQ(RecordingLog::Lines().size(), 1u);
    EXPECT_NE(RecordingLog::Lines()[0].text.find("is given up: it belongs to another user"), std::string::npos);
}

TEST_F(ControlRefusalTest, DumpsFollowNoLink) {
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

}  // namespace
