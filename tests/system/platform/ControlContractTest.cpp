// What platform/include/qx/ asks of a control. QX_CONTRACT_TRACED is a command of the shell that runs a traced program
// under the name $QX_CONTRACT_PROCESS, which makes calls until it is killed; without it, only what holds for processes
// that nobody knows can be tested.
#include <gtest/gtest.h>
#include <qx/api.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "IQxData.h"
#include "QxParser.h"

namespace {

using Calls = std::set<std::pair<unsigned, std::uint64_t>>;  // thread and time of entry

std::string Environment(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

// What came of asking for a dump.
struct Answer {
    bool isDump = false;
    std::string path;
};

Answer Ask(const std::string& process, bool first) {
    // Whatever was there before goes.
    std::vector<char> path(100, 'x');
    Answer answer;
    answer.isDump = qx::api::GetControl()->getQxBufferDump(path, process, first);
    answer.path.assign(path.begin(), path.end());
    EXPECT_EQ(answer.isDump, !answer.path.empty()) << "a dump has a path, and no dump has none";
    EXPECT_EQ(answer.path.find('\0'), std::string::npos) << "the path is its bytes, and nothing behind them";
    return answer;
}

std::vector<char> ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file) << "the dump stays in place: " << path;
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// The calls of a dump, which is decoded by itself: without the ones before.
Calls CallsIn(const std::string& path, const std::string& process) {
    std::vector<char> bytes = ReadFile(path);
    const std::shared_ptr<IQxData> data = IQxData::Instance();
    data->AppendProcessName(1, process);
    data->AppendCurrentProcess(process);
    QxParser parser(nullptr, nullptr);
    std::pair<int, char*> block(static_cast<int>(bytes.size()), bytes.data());
    EXPECT_EQ(parser.Parse(block, data), 1);
    EXPECT_EQ(parser.Extract(), 1);
    Calls calls;
    for (const auto& [key, call] : *data->GetCallIMap()) {
        EXPECT_NE(data->GetCallLocationWithPID(call.locId, call.pid).callerName, "") << "each call is described";
        EXPECT_TRUE(calls.emplace(call.tid, call.time).second) << "no call comes twice in a dump";
    }
    return calls;
}

// A traced program, for as long as the object lives. Its standard input stays open, and gives nothing.
class Traced {
public:
    Traced() {
        EXPECT_EQ(::pipe(m_input), 0);
        m_pid = ::fork();
        if (m_pid != 0) return;
        ::dup2(m_input[0], STDIN_FILENO);
        ::execl("/bin/sh", "sh", "-c", std::getenv("QX_CONTRACT_TRACED"), nullptr);
        ::_exit(127);
    }
    Traced(const Traced&) = delete;
    Traced& operator=(const Traced&) = delete;
    ~Traced() {
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
        for (const int end : m_input) ::close(end);
    }

private:
    int m_input[2];
    pid_t m_pid = 0;
};

struct Dump {
    std::string path;
    Calls calls;
};

// Asks until a dump with calls came: a control tells nobody that there is something.
Dump WaitForDump(const std::string& process, bool first) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (std::chrono::steady_clock::now() < deadline) {
        const Answer answer = Ask(process, first);
        const Calls calls = answer.isDump ? CallsIn(answer.path, process) : Calls();
        if (!calls.empty()) return {answer.path, calls};
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    ADD_FAILURE() << "no calls of " << process << " came";
    return {};
}

class TracedContractTest : public testing::Test {
protected:
    void SetUp() override {
        if (Environment("QX_CONTRACT_TRACED").empty()) GTEST_SKIP() << "QX_CONTRACT_TRACED names no traced program";
        static const std::string given = Environment("QX_CONTRACT_PROCESS");
        static int count = 0;
        m_process = !given.empty() ? given : "qxc" + std::to_string(::getpid()) + "-" + std::to_string(++count);
        ::setenv("QX_CONTRACT_PROCESS", m_process.c_str(), 1);
        m_traced = std::make_unique<Traced>();
    }

    std::string m_process;

private:
    std::unique_ptr<Traced> m_traced;
};

TEST(ControlContractTest, ThereIsOneControl) {
    const boost::shared_ptr<qx::IControl> control = qx::api::GetControl();
    ASSERT_NE(control, nullptr);
    EXPECT_EQ(qx::api::GetControl(), control);
    boost::shared_ptr<qx::IControl> other;
    std::thread([&other] { other = qx::api::GetControl(); }).join();
    EXPECT_EQ(other, control);
}

TEST(ControlContractTest, AnUnknownProcessHasNoDump) {
    for (const bool first : {true, false, true, false}) EXPECT_FALSE(Ask("nobody-has-that", first).isDump);
}

TEST(ControlContractTest, NamesAreAnyBytes) {
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte) bytes += static_cast<char>(byte);
    for (const std::string& name : {std::string(), std::string("../.."), std::string("/"), std::string("no/body"),
                                    bytes, std::string(100000, 'x')}) {
        for (const bool first : {true, false}) EXPECT_FALSE(Ask(name, first).isDump);
    }
}

TEST_F(TracedContractTest, EachCallComesOnceAndAgainWithTheFirstFlag) {
    const Calls buffered = WaitForDump(m_process, true).calls;
    const Calls next = WaitForDump(m_process, false).calls;
    const Calls last = WaitForDump(m_process, false).calls;
    for (const auto& call : next) EXPECT_EQ(buffered.count(call), 0u) << "only what came since the dump before";
    for (const auto& call : last) EXPECT_EQ(buffered.count(call) + next.count(call), 0u);
    const Calls again = WaitForDump(m_process, true).calls;
    EXPECT_GT(again.size(), last.size()) << "all that is still buffered";
    // A thread may have another number from there on.
    std::set<std::uint64_t> times;
    for (const auto& call : again) times.insert(call.second);
    for (const auto& call : last) EXPECT_EQ(times.count(call.second), 1u);
}

TEST_F(TracedContractTest, ADumpIsTheCallersUntilTheNextOne) {
    const Dump dump = WaitForDump(m_process, true);
    const std::vector<char> bytes = ReadFile(dump.path);
    EXPECT_FALSE(bytes.empty());
    Ask("nobody-has-that", true);
    EXPECT_EQ(ReadFile(dump.path), bytes);
}

TEST_F(TracedContractTest, AnyThreadMayAsk) {
    WaitForDump(m_process, true);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([this, i] {
            for (int n = 0; n < 20; ++n) Ask(i % 2 == 0 ? m_process : "nobody-has-that", false);
        });
    }
    for (std::thread& thread : threads) thread.join();
    WaitForDump(m_process, false);
}

}  // namespace
