// Events of a live program, from the tracker into a store, over real brokers, while one thing after another breaks:
// what was taken arrives, once.
#include <gmock/gmock.h>
#include <poll.h>
#include <signal.h>
#include <sys/stat.h>

#include <filesystem>

#include "Fleet.h"

namespace {

namespace fs = std::filesystem;

using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr int kCalls = 500;

class FleetOnMosquitto : public Fleet {
protected:
    void SetUp() override {
        if (!MosquittoBroker::IsInstalled()) GTEST_SKIP() << MosquittoBroker::Missing();
        m_broker = std::make_unique<MosquittoBroker>();
    }

    std::string Address() const { return m_broker->Address("plant/hall"); }

    std::unique_ptr<MosquittoBroker> m_broker;
};

TEST_F(FleetOnMosquitto, EveryEventIsStoredOnce) {
    const auto receiver = StartReceiver(Address());
    Child publisher(Publisher(Address()));
    StartCalls(kCalls);
    WaitUntilStored(kCalls);
    End(publisher);
    End(*receiver);
    ExpectAllStored(kCalls);
}

// The receiver had been there once: the broker then keeps what comes for it.
TEST_F(FleetOnMosquitto, KeepsWhatComesForAReceiverThatIsKilled) {
    auto receiver = StartReceiver(Address());
    Child publisher(Publisher(Address()));
    StartCalls(kCalls);
    WaitUntilStored(kCalls / 10);
    receiver->Signal(SIGKILL);
    receiver->Finish();
    WaitUntilCalled();
    receiver = StartReceiver(Address());
    WaitUntilStored(kCalls);
    End(publisher);
    End(*receiver);
    ExpectAllStored(kCalls);
}

// The outbox tells what the killed run had taken: nothing of that is missing then. What was published and not yet
// acknowledged is published again.
TEST_F(FleetOnMosquitto, PublishesWhatAKilledRunHadTaken) {
    const auto receiver = StartReceiver(Address());
    Child publisher(Publisher(Address()));
    StartCalls(kCalls);
    WaitUntilStored(kCalls / 10);
    m_broker->Freeze();
    poll(nullptr, 0, 200);
    publisher.Signal(SIGKILL);
    publisher.Finish();
    WaitUntilCalled();
    const std::vector<std::string> last = Select("outbox", "SELECT max(number) FROM message");
    m_broker->Thaw();
    PublishRest(Address());
    ASSERT_THAT(last, SizeIs(1));
    WaitUntilStored(std::stoul(last.front()));
    End(*receiver);
    ExpectAllStored(std::stoul(last.front()));
    EXPECT_THAT(Select("outbox", "SELECT number FROM message"), IsEmpty());
}

// Two outboxes that hold the same: whatever they publish, the second time is one time too many.
TEST_F(FleetOnMosquitto, RemovesWhatComesTwice) {
    StartReceiver(Address())->Finish();
    Child publisher(Publisher(Address(), {"--publish-wait", "0s"}));
    m_broker->Stop();
    StartCalls(kCalls);
    WaitUntilCalled();
    EXPECT_TRUE(publisher.WaitForOutput("=" + std::to_string(kCalls - 1)));
    End(publisher);
    fs::copy_file(m_place.At("outbox"), m_place.At("copy"));
    m_broker->Start();
    PublishRest(Address());
    PublishRest(Address(), {}, "copy");
    const auto receiver = StartReceiver(Address());
    WaitUntilStored(kCalls);
    End(*receiver);
    ExpectAllStored(kCalls);
    EXPECT_THAT(receiver->Error(), HasSubstr(std::to_string(kCalls) + " doubled"));
}

TEST_F(FleetOnMosquitto, PublishesWhatWasTakenWhileTheBrokerWasAway) {
    const auto receiver = StartReceiver(Address());
    Child publisher(Publisher(Address()));
    StartCalls(kCalls);
    WaitUntilStored(kCalls / 10);
    m_broker->Stop();
    WaitUntilCalled();
    m_broker->Start();
    WaitUntilStored(kCalls);
    End(publisher);
    End(*receiver);
    ExpectAllStored(kCalls);
}

// It keeps the connection and answers nothing: events come out of the run all the same.
TEST_F(FleetOnMosquitto, TheRunDoesNotWaitForABrokerThatHangs) {
    const auto receiver = StartReceiver(Address());
    Child publisher(Publisher(Address()));
    StartCalls(kCalls);
    WaitUntilStored(kCalls / 10);
    m_broker->Freeze();
    EXPECT_TRUE(publisher.WaitForOutput("=" + std::to_string(kCalls - 1)));
    m_broker->Thaw();
    WaitUntilStored(kCalls);
    End(publisher);
    End(*receiver);
    ExpectAllStored(kCalls);
}

class FleetOverTls : public Fleet {
protected:
    void SetUp() override {
        if (!MosquittoBroker::IsInstalled()) GTEST_SKIP() << MosquittoBroker::Missing();
        MosquittoBroker::Setup setup;
        setup.tls = true;
        setup.asksForCertificate = true;
        setup.user = "door";
        setup.password = "right";
        m_broker = std::make_unique<MosquittoBroker>(setup);
    }

