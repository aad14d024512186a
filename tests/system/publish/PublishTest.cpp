// `qxlt run --publish`, with a broker that the test starts, and what that broker has from it.
#include <gmock/gmock.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <regex>

#include "Broker.h"
#include "Child.h"
#include "LineSchema.h"
#include "MessageId.h"
#include "MqttSession.h"
#include "Workplace.h"

namespace {

namespace fs = std::filesystem;

using Json = nlohmann::json;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

// What stands at the broker below the prefix "plant", and what comes.
class Reader final {
public:
    explicit Reader(const MosquittoBroker& broker) {
        m_access.address = qxlt::ReadBrokerAddress(broker.Address("plant"));
        qxlt::MqttSession::Setup setup;
        setup.client = "reader";
        setup.receive = [this](const qxlt::ReceivedMessage& message) {
            const Json payload = Json::parse(message.payload);
            (message.topic == "plant/box/status" ? m_status : m_events).push_back(payload);
        };
        m_session.emplace(m_access, std::move(setup));
        WaitUntil([this] { return m_session->IsConnected(); });
        m_session->Subscribe("plant/#");
    }

    template <typename Condition>
    bool WaitUntil(Condition condition) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (!condition()) {
            if (std::chrono::steady_clock::now() > end || m_session->IsOver()) return false;
            const short wanted = static_cast<short>(POLLIN | (m_session->WantsToWrite() ? POLLOUT : 0));
            pollfd source{m_session->Descriptor(), wanted, 0};
            poll(&source, 1, 100);
            if ((source.revents & ~POLLOUT) != 0) m_session->Read();
            if ((source.revents & POLLOUT) != 0) m_session->Write();
            m_session->Keep();
        }
        return true;
    }

    bool WaitForState(const std::string& state) {
        return WaitUntil([this, &state] { return !m_status.empty() && m_status.back()["state"] == state; });
    }

    // The numbers of a run's events, in the order in which they came.
    std::vector<std::uint64_t> NumbersOf(const std::string& run) const {
        std::vector<std::uint64_t> numbers;
        for (const Json& event : m_events) {
            const auto id = qxlt::ReadMessageId(event["id"].get<std::string>());
            if (id && id->run == run) numbers.push_back(id->number);
        }
        return numbers;
    }

    const std::vector<Json>& Events() const { return m_events; }
    const std::vector<Json>& Status() const { return m_status; }

private:
    qxlt::BrokerAccess m_access;
    std::optional<qxlt::MqttSession> m_session;
    std::vector<Json> m_events;
    std::vector<Json> m_status;
};

// Whether the object has the keys that docs/messages.schema.json requires of its kind, and no others than it names;
// what texts look like is held against the patterns there.
void ExpectSchema(const std::string& kind, const Json& message) {
    static const Json schema = Json::parse(std::ifstream(QXLT_SOURCE_DIR "/docs/messages.schema.json"))["$defs"];
    for (const Json& key : schema[kind]["required"]) EXPECT_TRUE(message.contains(key.get<std::string>())) << key;
    const Json& properties = schema[kind]["properties"];
    for (const auto& [key, value] : message.items()) {
        ASSERT_TRUE(properties.contains(key)) << key;
        if (!value.is_string() || !properties[key].contains("pattern")) continue;
        const std::regex pattern(properties[key]["pattern"].get<std::string>());
        EXPECT_TRUE(std::regex_search(value.get<std::string>(), pattern)) << key << ": " << value;
    }
}

// An event has what its line has, and who sent it.
void ExpectEventSchema(Json message) {
    ExpectSchema("event", message);
    for (const char* const key : {"id", "device", "time"}) message.erase(key);
    EXPECT_EQ(SchemaFault(message.dump()), "");
}

// 1, 2, ... count.
std::vector<std::uint64_t> Through(std::uint64_t count) {
    std::vector<std::uint64_t> numbers;
    for (std::uint64_t i = 1; i <= count; ++i) numbers.push_back(i);
    return numbers;
}

