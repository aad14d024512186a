#include "BrokerCertificates.h"

#include <vector>

#include "ServerProcess.h"

namespace {

// Keys of this kind are made at once.
std::vector<std::string> NewKey(const std::string& path) {
    return {"-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-keyout", path};
}

void RunOpenssl(const std::vector<std::string>& first, const std::vector<std::string>& then) {
    std::vector<std::string> command = {FindProgram("openssl")};
    command.insert(command.end(), first.begin(), first.end());
    command.insert(command.end(), then.begin(), then.end());
    RunToItsEnd(command);
}

}  // namespace

BrokerCertificates::BrokerCertificates(const std::string& folder) : m_folder(folder) {
    MakeAuthority("ca");
    MakeAuthority("wrong-ca");
    MakeSigned("server", "ca", "/CN=localhost");
    MakeSigned("client", "ca", "/CN=device");
    MakeSigned("wrong-client", "wrong-ca", "/CN=device");
}

bool BrokerCertificates::CanBeMade() {
    return !FindProgram("openssl").empty();
}

void BrokerCertificates::MakeAuthority(const std::string& name) const {
    const std::string path = m_folder + "/" + name;
    std::vector<std::string> request = {"req", "-x509", "-days", "3650"};
    const std::vector<std::string> key = NewKey(path + ".key");
    request.insert(request.end(), key.begin(), key.end());
    RunOpenssl(request, {"-out", path + ".crt", "-subj", "/CN=" + name});
}

void BrokerCertificates::MakeSigned(const std::string& name, const std::string& authority,
                                    const std::string& subject) const {
    const std::string path = m_folder + "/" + name;
    const std::string signer = m_folder + "/" + authority;
    std::vector<std::string> request = {"req"};
    const std::vector<std::string> key = NewKey(path + ".key");
    request.insert(request.end(), key.begin(), key.end());
    RunOpenssl(request,
               {"-out", path + ".csr", "-subj", subject, "-addext", "subjectAltName=DNS:localhost,IP:127.0.0.1"});
    RunOpenssl({"x509", "-req", "-days", "3650", "-in", path + ".csr", "-copy_extensions", "copy"},
               {"-CA", signer + ".crt", "-CAkey", signer + ".key", "-CAcreateserial", "-out", path + ".crt"});
}
