#include "Fleet.h"

#include <poll.h>
#include <signal.h>
#include <sqlite3.h>
#include <stdlib.h>

#include <chrono>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kPatience(40);

// A scenario with an event for each call of Count, whose value is the call's number.
std::string CountScript(const std::string& process) {
    return "<Scenario><action name=\"count\" process=\"" + process +
           "\"><method name=\"Count\"/><event name=\"COUNT\" tag=\"IN\" value=\"1\" type=\"INT\" watch=\"ALWAYS\"/>"
           "</action></Scenario>";
}

}  // namespace

std::vector<std::string> Joined(std::vector<std::string> words, const std::vector<std::string>& more) {
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

bool WaitUntil(const std::function<bool()>& holds) {
    const Clock::time_point limit = Clock::now() + kPatience;
    while (!holds()) {
        if (Clock::now() > limit) return false;
        poll(nullptr, 0, 20);
    }
    return true;
}

Fleet::Fleet() {
    setenv("QX_RUNTIME_DIR", m_place.At("recordings").c_str(), 1);
    m_place.Write("count.xml", CountScript(m_name));
}

Fleet::~Fleet() {
    unsetenv("QX_RUNTIME_DIR");
}

void Fleet::StartCalls(int calls) {
    constexpr int kPauseUs = 3000;
    m_traced = std::make_unique<TracedProgram>(m_name, 1, calls, kPauseUs);
}

void Fleet::StopCalls() {
    m_traced = std::make_unique<TracedProgram>(m_name, 0, 1, 0);
    WaitUntilCalled();
}

// What nobody reads goes to a file: a pipe that is full would hold up the run.
Child::Setup Fleet::Publisher(const std::string& address, const std::vector<std::string>& more,
                              const std::string& outbox) const {
    Child::Setup setup;
    setup.output = m_place.At("shown");
    return ToolSetup(Joined({"run", "-s", m_place.At("count.xml"), "--pause", "fast", "--publish", address, "--device",
                             kDevice, "--outbox", m_place.At(outbox)},
                            more),
                     setup);
}

std::unique_ptr<Child> Fleet::StartPublisher(const std::string& address, const std::vector<std::string>& more,
                                             const std::string& outbox) const {
    auto publisher = std::make_unique<Child>(Publisher(address, more, outbox));
    EXPECT_TRUE(publisher->WaitForError("waiting for " + m_name));
    return publisher;
}

void Fleet::WaitUntilShown(int calls) const {
    EXPECT_TRUE(WaitUntil([&] { return Lines(m_place.Read("shown")).size() >= static_cast<std::size_t>(calls); }));
}

Child::Setup Fleet::Receiver(const std::string& address, const std::vector<std::string>& more) const {
    Child::Setup setup;
    setup.output = m_place.At("received");
    return ToolSetup(Joined({"fleet", address, "--store", m_place.At("store"), "--client", "test"}, more), setup);
}

std::unique_ptr<Child> Fleet::StartReceiver(const std::string& address, const std::vector<std::string>& more) const {
    auto receiver = std::make_unique<Child>(Receiver(address, more));
    EXPECT_TRUE(receiver->WaitForError("receiving"));
    return receiver;
}

void Fleet::PublishRest(const std::string& address, const std::vector<std::string>& more,
                        const std::string& outbox) const {
    Child publisher(Publisher(address, Joined({"--for", "100ms", "--publish-wait", "30s"}, more), outbox));
    EXPECT_EQ(publisher.Finish(), 0) << publisher.Error();
}

void Fleet::End(Child& tool, int status) {
    tool.Signal(SIGINT);
    EXPECT_EQ(tool.Finish(), status) << tool.Error();
}

std::size_t Fleet::StoredCount() const {
    const std::vector<std::string> count = Select("store", "SELECT count(*) FROM events");
    return count.empty() ? 0 : std::stoul(count.front());
}

void Fleet::WaitUntilStored(std::size_t count) const {
    EXPECT_TRUE(WaitUntil([&] { return StoredCount() >= count; })) << StoredCount() << " are stored";
}

std::vector<std::string> Fleet::ExpectNoGap() const {
    const std::vector<std::string> ids = Select("store", "SELECT id FROM events ORDER BY CAST(value AS INTEGER)");
    for (std::size_t row = 0; row < ids.size() && !HasFailure(); ++row) {
        const std::string run = ids.front().substr(0, ids.front().rfind(':'));
        EXPECT_EQ(ids[row], run + ":" + std::to_string(row + 1));
    }
    return Select("store", "SELECT value FROM events ORDER BY CAST(value AS INTEGER)");
}

void Fleet::ExpectAllStored(std::size_t calls) const {
    std::vector<std::string> all;
    while (all.size() < calls) all.push_back(std::to_string(all.size()));
    EXPECT_EQ(ExpectNoGap(), all);
}

std::vector<std::string> Fleet::Select(const std::string& name, const std::string& query) const {
    std::vector<std::string> rows;
    sqlite3* database = nullptr;
    sqlite3_stmt* statement = nullptr;
    sqlite3_open_v2(m_place.At(name).c_str(), &database, SQLITE_OPEN_READONLY, nullptr);
    sqlite3_busy_timeout(database, 10000);
    sqlite3_prepare_v2(database, query.c_str(), -1, &statement, nullptr);
    while (statement != nullptr && sqlite3_step(statement) == SQLITE_ROW) {
        const unsigned char* const text = sqlite3_column_text(statement, 0);
        rows.emplace_back(text == nullptr ? "" : reinterpret_cast<const char*>(text));
    }
    sqlite3_finalize(statement);
    sqlite3_close(database);
    return rows;
}
