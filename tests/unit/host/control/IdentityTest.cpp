// Which process a dump says that a thread is of.
#include <qx/recorder.h>

#include <map>
#include <thread>

#include "ExactBytes.h"
#include "HostTest.h"
#include "QxData.h"
#include "QxParser.h"

namespace {

using Pause = PausingChild::Pause;

// As readers of dumps go by it: a thread belongs to the process whose header came last.
class ProcessStore final : public QxData {
public:
    void AppendHeader(unsigned short, std::string process, std::string qxVersion, std::string, std::string,
                      std::string extraField1, std::string) override {
        process += " " + qxVersion + " " + extraField1;
        headers.push_back(process);
    }
    void AppendThread(HSIThread& thread) override {
        QxData::AppendThread(thread);
        processes[thread.tid] = headers.empty() ? "" : headers.back();
    }

    std::vector<std::string> headers;
    std::map<unsigned, std::string> processes;  // by thread
};

std::string Identity(const std::string& name, pid_t pid) {
    const std::string digits = std::to_string(pid);
    return name + " host 1 " + std::string(8 - digits.size(), '0') + digits;
}

class IdentityTest : public HostTest {
protected:
    // The process of each call in the dump, by the call's argument.
    std::map<std::uint64_t, std::string> Processes(const DecodedDump& dump) {
        const auto store = std::make_shared<ProcessStore>();
        ExactBytes bytes(dump.bytes);
        QxParser parser(nullptr, nullptr);
        EXPECT_EQ(parser.Parse(bytes.Pair(), store), 1);
        EXPECT_EQ(parser.Extract(), 1);
        m_headers = store->headers.size();
        std::map<std::uint64_t, std::string> processes;
        for (const IQxData::HSCall& call : dump.calls)
            processes[Number(call.args.in.at(0))] = store->processes[call.tid];
        return processes;
    }

    std::size_t m_headers = 0;
};

void Note(int value) {
    QX_CALL(call, "p", "Note", qx::In(value));
}

TEST_F(IdentityTest, EachThreadStandsBehindTheHeaderOfItsProcess) {
    const auto body = [](int value) {
        return [value](const Pause& pause) {
            Note(value);
            std::thread([value] { Note(value + 1); }).join();
            pause();
            Note(value + 2);
            pause();
        };
    };
    PausingChild one(m_directory, "traced", body(10));
    PausingChild two(m_directory, "traced", body(20));
    using Map = std::map<std::uint64_t, std::string>;
    const std::string first = Identity("traced", one.Pid());
    const std::string second = Identity("traced", two.Pid());
    EXPECT_EQ(Processes(Dump("traced", true)), (Map{{10, first}, {11, first}, {20, second}, {21, second}}));
    EXPECT_EQ(m_headers, 2u);
    two.Continue();
    EXPECT_EQ(Processes(Dump("traced")), (Map{{22, second}}));
    one.Continue();
    EXPECT_EQ(Processes(Dump("traced")), (Map{{12, first}}));
    two.Finish();
    one.Finish();
}

// Its thread's place is another one's by then.
TEST_F(IdentityTest, ACallThatWasHeldBackIsStillKnownByItsThread) {
    PausingChild child(m_directory, "traced", [](const Pause& pause) {
        Signal isOpen;
        Signal mayEnd;
        std::thread opener([&] {
            QX_CALL(call, "p", "Open", qx::In(1));
            isOpen.Send();
            mayEnd.Wait();
        });
        isOpen.Wait();
        pause();
        mayEnd.Send();
        opener.join();
        for (int i = 2; i < 4; ++i) std::thread([i] { Note(i); }).join();
        pause();
    });
    Dump("traced", true);
    child.Continue();
    const std::string identity = Identity("traced", child.Pid());
    EXPECT_EQ(Processes(Dump("traced")),
              (std::map<std::uint64_t, std::string>{{1, identity}, {2, identity}, {3, identity}}));
    child.Finish();
}

}  // namespace