class Publish : public testing::Test {
protected:
    void SetUp() override {
        if (!MosquittoBroker::IsInstalled()) GTEST_SKIP() << MosquittoBroker::Missing();
        m_server.emplace(Server());
    }

    Child::Setup Server() const {
        Child::Setup setup;
        setup.command = {m_place.At(m_name), "--rate", "100"};
        setup.environment = Environment();
        return setup;
    }

    Child::Setup Tool(const std::string& address, std::vector<std::string> arguments = {}) const {
        arguments.insert(arguments.begin(), {"run", "-s", m_script, "--pause", "fast", "--publish", address, "--device",
                                             "box", "--outbox", m_place.At("box.outbox")});
        Child::Setup setup;
        setup.environment = Environment();
        return ToolSetup(arguments, setup);
    }

    std::map<std::string, std::string> Environment() const {
        return {{"QX_RUNTIME_DIR", m_place.At("recordings")}, {"XDG_STATE_HOME", m_place.At("state")}};
    }

    const Workplace m_place;
    const std::string m_name = m_place.CopyUnderOwnName(QXLT_MEDIA_SERVER);
    const std::string m_script = m_place.Write("v.xml", VolumeScript(kEveryVolume, m_name));
    std::optional<Child> m_server;
};

TEST_F(Publish, TheBrokerHasEachEventThatIsShownAndHowTheRunIs) {
    const MosquittoBroker broker;
    Reader reader(broker);
    Child tool(Tool(broker.Address("plant"), {"--format", "json"}));
    EXPECT_TRUE(tool.WaitForOutput("{\"cycle\":4,"));
    EXPECT_TRUE(reader.WaitForState("running"));
    tool.Signal(SIGINT);
    EXPECT_EQ(tool.Finish(), 0) << tool.Error();
    ASSERT_TRUE(reader.WaitForState("ended"));
    const std::string run = reader.Status().back()["run"];
    const std::uint64_t taken = reader.Status().back()["taken"];
    EXPECT_EQ(reader.NumbersOf(run), Through(taken));
    std::vector<Json> shown;
    for (const std::string& line : Lines(tool.Output())) {
        if (line.rfind("{\"cycle\":", 0) == 0 && Json::parse(line).contains("event"))
            shown.push_back(Json::parse(line));
    }
    ASSERT_EQ(shown.size(), taken);
    for (std::size_t i = 0; i < shown.size(); ++i) {
        EXPECT_EQ(reader.Events()[i]["call"], shown[i]["call"]);
        EXPECT_EQ(reader.Events()[i]["event"], "VOLUME");
        EXPECT_EQ(reader.Events()[i]["time"], shown[i]["call"]["wall"]);
    }
    for (const Json& event : reader.Events()) ExpectEventSchema(event);
    for (const Json& status : reader.Status()) ExpectSchema("status", status);
    EXPECT_TRUE(reader.Status().back()["health"].contains("outboxTaken")) << reader.Status().back();
    // Who comes later finds how it ended.
    Reader late(broker);
    EXPECT_TRUE(late.WaitForState("ended"));
}

TEST_F(Publish, WhatWaitsForABrokerThatIsAwayIsPublishedByTheNextRun) {
    MosquittoBroker broker;
    broker.Stop();
    Child first(Tool(broker.Address("plant")));
    EXPECT_TRUE(first.WaitForOutput("VOLUME"));
    first.Signal(SIGINT);
    EXPECT_EQ(first.Finish(), 0);
    EXPECT_THAT(first.Error(), HasSubstr("warning: not published to " + broker.Address("plant") +
                                         ": Connection refused; events wait in " + m_place.At("box.outbox")));
    const std::size_t count = Lines(first.Output()).size();
    EXPECT_THAT(first.Error(), HasSubstr("warning: not published yet: " + std::to_string(count) + " event"));
    broker.Start();
    Reader reader(broker);
    Child second(Tool(broker.Address("plant"), {"--for", "1s"}));
    EXPECT_EQ(second.Finish(), 0);
    ASSERT_TRUE(reader.WaitForState("ended"));
    EXPECT_EQ(reader.Events().size(), count + Lines(second.Output()).size());
    EXPECT_EQ(reader.Status().back()["waiting"], 0);
    EXPECT_EQ(reader.NumbersOf(reader.Status().back()["run"]), Through(Lines(second.Output()).size()));
}

