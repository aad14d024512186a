#include "QxLog.h"

#include <dlog.h>
#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <cstdarg>
#include <cstring>
#include <sstream>
#include <thread>

#include "HostTest.h"

namespace {

int Print(qxhost::QxLog& log, int priority, const char* format, ...) __attribute__((format(printf, 3, 4)));

int Print(qxhost::QxLog& log, int priority, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const int result = log.Print(priority, "TAG", format, arguments);
    va_end(arguments);
    return result;
}

class QxLogTest : public HostTest {
protected:
    const std::string m_path = m_directory + "/log";
};

TEST_F(QxLogTest, WritesALineWithPriorityAndTag) {
    qxhost::QxLog log(m_path);
    EXPECT_EQ(Print(log, DLOG_DEBUG, "a %d", 1), 11);
    Print(log, DLOG_INFO, "b");
    Print(log, DLOG_ERROR, "c");
    Print(log, 99, "d");
    EXPECT_EQ(ReadFile(m_path), "D TAG: a 1\nI TAG: b\nE TAG: c\nE TAG: d\n");
}

TEST_F(QxLogTest, KeepsOneMessageOnOneLine) {
    qxhost::QxLog log(m_path);
    Print(log, DLOG_INFO, "a\nE TAG: forged\t\033[2Jb\x7F\xC2\x9B\xC2\xA9\xC2\n\n");
    EXPECT_EQ(ReadFile(m_path), "I TAG: a E TAG: forged ?[2Jb???\xC2\xA9\xC2\n");
}

TEST_F(QxLogTest, ReplacesControlBytesAndNoOthers) {
    qxhost::QxLog log(m_path);
    Print(log, DLOG_INFO, "\x01\x1F\x20\x7E\x7F\r.");
    Print(log, DLOG_INFO, "\xC2\x80\xC2\x9F\xC2\xA0\xC3\x80");
    EXPECT_EQ(ReadFile(m_path), "I TAG: ??\x20\x7E? .\nI TAG: ????\xC2\xA0\xC3\x80\n");
}

TEST_F(QxLogTest, ALineThatJustFitsStaysWhole) {
    qxhost::QxLog log(m_path);
    const std::string text(qxhost::QxLog::kLineSize - std::string("I TAG: \n").size(), 'x');
    Print(log, DLOG_INFO, "%s", text.c_str());
    Print(log, DLOG_INFO, "%s", (text + "y").c_str());
    EXPECT_EQ(ReadFile(m_path), "I TAG: " + text + "\nI TAG: " + text + "\n");
}

// What reaches the system's log, with the number that its priority has there.
TEST_F(QxLogTest, TheSystemsLogGetsEachPriority) {
    if (::geteuid() != 0) GTEST_SKIP() << "only root can have a system log of its own";
    Run("logging", [] {
        ASSERT_EQ(::unshare(CLONE_NEWNS), 0);
        ASSERT_EQ(::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr), 0);
        ASSERT_EQ(::mount("none", "/dev", "tmpfs", 0, nullptr), 0);
        const int socket = ::socket(AF_UNIX, SOCK_DGRAM, 0);
        struct sockaddr_un address {};
        address.sun_family = AF_UNIX;
        std::strcpy(address.sun_path, "/dev/log");
        ASSERT_EQ(::bind(socket, reinterpret_cast<struct sockaddr*>(&address), sizeof(address)), 0);
        qxhost::QxLog log("syslog");
        const struct {
            int priority;
            int expected;
            const char* line;
        } rows[] = {
            {DLOG_DEBUG, LOG_DEBUG, "D TAG: a"}, {DLOG_INFO, LOG_INFO, "I TAG: a"}, {DLOG_ERROR, LOG_ERR, "E TAG: a"}};
        for (const auto& row : rows) {
            EXPECT_EQ(Print(log, row.priority, "a\n"), 8);
            char received[1000] = {};
            ASSERT_GT(::recv(socket, received, sizeof(received) - 1, 0), 0);
            const std::string text = received;
            EXPECT_EQ(text.find("<" + std::to_string(LOG_USER | row.expected) + ">"), 0u) << text;
            EXPECT_NE(text.find(row.line), std::string::npos) << text;
        }
    });
}

