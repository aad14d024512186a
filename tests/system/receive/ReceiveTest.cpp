// `qxlt fleet`, run as its user runs it, with what devices publish through a real broker.
#include <gmock/gmock.h>
#include <poll.h>
#include <signal.h>

#include "Broker.h"
#include "Child.h"
#include "DatabaseServer.h"
#include "MqttSession.h"
#include "PostgresConnection.h"
#include "SqliteConnection.h"
#include "Workplace.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

const std::string kBoot(32, 'b');
const std::string kRun(16, 'c');

std::string EventText(const std::string& device, int number, const std::string& event) {
    return R"({"id":")" + device + ":" + kBoot + ":" + kRun + ":" + std::to_string(number) + R"(","device":")" +
           device + R"(","time":"2026-11-22T10:00:00.000000001Z","cycle":2,"event":")" + event + R"(","value":")" +
           std::to_string(number) +
           R"(","call":{"key":1,"process":"p","pid":7,"tid":1,"locId":1,"callerName":"SetVolume","packageName":"audio",)"
           R"("srcCodeFileRaw":"v.cpp","time":1,"exitTime":2,"in":[],"out":[],"ret":[],"duration":1}})";
}

std::string StatusText(const std::string& device, const std::string& state, int taken) {
    return R"({"device":")" + device + R"(","boot":")" + kBoot + R"(","run":")" + kRun + R"(","state":")" + state +
           R"(","time":"2026-11-22T10:00:00.000000000Z","taken":)" + std::to_string(taken) +
           R"(,"waiting":0,"dropped":0,"droppedIds":[]})";
}

// Publishes what a test says, whatever it is; each call returns when the broker has it.
class Publisher final {
public:
    explicit Publisher(const MosquittoBroker& broker)
        : m_access{qxlt::ReadBrokerAddress(broker.Address("fleet")), {}, {}, {}, {}, {}} {
        qxlt::MqttSession::Setup setup;
        setup.client = "publisher";
        m_session = std::make_unique<qxlt::MqttSession>(m_access, setup);
        while (!m_session->IsConnected()) Step();
    }

    void Message(const std::string& topic, const std::string& payload, bool isRetained = false) {
        const int number = m_session->Publish("fleet/" + topic, payload, isRetained);
        for (;;) {
            for (const int done : m_session->TakeAcknowledged()) {
                if (done == number) return;
            }
            Step();
        }
    }
    void Event(const std::string& device, int number, const std::string& event = "VOLUME") {
        Message(device + "/events/" + event, EventText(device, number, event));
    }
    void Status(const std::string& device, const std::string& state, int taken = 0) {
        Message(device + "/status", StatusText(device, state, taken), true);
    }

private:
    void Step() {
        if (m_session->IsOver()) throw std::runtime_error(m_session->Problem());
        pollfd source = {m_session->Descriptor(), POLLIN, 0};
        if (m_session->WantsToWrite()) source.events = POLLIN | POLLOUT;
        poll(&source, 1, 1000);
        m_session->Write();
        m_session->Read();
        m_session->Keep();
    }

    const qxlt::BrokerAccess m_access;
    std::unique_ptr<qxlt::MqttSession> m_session;
};

class Receive : public testing::Test {
protected:
    void SetUp() override {
        if (!MosquittoBroker::IsInstalled()) GTEST_SKIP() << MosquittoBroker::Missing();
        m_broker = std::make_unique<MosquittoBroker>();
        m_publisher = std::make_unique<Publisher>(*m_broker);
    }

    // Receives already.
    std::unique_ptr<Child> Start(const std::vector<std::string>& more = {}) const {
        auto receiver = std::make_unique<Child>(Tool(more));
        EXPECT_TRUE(receiver->WaitForError("receiving from")) << receiver->Error();
        return receiver;
    }

    Child::Setup Tool(const std::vector<std::string>& more = {}) const {
        std::vector<std::string> words = {"fleet", m_broker->Address("fleet")};
        words.insert(words.end(), more.begin(), more.end());
        return ToolSetup(words);
    }

    static void End(Child& receiver, int status = 0) {
        receiver.Signal(SIGINT);
        EXPECT_EQ(receiver.Finish(), status) << receiver.Error();
    }

    std::string Store() const { return m_place.At("store.sqlite"); }

    // The first column of each row.
    static std::vector<std::string> Ask(qxlt::ISqlConnection& database, const std::string& question) {
        std::vector<std::string> answers;
        for (const qxlt::ISqlConnection::Row& row : database.Run(question)) answers.push_back(row[0].value_or("null"));
        return answers;
    }
    std::vector<std::string> Ask(const std::string& question) const {
        qxlt::SqliteConnection file(Store());
        return Ask(file, question);
    }

