// Events of a live program, from the tracker into a store, over real brokers, while one thing after another breaks:
// what was taken arrives, once.
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "Fleet.h"

namespace {

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr int kCalls = 500;

// A disk with room for some MiB, which the test takes and gives back.
class SmallDisk final {
public:
    explicit SmallDisk(std::string path) : m_path(std::move(path)) {
        fs::create_directory(m_path);
        m_isMounted = mount("tmpfs", m_path.c_str(), "tmpfs", 0, "size=4m") == 0;
    }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;
    ~SmallDisk() {
        if (m_isMounted) umount2(m_path.c_str(), MNT_DETACH);
    }

    bool IsMounted() const { return m_isMounted; }

    void Fill() const {
        std::ofstream file(m_path + "/filler", std::ios::binary);
        const std::string block(4096, '-');
        while (file.write(block.data(), static_cast<std::streamsize>(block.size())).flush()) {
        }
    }
    void Free() const { fs::remove(m_path + "/filler"); }

private:
    const std::string m_path;
    bool m_isMounted = false;
};

class FleetOnMosquitto : public Fleet {
protected:
    void SetUp() override {
        if (!MosquittoBroker::IsInstalled()) GTEST_SKIP() << MosquittoBroker::Missing();
        m_broker = std::make_unique<MosquittoBroker>();
    }

    std::string Address() const { return m_broker->Address("plant/hall"); }

    // That of the last line, where those are JSON.
    int ShownCycle() const {
        const std::string key = "{\"cycle\":";
        const std::string shown = m_place.Read("shown");
        const std::size_t last = shown.rfind(key);
        return last == std::string::npos ? 0 : std::stoi(shown.substr(last + key.size()));
    }

