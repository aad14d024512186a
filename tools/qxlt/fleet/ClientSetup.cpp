#include "ClientSetup.h"

#include <mosquitto.h>
#include <sys/stat.h>

#include <sstream>
#include <string>

#include "Failure.h"
#include "ReadFile.h"

namespace qxlt {

namespace {

constexpr std::size_t kMostBytes = 65536;

const char* OrNull(const std::string& text) {
    return text.empty() ? nullptr : text.c_str();
}

void SetUpTls(mosquitto& client, const BrokerOptions& options) {
    int code = MOSQ_ERR_SUCCESS;
    if (options.ca.empty()) code = mosquitto_int_option(&client, MOSQ_OPT_TLS_USE_OS_CERTS, 1);
    if (code == MOSQ_ERR_SUCCESS) {
        code = mosquitto_tls_set(&client, OrNull(options.ca), nullptr, OrNull(options.certificate),
                                 OrNull(options.key), nullptr);
    }
    if (code == MOSQ_ERR_SUCCESS) return;
    throw Failure(kCannotStart, "--ca, --cert and --key: " + std::string(mosquitto_strerror(code)) +
                                    "; name files that can be read");
}

// The user in the first line, the password in the second.
void SetUpUser(mosquitto& client, const BrokerAddress& address, const std::string& path) {
    struct stat file {};
    if (stat(path.c_str(), &file) == 0 && (file.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
        throw Failure(kCannotStart, path + ": others can read it, or write it; chmod 600 it");
    }
    std::istringstream text(ReadFile(path, kMostBytes));
    std::string user;
    std::string password;
    std::getline(text, user);
    std::getline(text, password);
    if (user.empty() || password.empty()) {
        throw Failure(kCannotStart, path + ": write the user into its first line, the password into the second");
    }
    if (!address.user.empty()) user = address.user;
    mosquitto_username_pw_set(&client, user.c_str(), password.c_str());
}

}  // namespace

void SetUpClient(mosquitto& client, const BrokerAddress& address, const BrokerOptions& options) {
    if (address.isSecure) SetUpTls(client, options);
    if (!options.credentials.empty())
        SetUpUser(client, address, options.credentials);
    else if (!address.user.empty())
        mosquitto_username_pw_set(&client, address.user.c_str(), nullptr);
}

}  // namespace qxlt
