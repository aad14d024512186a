#include "Broker.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <stdexcept>

namespace {

using Clock = std::chrono::steady_clock;

// Three nodes that start at once on a busy machine agree on a leader late.
constexpr std::chrono::seconds kPatience(60);

std::string UrlOf(const std::string& scheme, std::uint16_t port, const std::string& prefix) {
    return scheme + "://127.0.0.1:" + std::to_string(port) + "/" + prefix;
}

// What the listener answers to these words, up to so many bytes; less, when it closes or says nothing for some seconds.
std::string Ask(std::uint16_t port, const std::string& words, std::size_t size) {
    const int connection = ConnectToPort(port);
    if (connection < 0) return {};
    const timeval patience = {6, 0};
    setsockopt(connection, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    std::string answer(size, '\0');
    const bool said = send(connection, words.data(), words.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(words.size());
    const ssize_t count = said ? recv(connection, &answer[0], size, MSG_WAITALL) : 0;
    close(connection);
    answer.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
    return answer;
}

// What a client of MQTT 3.1.1 says first: a session of its own each time, 60 s to live.
std::string FirstWords(const std::string& client) {
    std::string body("\0\4MQTT\4\2\0\74\0", 11);
    body += static_cast<char>(client.size());
    body += client;
    return std::string("\20") + static_cast<char>(body.size()) + body;
}

bool TakesClient(std::uint16_t port) {
    const std::string answer = Ask(port, FirstWords("ready" + std::to_string(port)), 4);
    constexpr char kAnswer = 0x20;
    return answer.size() == 4 && answer[0] == kAnswer && answer[3] == 0;
}

// Whether the node knows who leads the cluster. A client that comes before makes it wait for some seconds.
bool KnowsLeader(std::uint16_t monitorPort) {
    const std::string answer = Ask(monitorPort, "GET /jsz HTTP/1.0\r\n\r\n", 4096);
    return answer.find("\"leader\": \"") != std::string::npos;
}

}  // namespace

bool MosquittoBroker::IsInstalled() {
    return !FindProgram("mosquitto").empty() && !FindProgram("mosquitto_passwd").empty() &&
           BrokerCertificates::CanBeMade();
}

MosquittoBroker::MosquittoBroker(const Setup& setup) {
    const std::vector<std::uint16_t> ports = FreePorts(2);
    m_port = ports[0];
    if (setup.tls) {
        m_tlsPort = ports[1];
        m_certificates = std::make_unique<BrokerCertificates>(m_place.Path());
    }
    if (!setup.user.empty()) {
        RunToItsEnd({FindProgram("mosquitto_passwd"), "-b", "-c", m_place.At("passwords"), setup.user, setup.password});
    }
    const std::string configuration = m_place.Write("mosquitto.conf", Configuration(setup));
    m_process = std::make_unique<ServerProcess>(std::vector<std::string>{FindProgram("mosquitto"), "-c", configuration},
                                                m_place.At("log"));
    Start();
}

void MosquittoBroker::Start() {
    m_process->Start();
    m_process->WaitForPort(m_port);
    if (m_tlsPort != 0) m_process->WaitForPort(m_tlsPort);
}

// It would otherwise drop what comes for a client that is away once that is 1,000 messages, and become a user who
// cannot read the test's files. The listener with TLS is the last: what stands behind it is about it.
std::string MosquittoBroker::Configuration(const Setup& setup) const {
    std::string text = "user root\nlog_dest stderr\npersistence true\npersistence_location " + m_place.Path() +
                       "/\nmax_queued_messages 0\n";
    text += setup.user.empty() ? "allow_anonymous true\n"
                               : "allow_anonymous false\npassword_file " + m_place.At("passwords") + "\n";
    text += setup.settings + "listener " + std::to_string(m_port) + " 127.0.0.1\n";
    if (!setup.tls) return text;
    text += "listener " + std::to_string(m_tlsPort) + " 127.0.0.1\ncafile " + m_certificates->Authority() +
            "\ncertfile " + m_certificates->Server() + "\nkeyfile " + m_certificates->ServerKey() + "\n";
    return setup.asksForCertificate ? text + "require_certificate true\n" : text;
}

std::string MosquittoBroker::Address(const std::string& prefix) const {
    return UrlOf("mqtt", m_port, prefix);
}

std::string MosquittoBroker::TlsAddress(const std::string& prefix) const {
    return UrlOf("mqtts", m_tlsPort, prefix);
}

bool NatsCluster::IsInstalled() {
    return !FindProgram("nats-server").empty();
}

NatsCluster::NatsCluster() {
    const std::vector<std::uint16_t> ports = FreePorts(3 * kNodes);
    for (std::size_t node = 0; node < kNodes; ++node) {
        m_nodes[node].clusterPort = ports[3 * node];
        m_nodes[node].mqttPort = ports[3 * node + 1];
        m_nodes[node].monitorPort = ports[3 * node + 2];
    }
    for (std::size_t node = 0; node < kNodes; ++node) {
        const std::string name = "node" + std::to_string(node);
        const std::string configuration = m_place.Write(name + ".conf", Configuration(node));
        m_nodes[node].process = std::make_unique<ServerProcess>(
            std::vector<std::string>{FindProgram("nats-server"), "-c", configuration}, m_place.At(name + ".log"));
        m_nodes[node].process->Start();
        m_nodes[node].process->WaitForPort(
            m_nodes[node].clusterPort);  // the next one looks for it at once, or in a second
    }
    for (std::size_t node = 0; node < kNodes; ++node) WaitUntilReady(node);
}

void NatsCluster::StartNode(std::size_t node) {
    m_nodes.at(node).process->Start();
    WaitUntilReady(node);
}

void NatsCluster::WaitUntilReady(std::size_t node) {
    ServerProcess& process = *m_nodes.at(node).process;
    const Clock::time_point limit = Clock::now() + kPatience;
    const std::uint16_t monitorPort = m_nodes.at(node).monitorPort;
    process.WaitForPort(Port(node));
    while (!KnowsLeader(monitorPort) || !TakesClient(Port(node))) {
        if (!process.IsRunning()) throw std::runtime_error("nats-server ended: " + LogEnd(node));
        if (Clock::now() > limit) throw std::runtime_error("nats-server takes no client: " + LogEnd(node));
        poll(nullptr, 0, 20);
    }
}

std::string NatsCluster::Configuration(std::size_t node) const {
    std::string routes;
    for (const Node& other : m_nodes) routes += " \"nats://127.0.0.1:" + std::to_string(other.clusterPort) + "\",";
    const std::string name = "node" + std::to_string(node);
    return "server_name: " + name +
           "\nhost: 127.0.0.1\nport: -1\nhttp: \"127.0.0.1:" + std::to_string(m_nodes[node].monitorPort) +
           "\"\njetstream { store_dir: \"" + m_place.At(name) +
           "\" }\ncluster { name: fleet, host: 127.0.0.1, port: " + std::to_string(m_nodes[node].clusterPort) +
           ", routes: [" + routes + " ] }\nmqtt { host: 127.0.0.1, port: " + std::to_string(Port(node)) + " }\n";
}

std::string NatsCluster::Address(std::size_t node, const std::string& prefix) const {
    return UrlOf("mqtt", Port(node), prefix);
}