TEST_F(QxLogTest, CutsALongLine) {
    qxhost::QxLog log(m_path);
    Print(log, DLOG_INFO, "%s", std::string(10000, 'x').c_str());
    const std::string line = ReadFile(m_path);
    EXPECT_EQ(line.size(), qxhost::QxLog::kLineSize);
    EXPECT_EQ(line.back(), '\n');
}

TEST_F(QxLogTest, LinesOfSeveralThreadsNeverMix) {
    qxhost::QxLog log(m_path);
    std::vector<std::thread> threads;
    for (char c = 'a'; c < 'e'; ++c) {
        threads.emplace_back([&log, c] {
            for (int i = 0; i < 500; ++i) Print(log, DLOG_INFO, "%s", std::string(100, c).c_str());
        });
    }
    for (std::thread& thread : threads) thread.join();
    std::istringstream lines(ReadFile(m_path));
    int count = 0;
    for (std::string line; std::getline(lines, line); ++count) {
        ASSERT_EQ(line.size(), 107u);
        ASSERT_EQ(line, "I TAG: " + std::string(100, line.back()));
    }
    EXPECT_EQ(count, 2000);
}

TEST_F(QxLogTest, NoneWritesNothing) {
    qxhost::QxLog log("none");
    EXPECT_EQ(Print(log, DLOG_ERROR, "x"), 0);
}

TEST_F(QxLogTest, TheFileIsPrivateAndAppendedTo) {
    WriteFile(m_path, "before\n");
    qxhost::QxLog log(m_path);
    Print(log, DLOG_ERROR, "x");
    EXPECT_EQ(ReadFile(m_path), "before\nE TAG: x\n");
    ::unlink(m_path.c_str());
    qxhost::QxLog newLog(m_path);
    struct stat status {};
    ASSERT_EQ(::stat(m_path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
}

TEST_F(QxLogTest, APipeThatNobodyReadsEndsNoProgram) {
    Run("traced", [] {
        int ends[2];
        ASSERT_EQ(::pipe(ends), 0);
        ASSERT_EQ(::dup2(ends[1], STDERR_FILENO), STDERR_FILENO);
        ::close(ends[0]);
        qxhost::QxLog log("stderr");
        EXPECT_LT(Print(log, DLOG_ERROR, "x"), 0);
    });
}

TEST_F(QxLogTest, AFileOfTheProgramThatHasItsDescriptorGetsNoLine) {
    Run("traced", [this] {
        qxhost::QxLog& log = *new qxhost::QxLog(m_path);
        Print(log, DLOG_ERROR, "before");
        for (int fd = 3; fd < 100; ++fd) ::close(fd);
        for (int fd = 3; fd < 100; ++fd) ::open((m_directory + "/own").c_str(), O_WRONLY | O_CREAT, 0600);
        Print(log, DLOG_ERROR, "after");
    });
    EXPECT_EQ(ReadFile(m_path), "E TAG: before\nE TAG: after\n");
    EXPECT_EQ(ReadFile(m_directory + "/own"), "");
}

TEST_F(QxLogTest, AProgramWithoutStandardErrorPrintsIntoNoFileOfOurs) {
    Run("traced", [this] {
        ::close(STDERR_FILENO);
        qxhost::QxLog log(m_path);
        EXPECT_EQ(::write(STDERR_FILENO, "x", 1), -1);
        Print(log, DLOG_ERROR, "x");
    });
    EXPECT_EQ(ReadFile(m_path), "E TAG: x\n");
}

TEST_F(QxLogTest, FollowsNoLinkToAnotherFile) {
    WriteFile(m_directory + "/other", "");
    ASSERT_EQ(::symlink((m_directory + "/other").c_str(), m_path.c_str()), 0);
    testing::internal::CaptureStderr();
    qxhost::QxLog log(m_path);
    Print(log, DLOG_ERROR, "x");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "E TAG: x\n");
    EXPECT_EQ(ReadFile(m_directory + "/other"), "");
}

}  // namespace
