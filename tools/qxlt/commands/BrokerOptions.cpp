#include "BrokerOptions.h"

#include <CLI/CLI.hpp>

namespace qxlt {

void AddBrokerOptions(CLI::App& command, BrokerOptions& options) {
    command
        .add_option("--ca", options.ca,
                    "Trust a broker with a certificate of these authorities (default: the system's)")
        ->option_text("FILE");
    CLI::Option& certificate =
        *command.add_option("--cert", options.certificate, "Show the broker this certificate")->option_text("FILE");
    CLI::Option& key = *command.add_option("--key", options.key, "The private key of that")->option_text("FILE");
    certificate.needs(&key);
    key.needs(&certificate);
    command.add_option("--credentials", options.credentials, "User and password, in a file that others cannot read")
        ->option_text("FILE");
}

}  // namespace qxlt