    std::string Address() const { return m_broker->TlsAddress("plant/hall"); }

    // What a client shows, with this password and these certificates.
    std::vector<std::string> Shows(const std::string& password = "right") const {
        return Shows(password, Made().Authority(), Made().Client(), Made().ClientKey());
    }

    std::vector<std::string> Shows(const std::string& password, const std::string& authority,
                                   const std::string& certificate, const std::string& key) const {
        const std::string credentials = m_place.Write("credentials-" + password, "door\n" + password + "\n");
        chmod(credentials.c_str(), 0600);
        return {"--credentials", credentials, "--ca", authority, "--cert", certificate, "--key", key};
    }

    // A run that cannot publish says why, and takes all events; another one that can publishes them.
    void ExpectTold(const std::vector<std::string>& wrong, const std::string& told) {
        const auto receiver = StartReceiver(Address(), Shows());
        Child publisher(Publisher(Address(), Joined(wrong, {"--publish-wait", "0s"})));
        EXPECT_TRUE(publisher.WaitForError(told));
        StartCalls(kCalls);
        EXPECT_TRUE(publisher.WaitForOutput("=" + std::to_string(kCalls - 1)));
        End(publisher);
        EXPECT_EQ(StoredCount(), 0u);
        PublishRest(Address(), Shows());
        WaitUntilStored(kCalls);
        End(*receiver);
        ExpectAllStored(kCalls);
    }

    const BrokerCertificates& Made() const { return m_broker->Certificates(); }

    std::unique_ptr<MosquittoBroker> m_broker;
};

TEST_F(FleetOverTls, AnAuthorityThatDidNotSignTheBrokersCertificateIsTold) {
    ExpectTold(Shows("right", Made().WrongAuthority(), Made().Client(), Made().ClientKey()), "certificate");
}

TEST_F(FleetOverTls, ACertificateThatTheBrokerDoesNotTakeIsTold) {
    ExpectTold(Shows("right", Made().Authority(), Made().WrongClient(), Made().WrongClientKey()), "certificate");
}

TEST_F(FleetOverTls, APasswordThatTheBrokerDoesNotTakeIsTold) {
    ExpectTold(Shows("wrong"), "password");
}

class FleetOnNats : public Fleet {
protected:
    void SetUp() override {
        if (!NatsCluster::IsInstalled()) GTEST_SKIP() << NatsCluster::Missing();
        m_cluster = std::make_unique<NatsCluster>();
    }

    std::unique_ptr<NatsCluster> m_cluster;
};

TEST_F(FleetOnNats, WhatIsPublishedToOneNodeIsReceivedFromAnother) {
    const auto receiver = StartReceiver(m_cluster->Address(2, "plant"));
    Child publisher(Publisher(m_cluster->Address(0, "plant")));
    StartCalls(kCalls);
    WaitUntilStored(kCalls);
    End(publisher);
    End(*receiver);
    ExpectAllStored(kCalls);
}

// The third node goes down, and the two that are left must agree anew.
TEST_F(FleetOnNats, ANodeThatIsKilledLosesNothing) {
    const auto receiver = StartReceiver(m_cluster->Address(2, "plant"));
    Child publisher(Publisher(m_cluster->Address(0, "plant")));
    StartCalls(kCalls);
    WaitUntilStored(kCalls / 10);
    m_cluster->KillNode(1);
    WaitUntilStored(kCalls);
    End(publisher);
    End(*receiver);
    ExpectAllStored(kCalls);
}

TEST_F(FleetOnNats, ThePublishersNodeMayBeKilledAndComeBack) {
    const auto receiver = StartReceiver(m_cluster->Address(2, "plant"));
    Child publisher(Publisher(m_cluster->Address(0, "plant")));
    StartCalls(kCalls);
    WaitUntilStored(kCalls / 10);
    m_cluster->KillNode(0);
    WaitUntilCalled();
    m_cluster->StartNode(0);
    WaitUntilStored(kCalls);
    End(publisher);
    End(*receiver);
    ExpectAllStored(kCalls);
}

}  // namespace