TEST_F(Publish, TheLastStatusKnowsWhatTheEndHasPublished) {
    MosquittoBroker broker;
    broker.Stop();
    const std::string status = m_place.At("status.json");
    Child tool(Tool(broker.Address("plant"), {"--status-file", status}));
    EXPECT_TRUE(tool.WaitForOutput("VOLUME"));
    broker.Start();
    tool.Signal(SIGINT);
    EXPECT_EQ(tool.Finish(), 0) << tool.Error();
    const Json last = Json::parse(m_place.Read("status.json"));
    EXPECT_EQ(last["state"], "ended");
    EXPECT_EQ(last["outboxTaken"], Lines(tool.Output()).size());
    EXPECT_EQ(last["outboxWaiting"], 0);
}

TEST_F(Publish, AKilledRunLosesNothingThatItTookAndItsWillIsToldOf) {
    const MosquittoBroker broker;
    Reader reader(broker);
    Child first(Tool(broker.Address("plant")));
    ASSERT_TRUE(reader.WaitUntil([&reader] { return reader.Events().size() > 20; }));
    first.Signal(SIGKILL);
    EXPECT_EQ(first.Finish(), 128 + SIGKILL);
    ASSERT_TRUE(reader.WaitForState("gone"));
    const std::string run = reader.Status().back()["run"];
    Child second(Tool(broker.Address("plant"), {"--for", "1s"}));
    EXPECT_EQ(second.Finish(), 0);
    ASSERT_TRUE(reader.WaitForState("ended"));
    std::vector<std::uint64_t> numbers = reader.NumbersOf(run);
    std::sort(numbers.begin(), numbers.end());
    numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
    EXPECT_EQ(numbers, Through(numbers.size()));
    EXPECT_GE(numbers.size(), 20u);
}

TEST_F(Publish, ARunThatNeverFindsItsProcessEndsOrderlyToo) {
    const MosquittoBroker broker;
    Reader reader(broker);
    Child tool(Tool(broker.Address("plant"), {"-p", "nobody", "--for", "1s"}));
    EXPECT_EQ(tool.Finish(), 2);
    ASSERT_TRUE(reader.WaitForState("ended"));
    EXPECT_EQ(reader.Status().back()["taken"], 0);
    EXPECT_EQ(reader.Status().back()["health"]["waitingFor"], Json::array({"nobody"}));
}

TEST_F(Publish, ItGoesOnWhenTheBrokerIsBack) {
    MosquittoBroker broker;
    Child tool(Tool(broker.Address("plant")));
    EXPECT_TRUE(tool.WaitForError("publishing to " + broker.Address("plant")));
    broker.Kill();
    EXPECT_TRUE(tool.WaitForError("not published to"));
    broker.Start();
    Reader reader(broker);
    ASSERT_TRUE(reader.WaitUntil([&reader] { return !reader.Events().empty(); }));
    tool.Signal(SIGINT);
    EXPECT_EQ(tool.Finish(), 0);
    ASSERT_TRUE(reader.WaitForState("ended"));
    EXPECT_EQ(reader.Status().back()["waiting"], 0);
}

TEST_F(Publish, OverTlsEachSideShowsWhoItIs) {
    MosquittoBroker::Setup setup;
    setup.tls = true;
    setup.asksForCertificate = true;
    const MosquittoBroker broker(setup);
    const BrokerCertificates& made = broker.Certificates();
    Reader reader(broker);
    Child tool(Tool(broker.TlsAddress("plant"),
                    {"--for", "2s", "--ca", made.Authority(), "--cert", made.Client(), "--key", made.ClientKey()}));
    EXPECT_EQ(tool.Finish(), 0) << tool.Error();
    ASSERT_TRUE(reader.WaitForState("ended"));
    EXPECT_EQ(reader.Events().size(), Lines(tool.Output()).size());
}

