// The brokers that the other tests here rest on: that they come up, go down and come back, and whom they take.
#include "Broker.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <stdexcept>

namespace {

bool TakesConnections(std::uint16_t port) {
    const int connection = ConnectToPort(port);
    close(connection);
    return connection >= 0;
}

// Throws when either side does not trust the other. The protocol's earlier version tells a client that is refused so.
void ShakeHands(const MosquittoBroker& broker, const std::string& authority, std::vector<std::string> too = {}) {
    std::vector<std::string> command = {FindProgram("openssl"),
                                        "s_client",
                                        "-tls1_2",
                                        "-connect",
                                        "127.0.0.1:" + std::to_string(broker.TlsPort()),
                                        "-CAfile",
                                        authority,
                                        "-verify_return_error",
                                        "-verify_ip",
                                        "127.0.0.1"};
    command.insert(command.end(), too.begin(), too.end());
    RunToItsEnd(command);
}

TEST(MosquittoBroker, ComesBackOnItsPort) {
    if (!MosquittoBroker::IsInstalled()) GTEST_SKIP() << MosquittoBroker::Missing();
    MosquittoBroker broker;
    EXPECT_TRUE(TakesConnections(broker.Port()));
    broker.Stop();
    EXPECT_FALSE(TakesConnections(broker.Port()));
    broker.Start();
    EXPECT_TRUE(TakesConnections(broker.Port()));
    broker.Kill();
    EXPECT_FALSE(TakesConnections(broker.Port()));
    broker.Start();
    EXPECT_EQ(broker.Address("a/b"), "mqtt://127.0.0.1:" + std::to_string(broker.Port()) + "/a/b");
}

TEST(MosquittoBroker, SaysWhyItDoesNotStart) {
    if (!MosquittoBroker::IsInstalled()) GTEST_SKIP() << MosquittoBroker::Missing();
    MosquittoBroker::Setup setup;
    setup.settings = "no_such_setting true\n";
    try {
        const MosquittoBroker broker(setup);
        FAIL() << "it started";
    } catch (const std::runtime_error& error) {
        EXPECT_NE(std::string(error.what()).find("no_such_setting"), std::string::npos) << error.what();
    }
}

TEST(MosquittoBroker, IsTrustedByThoseWhoKnowItsAuthority) {
    if (!MosquittoBroker::IsInstalled()) GTEST_SKIP() << MosquittoBroker::Missing();
    MosquittoBroker::Setup setup;
    setup.tls = true;
    const MosquittoBroker broker(setup);
    EXPECT_NO_THROW(ShakeHands(broker, broker.Certificates().Authority()));
    EXPECT_THROW(ShakeHands(broker, broker.Certificates().WrongAuthority()), std::runtime_error);
}

TEST(MosquittoBroker, AsksForACertificateThatItsAuthoritySigned) {
    if (!MosquittoBroker::IsInstalled()) GTEST_SKIP() << MosquittoBroker::Missing();
    MosquittoBroker::Setup setup;
    setup.tls = true;
    setup.asksForCertificate = true;
    const MosquittoBroker broker(setup);
    const BrokerCertificates& made = broker.Certificates();
    EXPECT_NO_THROW(ShakeHands(broker, made.Authority(), {"-cert", made.Client(), "-key", made.ClientKey()}));
    EXPECT_THROW(ShakeHands(broker, made.Authority()), std::runtime_error);
    EXPECT_THROW(ShakeHands(broker, made.Authority(), {"-cert", made.WrongClient(), "-key", made.WrongClientKey()}),
                 std::runtime_error);
}

TEST(NatsCluster, TakesClientsAtTwoNodesAndAtTheThirdWhenThatIsBack) {
    if (!NatsCluster::IsInstalled()) GTEST_SKIP() << NatsCluster::Missing();
    NatsCluster cluster;
    cluster.KillNode(1);
    EXPECT_FALSE(TakesConnections(cluster.Port(1)));
    cluster.WaitUntilReady(0);
    cluster.WaitUntilReady(2);
    cluster.StartNode(1);
    EXPECT_TRUE(TakesConnections(cluster.Port(1)));
}

}  // namespace