    const Workplace m_place;
    std::unique_ptr<MosquittoBroker> m_broker;
    std::unique_ptr<Publisher> m_publisher;
};

TEST_F(Receive, PrintsEachEventOfAllDevicesOnce) {
    const auto receiver = Start();
    for (const int number : {1, 2, 2, 1, 3}) m_publisher->Event("tv", number);
    m_publisher->Event("radio", 7, "MUTE");
    EXPECT_TRUE(receiver->WaitForOutput("radio"));
    End(*receiver);
    EXPECT_THAT(Lines(receiver->Output()),
                ElementsAre("2026-11-22T10:00:00.000Z  tv        VOLUME    1         audio.SetVolume()",
                            "2026-11-22T10:00:00.000Z  tv        VOLUME    2         audio.SetVolume()",
                            "2026-11-22T10:00:00.000Z  tv        VOLUME    3         audio.SetVolume()",
                            "2026-11-22T10:00:00.000Z  radio     MUTE      7         audio.SetVolume()"));
    EXPECT_THAT(receiver->Error(), HasSubstr("4 events of 2 devices; 2 doubled, 0 late, 0 missing, 0 dropped"));
}

TEST_F(Receive, TellsGapsAndTheStateOfDevices) {
    const auto receiver = Start({"--grace", "100ms"});
    m_publisher->Status("tv", "running");
    m_publisher->Event("tv", 1);
    m_publisher->Event("tv", 4);
    EXPECT_TRUE(receiver->WaitForError("warning: tv: 2 events are missing: numbers 2 to 3 of run " + kRun));
    m_publisher->Status("tv", "gone", 6);
    EXPECT_TRUE(receiver->WaitForError("tv: gone"));
    EXPECT_TRUE(receiver->WaitForError("warning: tv: 2 events are missing: numbers 5 to 6 of run " + kRun));
    m_publisher->Event("tv", 2);
    EXPECT_TRUE(receiver->WaitForOutput("VOLUME    2 "));
    End(*receiver);
    EXPECT_THAT(receiver->Error(), HasSubstr("3 events of 1 device; 0 doubled, 1 late, 3 missing, 0 dropped"));
}

TEST_F(Receive, PrintsJsonLines) {
    const auto receiver = Start({"--format", "json", "--grace", "100ms"});
    m_publisher->Status("tv", "running");
    m_publisher->Event("tv", 2);
    EXPECT_TRUE(receiver->WaitForOutput("\"missing\",\"first\":1,\"last\":1"));
    End(*receiver);
    const std::vector<std::string> lines = Lines(receiver->Output());
    ASSERT_THAT(lines, SizeIs(5));
    EXPECT_THAT(lines[0], StartsWith("{\"status\":{\"device\":\"tv\",\"boot\":\"" + kBoot));
    EXPECT_EQ(lines[1], EventText("tv", 2, "VOLUME"));
    EXPECT_EQ(lines[2], "{\"gap\":{\"device\":\"tv\",\"boot\":\"" + kBoot + "\",\"run\":\"" + kRun +
                            "\",\"state\":\"missing\",\"first\":1,\"last\":1}}");
    EXPECT_EQ(lines[3],
              "{\"account\":{\"device\":\"tv\",\"received\":1,\"doubled\":0,\"late\":0,\"missing\":1,\"dropped\":0}}");
    EXPECT_EQ(lines[4],
              "{\"fleet\":{\"devices\":1,\"received\":1,\"doubled\":0,\"late\":0,\"missing\":1,\"dropped\":0,"
              "\"refused\":0}}");
}

TEST_F(Receive, ShowsWhatIsAskedFor) {
    const auto all = Start({"--device", "t*", "--event", "V*"});
    const auto one = Start({"--device", "tv"});
    m_publisher->Event("radio", 1);
    m_publisher->Event("tv", 1, "MUTE");
    m_publisher->Event("tv", 2);
    for (Child* const receiver : {all.get(), one.get()}) {
        EXPECT_TRUE(receiver->WaitForOutput("VOLUME"));
        End(*receiver);
        EXPECT_THAT(receiver->Error(), HasSubstr("2 events of 1 device"));
    }
    EXPECT_THAT(Lines(all->Output()), SizeIs(1));
    EXPECT_THAT(Lines(one->Output()), SizeIs(2));
}

