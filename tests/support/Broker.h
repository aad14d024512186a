// Brokers that a test starts for itself: each has ports and a data directory of its own, and none outlives the test.
#pragma once

#include <signal.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "BrokerCertificates.h"
#include "ServerProcess.h"
#include "Workplace.h"

// One mosquitto. What it has for clients that are away it keeps over Stop and Start; as is usual with it, not over
// Kill.
class MosquittoBroker final {
public:
    struct Setup {
        bool tls = false;                 // has a second listener, with the server's certificate
        bool asksForCertificate = false;  // there it takes only clients with a certificate
        std::string user = "";            // empty: it takes anybody
        std::string password = "";
        std::string settings = "";  // more lines of its configuration
    };

    // False: tests skip. Why is in Missing().
    static bool IsInstalled();
    static std::string Missing() { return "mosquitto, mosquitto_passwd or openssl is not installed"; }

    // Started, and takes connections. Throws std::runtime_error.
    explicit MosquittoBroker(const Setup& setup);
    MosquittoBroker() : MosquittoBroker(Setup()) {}

    // Ends it orderly.
    void Stop() { m_process->End(SIGTERM); }
    void Kill() { m_process->End(SIGKILL); }
    // On the same ports again. Requires: it does not run.
    void Start();

    // It keeps its connections, and answers nothing.
    void Freeze() const { m_process->Signal(SIGSTOP); }
    void Thaw() const { m_process->Signal(SIGCONT); }

    std::uint16_t Port() const { return m_port; }
    // Requires: Setup::tls.
    std::uint16_t TlsPort() const { return m_tlsPort; }
    const BrokerCertificates& Certificates() const { return *m_certificates; }

    // mqtt://127.0.0.1:PORT/PREFIX, and mqtts:// for the listener with TLS.
    std::string Address(const std::string& prefix) const;
    std::string TlsAddress(const std::string& prefix) const;

    // Requires: it runs.
    pid_t Pid() const { return m_process->Pid(); }
    std::string LogEnd() const { return m_process->LogEnd(); }

private:
    std::string Configuration(const Setup& setup) const;

    const Workplace m_place;
    std::uint16_t m_port = 0;
    std::uint16_t m_tlsPort = 0;
    std::unique_ptr<BrokerCertificates> m_certificates;
    std::unique_ptr<ServerProcess> m_process;
};

// Three nats-server that are one cluster, each with a listener for MQTT. What clients publish is kept by all three, and
// is lost by none that is killed.
class NatsCluster final {
public:
    static constexpr std::size_t kNodes = 3;

    static bool IsInstalled();
    static std::string Missing() { return "nats-server is not installed"; }

    // Started; each node takes clients of MQTT, for which they must have agreed on a leader. Throws std::runtime_error.
    NatsCluster();

    void KillNode(std::size_t node) { m_nodes.at(node).process->End(SIGKILL); }
    void StopNode(std::size_t node) { m_nodes.at(node).process->End(SIGTERM); }
    // On the same ports again; returns when it takes clients. Requires: it does not run.
    void StartNode(std::size_t node);

    // Waits until that node takes a client of MQTT, which needs most of the nodes and a leader.
    void WaitUntilReady(std::size_t node);

    std::uint16_t Port(std::size_t node) const { return m_nodes.at(node).mqttPort; }
    std::string Address(std::size_t node, const std::string& prefix) const;
    pid_t Pid(std::size_t node) const { return m_nodes.at(node).process->Pid(); }
    std::string LogEnd(std::size_t node) const { return m_nodes.at(node).process->LogEnd(); }

private:
    struct Node {
        std::uint16_t clusterPort = 0;
        std::uint16_t mqttPort = 0;
        std::uint16_t monitorPort = 0;
        std::unique_ptr<ServerProcess> process;
    };

    std::string Configuration(std::size_t node) const;

    const Workplace m_place;
    std::array<Node, kNodes> m_nodes;
};
