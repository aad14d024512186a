// What platform/include/dlog.h asks of a log. QX_CONTRACT_LOG names the file in which the lines of this log arrive;
// without it, nothing can be said of the lines themselves.
#include <dlog.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace {

class LogContractTest : public testing::Test {
protected:
    // Lines of other runs have other tags.
    const std::string m_tag = "CONTRACT" + std::to_string(::getpid());

    int Print(int priority, const std::string& text) const {
        return __dlog_print(LOG_ID_MAIN, priority, m_tag.c_str(), "%s", text.c_str());
    }

    // The lines that arrived under the tag.
    std::vector<std::string> Lines() const {
        const char* path = std::getenv("QX_CONTRACT_LOG");
        std::ifstream file(path != nullptr ? path : "");
        std::vector<std::string> lines;
        for (std::string line; std::getline(file, line);) {
            if (line.find(m_tag) != std::string::npos) lines.push_back(line);
        }
        return lines;
    }
    // Nothing can be said where lines cannot be read back.
    void ExpectOnce(const std::string& text) const {
        if (!CanRead()) return;
        std::size_t count = 0;
        for (const std::string& line : Lines()) {
            if (line.find(text) != std::string::npos) ++count;
        }
        EXPECT_EQ(count, 1u) << text;
    }
    static bool CanRead() { return std::getenv("QX_CONTRACT_LOG") != nullptr; }
};

// A written line has bytes, and one that is not written gives a negative number.
TEST_F(LogContractTest, EveryPriorityIsTaken) {
    for (const int priority : {DLOG_DEBUG, DLOG_INFO, DLOG_ERROR}) EXPECT_NE(Print(priority, "priority"), 0);
}

TEST_F(LogContractTest, FormatsAreThoseOfPrintf) {
    const char* tag = m_tag.c_str();
    EXPECT_NE(__dlog_print(LOG_ID_MAIN, DLOG_ERROR, tag, "[%s] line [%d] %u %lld %05.1f %c %zu %x %%", "Class::Method",
                           -1, 4000000000u, 9000000000LL, 2.25, 'z', sizeof(int), 255u),
              0);
    ExpectOnce("[Class::Method] line [-1] 4000000000 9000000000 002.2 z 4 ff %");
}

TEST_F(LogContractTest, ValuesAreNoFormats) {
    Print(DLOG_ERROR, "value %s %n %1000000d");
    ExpectOnce("value %s %n %1000000d");
}

TEST_F(LogContractTest, TextsOfAnyLengthAndBytesAreBorne) {
    for (const std::size_t size : {0u, 1u, 1000u, 100000u, 5000000u}) Print(DLOG_INFO, std::string(size, 'x'));
    std::string bytes;
    for (int byte = 1; byte < 256; ++byte) bytes += static_cast<char>(byte);
    Print(DLOG_INFO, bytes);
    EXPECT_NE(Print(DLOG_ERROR, "and the log goes on"), 0);
    ExpectOnce("and the log goes on");
}

TEST_F(LogContractTest, LinesOfAllThreadsArriveWholeAndOnce) {
    constexpr int kThreads = 4;
    constexpr int kLines = 250;
    const auto text = [](int thread, int line) {
        return "whole<" + std::to_string(thread) + std::string(100, static_cast<char>('a' + thread)) +
               std::to_string(line) + ">";
    };
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([this, thread, text] {
            for (int line = 0; line < kLines; ++line) EXPECT_NE(Print(DLOG_ERROR, text(thread, line)), 0);
        });
    }
    for (std::thread& thread : threads) thread.join();
    if (!CanRead()) GTEST_SKIP() << "QX_CONTRACT_LOG does not say where lines arrive";
    std::multiset<std::string> arrived;
    for (const std::string& line : Lines()) {
        const std::size_t begin = line.find("whole<");
        if (begin != std::string::npos) arrived.insert(line.substr(begin));
    }
    EXPECT_EQ(arrived.size(), static_cast<std::size_t>(kThreads * kLines));
    for (int thread = 0; thread < kThreads; ++thread) {
        for (int line = 0; line < kLines; ++line)
            EXPECT_EQ(arrived.count(text(thread, line)), 1u) << text(thread, line);
    }
}

// A tracker's threads may still print while its program ends.
TEST_F(LogContractTest, AProgramThatEndsMayPrint) {
    const auto end = [this] {
        Print(DLOG_ERROR, "before the end");
        std::atexit([] { __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "CONTRACT", "%s", "at the end"); });
        std::exit(0);
    };
    EXPECT_EXIT(end(), testing::ExitedWithCode(0), "");
}

}  // namespace
