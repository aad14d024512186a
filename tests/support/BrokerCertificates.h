// Certificates as a broker with TLS and its clients have them, made anew in a folder.
#pragma once

#include <string>

class BrokerCertificates final {
public:
    // Made by the openssl command in that folder, which must exist. Throws std::runtime_error.
    explicit BrokerCertificates(const std::string& folder);

    static bool CanBeMade();

    std::string Authority() const { return m_folder + "/ca.crt"; }
    // The server's is for localhost and 127.0.0.1.
    std::string Server() const { return m_folder + "/server.crt"; }
    std::string ServerKey() const { return m_folder + "/server.key"; }
    std::string Client() const { return m_folder + "/client.crt"; }
    std::string ClientKey() const { return m_folder + "/client.key"; }

    // An authority that signed none of the others, and a client's certificate that it did sign.
    std::string WrongAuthority() const { return m_folder + "/wrong-ca.crt"; }
    std::string WrongClient() const { return m_folder + "/wrong-client.crt"; }
    std::string WrongClientKey() const { return m_folder + "/wrong-client.key"; }

private:
    void MakeAuthority(const std::string& name) const;
    void MakeSigned(const std::string& name, const std::string& authority, const std::string& subject) const;

    const std::string m_folder;
};