    std::unique_ptr<MosquittoBroker> m_broker;
};

TEST_F(FleetOnMosquitto, EveryEventIsStoredOnce) {
    const auto receiver = StartReceiver(Address());
    const auto publisher = StartPublisher(Address());
    StartCalls(kCalls);
    WaitUntilStored(kCalls);
    End(*publisher);
    End(*receiver);
    ExpectAllStored(kCalls);
}

// The receiver had been there once: the broker then keeps what comes for it.
TEST_F(FleetOnMosquitto, KeepsWhatComesForAReceiverThatIsKilled) {
    auto receiver = StartReceiver(Address());
    const auto publisher = StartPublisher(Address());
    StartCalls(kCalls);
    WaitUntilStored(kCalls / 10);
    receiver->Signal(SIGKILL);
    receiver->Finish();
    WaitUntilCalled();
    receiver = StartReceiver(Address());
    WaitUntilStored(kCalls);
    End(*publisher);
    End(*receiver);
    ExpectAllStored(kCalls);
}

// The outbox tells what the killed run had taken: nothing of that is missing then. What was published and not yet
// acknowledged is published again.
TEST_F(FleetOnMosquitto, PublishesWhatAKilledRunHadTaken) {
    const auto receiver = StartReceiver(Address());
    const auto publisher = StartPublisher(Address(), {"--format", "json"});
    StartCalls(0);
    WaitUntilStored(kCalls / 10);
    m_broker->Freeze();
    // The events of a cycle are taken when the next one begins.
    const int cycle = ShownCycle();
    EXPECT_TRUE(WaitUntil([&] { return ShownCycle() >= cycle + 2; }));
    publisher->Signal(SIGKILL);
    publisher->Finish();
    StopCalls();
    const std::vector<std::string> last = Select("outbox", "SELECT max(number) FROM message");
    ASSERT_THAT(last, ElementsAre(Not(IsEmpty())));
    const std::size_t taken = std::stoul(last.front());
    EXPECT_GT(taken, StoredCount());
    m_broker->Thaw();
    PublishRest(Address());
    WaitUntilStored(taken);
    End(*receiver);
    ExpectAllStored(taken);
    EXPECT_THAT(Select("outbox", "SELECT number FROM message"), IsEmpty());
}

// Two outboxes that hold the same: whatever they publish, the second time is one time too many.
TEST_F(FleetOnMosquitto, RemovesWhatComesTwice) {
    End(*StartReceiver(Address()));
    const auto publisher = StartPublisher(Address(), {"--publish-wait", "1ms"});
    m_broker->Stop();
    StartCalls(kCalls);
    WaitUntilCalled();
    WaitUntilShown(kCalls);
    End(*publisher);
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
    const auto publisher = StartPublisher(Address());
    StartCalls(kCalls);
    WaitUntilStored(kCalls / 10);
    m_broker->Stop();
    WaitUntilCalled();
    m_broker->Start();
    WaitUntilStored(kCalls);
    End(*publisher);
    End(*receiver);
    ExpectAllStored(kCalls);
}

// It keeps the connection and answers nothing: events come out of the run all the same.
TEST_F(FleetOnMosquitto, TheRunDoesNotWaitForABrokerThatHangs) {
    const auto receiver = StartReceiver(Address());
    const auto publisher = StartPublisher(Address());
    StartCalls(kCalls);
    WaitUntilStored(kCalls / 10);
    m_broker->Freeze();
    WaitUntilShown(kCalls);
    m_broker->Thaw();
    WaitUntilStored(kCalls);
    End(*publisher);
    End(*receiver);
    ExpectAllStored(kCalls);
}

// Events of that time were not taken: they have no number, and leave no gap.
TEST_F(FleetOnMosquitto, AFullDiskIsToldAndLeavesNoGap) {
    const SmallDisk disk(m_place.At("disk"));
    if (!disk.IsMounted()) GTEST_SKIP() << "a disk of its own needs the right to mount one";
    const auto receiver = StartReceiver(Address());
    const auto publisher = StartPublisher(Address(), {}, "disk/outbox");
    StartCalls(0);
    WaitUntilStored(kCalls / 10);
    m_broker->Stop();
    disk.Fill();
    EXPECT_TRUE(publisher->WaitForError("; events are not published until it has room"));
    disk.Free();
    EXPECT_TRUE(publisher->WaitForError("it has room again; "));
    m_broker->Start();
    WaitUntilStored(StoredCount() + kCalls);
    End(*publisher, 1);
    End(*receiver);
    EXPECT_THAT(publisher->Error(), HasSubstr("could not be kept for the broker"));
    const std::vector<std::string> stored = ExpectNoGap();
    ASSERT_THAT(stored, Not(IsEmpty()));
    EXPECT_GT(std::stoul(stored.back()), stored.size());
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
        const auto publisher = StartPublisher(Address(), Joined(wrong, {"--publish-wait", "1ms"}));
        EXPECT_TRUE(publisher->WaitForError(told)) << publisher->Error();
        StartCalls(kCalls);
        WaitUntilShown(kCalls);
        End(*publisher);
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
    ExpectTold(Shows("right", Made().Authority(), Made().WrongClient(), Made().WrongClientKey()), "unknown ca");
}

TEST_F(FleetOverTls, APasswordThatTheBrokerDoesNotTakeIsTold) {
    ExpectTold(Shows("wrong"), "look at --credentials");
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
    const auto publisher = StartPublisher(m_cluster->Address(0, "plant"));
    StartCalls(kCalls);
    WaitUntilStored(kCalls);
    End(*publisher);
    End(*receiver);
    ExpectAllStored(kCalls);
}

// The third node goes down, and the two that are left must agree anew.
TEST_F(FleetOnNats, ANodeThatIsKilledLosesNothing) {
    const auto receiver = StartReceiver(m_cluster->Address(2, "plant"));
    const auto publisher = StartPublisher(m_cluster->Address(0, "plant"));
    StartCalls(kCalls);
    WaitUntilStored(kCalls / 10);
    m_cluster->KillNode(1);
    WaitUntilStored(kCalls);
    End(*publisher);
    End(*receiver);
    ExpectAllStored(kCalls);
}

TEST_F(FleetOnNats, ThePublishersNodeMayBeKilledAndComeBack) {
    const auto receiver = StartReceiver(m_cluster->Address(2, "plant"));
    const auto publisher = StartPublisher(m_cluster->Address(0, "plant"));
    StartCalls(kCalls);
    WaitUntilStored(kCalls / 10);
    m_cluster->KillNode(0);
    WaitUntilCalled();
    m_cluster->StartNode(0);
    WaitUntilStored(kCalls);
    End(*publisher);
    End(*receiver);
    ExpectAllStored(kCalls);
}

}  // namespace
