#include "QxDebugPrint.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <thread>
#include <vector>

#include "Diagnostics.h"
#include "QxTimer.h"
#include "ReleaseFile.h"
#include "SystemCalls.h"
#include "dlog.h"

namespace {

constexpr char kLead[] = "QX_LOG_TRACKER: m_Print(157) > ";
constexpr char kColorEnd[] = "\033[0m";

void Print(int level, const std::string& message) {
    QxDebugPrint::GetInstance()->Print("Caller", 42, level, "%s", message.c_str());
}

// The message as it reached the log, without the lead of error lines.
std::string Written(const std::string& message) {
    RecordingLog::Clear();
    Print(Major, message);
    const std::vector<RecordingLog::Line> lines = RecordingLog::Lines();
    return lines.size() == 1 ? lines[0].text.substr(sizeof kLead - 1) : "one line expected";
}

}  // namespace

TEST(QxDebugPrint, IsOneInstance) {
    EXPECT_NE(QxDebugPrint::GetInstance(), nullptr);
    EXPECT_EQ(QxDebugPrint::GetInstance(), QxDebugPrint::GetInstance());
}

TEST(QxDebugPrint, LevelsHaveTheirNumbers) {
    EXPECT_EQ((std::vector<int>{Silent, Fatal, Major, Warning, Debug, Info}), (std::vector<int>{0, 1, 2, 3, 4, 5}));
}

TEST(QxDebugPrint, PassesLevelsFromOneUpToTheCurrentOne) {
    const Diagnostics diagnostics;
    QxDebugPrint* const print = QxDebugPrint::GetInstance();
    for (const int current : {-1, 0, 1, 2, 3, 4, 5, 6}) {
        print->SetLevel(current);
        for (const int level : {-1, 0, 1, 2, 3, 4, 5, 6}) {
            const bool passes = level >= 1 && level <= 5 && level <= current;
            EXPECT_EQ(print->CheckLevel(level), passes) << "current " << current << ", level " << level;
            RecordingLog::Clear();
            Print(level, "m");
            EXPECT_EQ(RecordingLog::Lines().size(), passes ? 1u : 0u) << "current " << current << ", level " << level;
        }
    }
}

TEST(QxDebugPrint, WritesWarningsAndNoInfoAtLevelWarning) {
    const Diagnostics diagnostics(Warning);
    Print(Warning, "a warning");
    Print(Info, "an info");
    EXPECT_EQ(RecordingLog::Messages(), std::vector<std::string>{"a warning"});
    EXPECT_EQ(RecordingLog::Count("a warning", DLOG_ERROR), 1);
}

TEST(QxDebugPrint, NeverWritesSilentMessages) {
    const Diagnostics diagnostics(Info);
    Print(Silent, "silent");
    EXPECT_TRUE(RecordingLog::Lines().empty());
}

TEST(QxDebugPrint, LevelSilentSilencesEverything) {
    const Diagnostics diagnostics(Silent);
    for (const int level : {Silent, Fatal, Major, Warning, Debug, Info}) Print(level, "m");
    EXPECT_TRUE(RecordingLog::Lines().empty());
}

TEST(QxDebugPrint, WritesEachLevelWithItsPriorityAndLine) {
    struct Row {
        int level;
        int priority;
        const char* text;
    };
    const Row rows[] = {{Fatal, DLOG_ERROR, "QX_LOG_TRACKER: m_Print(157) > n: 7\033[0m"},
                        {Major, DLOG_ERROR, "QX_LOG_TRACKER: m_Print(157) > n: 7\033[0m"},
                        {Warning, DLOG_ERROR, "QX_LOG_TRACKER: m_Print(157) > n: 7\033[0m"},
                        {Debug, DLOG_DEBUG, "QX_LOG_TRACKER: m_Print(155) > n: 7\033[0m"},
                        {Info, DLOG_INFO, "QX_LOG_TRACKER: m_Print(153) > n: 7\033[0m"}};
    for (const Row& row : rows) {
        const Diagnostics diagnostics(Info);
        QxDebugPrint::GetInstance()->Print("Caller", 42, row.level, "n: %d", 7);
        const std::vector<RecordingLog::Line> lines = RecordingLog::Lines();
        ASSERT_EQ(lines.size(), 1u) << row.level;
        EXPECT_EQ(lines[0].priority, row.priority) << row.level;
        EXPECT_EQ(lines[0].tag, "QXLT") << row.level;
        EXPECT_EQ(lines[0].text, row.text) << row.level;
    }
}