TEST_F(Publish, ABrokerThatIsNotTrustedGetsNothingAndPeopleAreToldOnce) {
    MosquittoBroker::Setup setup;
    setup.tls = true;
    const MosquittoBroker broker(setup);
    Child tool(Tool(broker.TlsAddress("plant"), {"--for", "2s", "--ca", broker.Certificates().WrongAuthority()}));
    EXPECT_EQ(tool.Finish(), 0);
    EXPECT_THAT(tool.Error(), HasSubstr("certificate verify failed; look at --ca, --cert, the host in the address"));
    const std::string told = "not published to";
    EXPECT_EQ(tool.Error().find(told), tool.Error().rfind(told)) << tool.Error();
}

TEST_F(Publish, ABrokerThatAsksForACertificateHasPeopleToldOfIt) {
    MosquittoBroker::Setup setup;
    setup.tls = true;
    setup.asksForCertificate = true;
    const MosquittoBroker broker(setup);
    Child tool(Tool(broker.TlsAddress("plant"), {"--for", "3s", "--ca", broker.Certificates().Authority()}));
    EXPECT_EQ(tool.Finish(), 0);
    EXPECT_THAT(tool.Error(),
                ContainsRegex("not published to .*: (it ended the connection before it let this client in; "
                              "it may ask for another certificate|.*; look at --ca, --cert)"));
}

TEST_F(Publish, AWrongPasswordIsTold) {
    MosquittoBroker::Setup setup;
    setup.user = "ann";
    setup.password = "secret";
    const MosquittoBroker broker(setup);
    const std::string file = m_place.Write("credentials", "ann\nwrong\n");
    fs::permissions(file, fs::perms::owner_read);
    Child tool(Tool(broker.Address("plant"), {"--for", "2s", "--credentials", file}));
    EXPECT_EQ(tool.Finish(), 0);
    EXPECT_THAT(tool.Error(), HasSubstr("look at --credentials"));
    EXPECT_THAT(tool.Error(), Not(HasSubstr("wrong")));
    fs::remove(file);
    m_place.Write("credentials", "ann\nsecret\n");
    fs::permissions(file, fs::perms::owner_read);
    Child second(Tool(broker.Address("plant"), {"--for", "1s", "--credentials", file}));
    EXPECT_EQ(second.Finish(), 0);
    EXPECT_THAT(second.Error(), HasSubstr("publishing to"));
}

TEST_F(Publish, ASecondRunNeedsAnOutboxOfItsOwn) {
    Child first(Tool("mqtt://127.0.0.1:1/plant"));
    ASSERT_TRUE(first.WaitForError("events wait in"));
    Child second(Tool("mqtt://127.0.0.1:1/plant"));
    EXPECT_EQ(second.Finish(), 2);
    EXPECT_EQ(second.Error(), "error: " + m_place.At("box.outbox") +
                                  ": another run has this outbox in use; give --outbox another FILE\n");
}

TEST_F(Publish, WithoutTheProgramForItOneLineNamesThePackage) {
    fs::create_directories(m_place.At("alone"));
    fs::copy_file(QXLT_PROGRAM, m_place.At("alone/qxlt"));
    Child::Setup setup = Tool("mqtt://127.0.0.1:1/plant");
    setup.command.front() = m_place.At("alone/qxlt");
    Child tool(setup);
    EXPECT_EQ(tool.Finish(), 2);
    EXPECT_EQ(tool.Error(),
              "error: run --publish: qxlt-fleet is not installed, or qxlt was built without libmosquitto, SQLite and "
              "libpq; install the package qxlt-fleet\n");
}

}  // namespace