// Held while it is killed: it has read the messages, and its database does not take them.
TEST_F(Receive, LosesNothingWhenItIsKilledBetweenReceiptAndStore) {
    {
        const auto receiver = Start({"--store", Store(), "--client", "one"});
        qxlt::SqliteConnection other(Store());
        other.Run("BEGIN IMMEDIATE", {});
        for (int number = 1; number <= 10; ++number) m_publisher->Event("tv", number);
        EXPECT_TRUE(receiver->WaitForError("warning: " + Store() + ": database is locked; trying again"));
        receiver->Signal(SIGKILL);
        receiver->Finish();
        EXPECT_THAT(receiver->Output(), IsEmpty());
        other.Run("ROLLBACK", {});
    }
    EXPECT_THAT(Ask("SELECT count(*) FROM events"), ElementsAre("0"));
    const auto receiver = Start({"--store", Store(), "--client", "one"});
    EXPECT_TRUE(receiver->WaitForOutput("VOLUME    10 "));
    End(*receiver);
    EXPECT_THAT(Ask("SELECT count(*) FROM events"), ElementsAre("10"));
    EXPECT_THAT(receiver->Error(), HasSubstr("10 events of 1 device; 0 doubled, 0 late, 0 missing"));
}

TEST_F(Receive, GoesOnOverARestartWhereItWas) {
    auto receiver = Start({"--store", Store()});
    m_publisher->Event("tv", 1);
    m_publisher->Event("tv", 3);
    EXPECT_TRUE(receiver->WaitForOutput("VOLUME    3 "));
    receiver->Signal(SIGKILL);
    receiver->Finish();
    for (const int number : {3, 4, 2, 6}) m_publisher->Event("tv", number);
    receiver = Start({"--store", Store()});
    EXPECT_TRUE(receiver->WaitForOutput("VOLUME    6 "));
    End(*receiver);
    EXPECT_THAT(Ask("SELECT value FROM events ORDER BY id"), ElementsAre("1", "2", "3", "4", "6"));
    EXPECT_THAT(Ask("SELECT first FROM gaps"), ElementsAre("5"));
    // How much of what it had stored was answered before it was killed is chance: 3 is doubled at least.
    EXPECT_THAT(receiver->Error(), HasSubstr("3 events of 1 device; "));
    EXPECT_THAT(receiver->Error(), Not(HasSubstr("; 0 doubled")));
}

TEST_F(Receive, LeavesNothingAtTheBrokerUnlessItIsToStayThere) {
    End(*Start());
    m_publisher->Event("tv", 1);
    const auto receiver = Start();
    m_publisher->Event("tv", 2);
    EXPECT_TRUE(receiver->WaitForOutput("VOLUME    2 "));
    End(*receiver);
    EXPECT_THAT(receiver->Output(), Not(HasSubstr("VOLUME    1 ")));
}

TEST_F(Receive, ConnectsAgainToABrokerThatWasAway) {
    const auto receiver = Start({"--client", "stays"});
    m_publisher.reset();
    m_broker->Stop();
    EXPECT_TRUE(receiver->WaitForError("; trying again"));
    m_broker->Start();
    EXPECT_TRUE(receiver->WaitForError("connected again"));
    Publisher(*m_broker).Event("tv", 1);
    EXPECT_TRUE(receiver->WaitForOutput("VOLUME"));
    End(*receiver);
}

TEST_F(Receive, CountsWhatIsNoMessageOfADevice) {
    const auto receiver = Start();
    m_publisher->Message("tv/events/VOLUME", "{");
    m_publisher->Message("tv/events/VOLUME", EventText("radio", 1, "VOLUME"));
    m_publisher->Message("tv/events/VOLUME", std::string((1u << 20) + 1, 'x'));
    m_publisher->Event("tv", 1);
    EXPECT_TRUE(receiver->WaitForOutput("VOLUME"));
    End(*receiver);
    EXPECT_THAT(receiver->Error(), HasSubstr("warning: 1 message not taken: no JSON\n"));
    EXPECT_THAT(receiver->Error(), HasSubstr("warning: 1 message not taken: other names than their topics\n"));
    EXPECT_THAT(receiver->Error(), HasSubstr("warning: 1 message not taken: too long\n"));
    EXPECT_THAT(receiver->Error(), HasSubstr("1 event of 1 device"));
}