TEST(QxDebugPrint, KeepsPercentSignsOfArguments) {
    const Diagnostics diagnostics;
    EXPECT_EQ(Written("100%s%n"), "100%s%n\033[0m");
}

TEST(QxDebugPrint, CutsMessagesAt8191Characters) {
    const Diagnostics diagnostics;
    const std::string color = kColorEnd;
    const std::string longest(8191, 'x');
    struct Row {
        std::size_t length;
        std::string written;
    };
    const Row rows[] = {{0, color},
                        {1, "x" + color},
                        {8187, std::string(8187, 'x') + color},
                        {8188, std::string(8188, 'x') + color.substr(0, 3)},
                        {8190, std::string(8190, 'x') + color.substr(0, 1)},
                        {8191, longest},
                        {8192, longest},
                        {8193, longest},
                        {20000, longest}};
    for (const Row& row : rows) EXPECT_EQ(Written(std::string(row.length, 'x')), row.written) << row.length;
}

TEST(QxDebugPrint, PrintsWithoutWarningWhenTheClockFails) {
    const Diagnostics diagnostics;
    SystemCalls calls;
    calls.times = [] { return static_cast<clock_t>(-1); };
    Print(Major, "m");
    EXPECT_EQ(RecordingLog::Messages(), std::vector<std::string>{"m"});
}

TEST(QxDebugPrint, PrintsFromManyThreads) {
    const Diagnostics diagnostics;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([i] {
            for (int n = 0; n < 100; ++n) Print(Major, "thread " + std::to_string(i));
        });
    }
    for (std::thread& thread : threads) thread.join();
    for (int i = 0; i < 4; ++i) EXPECT_EQ(RecordingLog::Count("thread " + std::to_string(i), DLOG_ERROR), 100);
}

TEST(QxDebugPrint, WritesStraightLinesWhateverTheLevel) {
    const Diagnostics diagnostics(Silent);
    QxDebugPrint::Write(DLOG_INFO, "Caller", 42, "n: %d", 7);
    const std::vector<RecordingLog::Line> lines = RecordingLog::Lines();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].priority, DLOG_INFO);
    EXPECT_EQ(lines[0].tag, "QXLT");
    EXPECT_EQ(lines[0].text, "QX_LOG_TRACKER: Caller(42) > n: 7");
}

TEST(QxDebugPrint, AssertReturnsWhereTheReleaseFileExists) {
    const ReleaseFile release(ReleaseFile::State::File);
    if (!release.Done()) GTEST_SKIP() << "the file cannot be made";
    QxDebugPrint::Assert("0", "file", 1);
}

TEST(QxDebugPrint, AssertReturnsWhateverKindOfFileItIs) {
    const ReleaseFile release(ReleaseFile::State::Directory);
    if (!release.Done()) GTEST_SKIP() << "the directory cannot be made";
    QxDebugPrint::Assert("0", "file", 1);
}

TEST(QxDebugPrintDeathTest, AssertAbortsWithoutTheReleaseFile) {
    const ReleaseFile release(ReleaseFile::State::Missing);
    if (!release.Done()) GTEST_SKIP() << "the file cannot be taken away";
    EXPECT_EXIT(QxDebugPrint::Assert("0", "file", 1), testing::KilledBySignal(SIGABRT), "");
}