TEST_F(Receive, ShowsATableOfDevicesAndEvents) {
    const auto receiver = Start({"--top", "--every", "200ms"});
    m_publisher->Event("tv", 1);
    EXPECT_TRUE(receiver->WaitForOutput("tv      VOLUME"));
    EXPECT_THAT(Lines(receiver->Output())[0], StartsWith("device  event   fired  per second  in all"));
    End(*receiver);
    const auto json = Start({"--top", "--every", "200ms", "--format", "json"});
    m_publisher->Event("tv", 2);
    EXPECT_TRUE(json->WaitForOutput("{\"fired\":{\"device\":\"tv\",\"event\":\"VOLUME\",\"seconds\":"));
    End(*json);
}

TEST_F(Receive, EndsWithItsReader) {
    const auto receiver = Start();
    receiver->CloseOutput();
    m_publisher->Event("tv", 1);
    EXPECT_EQ(receiver->Finish(), 0) << receiver->Error();
}

// It waits for its reader in the middle of the first batch, which is more than a pipe holds.
TEST_F(Receive, EndsBetweenTwoBatches) {
    MosquittoBroker::Setup setup;
    setup.settings = "max_inflight_messages 0\nmax_queued_messages 0\n";
    m_broker = std::make_unique<MosquittoBroker>(setup);
    End(*Start({"--client", "stays"}));
    constexpr int kAll = 4000;
    Publisher publisher(*m_broker);
    for (int number = 1; number <= kAll; ++number) publisher.Event("tv", number);
    // The broker sends all of it before it grants the subscription once more.
    Child receiver(Tool({"--client", "stays"}));
    EXPECT_TRUE(receiver.WaitForOutput("VOLUME    1 "));
    End(receiver);
    const std::size_t shown = Lines(receiver.Output()).size();
    ASSERT_LT(shown, std::size_t{kAll});
    // What was not shown was not answered, either.
    Child again(Tool({"--client", "stays"}));
    EXPECT_TRUE(again.WaitForOutput("VOLUME    " + std::to_string(kAll)));
    End(again);
    EXPECT_THAT(again.Output(), HasSubstr("VOLUME    " + std::to_string(shown + 1) + " "));
}

TEST_F(Receive, EndsWhenItsTimeIsOver) {
    Child receiver(Tool({"--for", "300ms"}));
    EXPECT_EQ(receiver.Finish(), 0) << receiver.Error();
    EXPECT_THAT(receiver.Error(), HasSubstr("0 events of 0 devices"));
}

TEST_F(Receive, SaysWhatItCannotUse) {
    const std::pair<std::vector<std::string>, const char*> rows[] = {
        {{"--store", m_place.At("none/store")}, "none/store: unable to open database file"},
        {{"--client", "a b"}, "a client's name has up to 64 letters"},
        {{"--store", "postgresql://u:secret@h/d"}, "~/.pgpass"},
        {{"--every", "1s"}, "--every"}};
    for (const auto& [words, text] : rows) {
        Child receiver(Tool(words));
        EXPECT_EQ(receiver.Finish(), 2) << receiver.Error();
        EXPECT_THAT(receiver.Error(), HasSubstr(text));
    }
}

TEST_F(Receive, DoesNotStartWhereTheBrokerDoesNotLetItIn) {
    MosquittoBroker::Setup setup;
    setup.user = "someone";
    setup.password = "secret";
    const MosquittoBroker broker(setup);
    Child receiver(ToolSetup({"fleet", broker.Address("fleet")}));
    EXPECT_EQ(receiver.Finish(), 2) << receiver.Error();
    EXPECT_THAT(receiver.Error(), HasSubstr("look at --credentials"));
}

// The broker keeps what the database does not take.
TEST_F(Receive, WaitsForADatabaseThatIsAway) {
    const std::unique_ptr<DatabaseServer> server = DatabaseServer::Start();
    if (server == nullptr) GTEST_SKIP() << "PostgreSQL is not installed";
    const auto receiver = Start({"--store", server->Address()});
    m_publisher->Event("tv", 1);
    EXPECT_TRUE(receiver->WaitForOutput("VOLUME    1 "));
    server->Kill();
    for (int number = 2; number <= 30; ++number) m_publisher->Event("tv", number);
    EXPECT_TRUE(receiver->WaitForError("; trying again"));
    server->Restart();
    EXPECT_TRUE(receiver->WaitForOutput("VOLUME    30 "));
    End(*receiver);
    qxlt::PostgresConnection database(server->Address());
    EXPECT_THAT(Ask(database, "SELECT count(*) FROM events"), ElementsAre("30"));
    EXPECT_THAT(Ask(database, "SELECT count(*) FROM gaps"), ElementsAre("0"));
}

}  // namespace
