#include "PublishOptions.h"

#include <CLI/CLI.hpp>

#include "SecondsOption.h"
#include "SizeText.h"

namespace qxlt {

namespace {

constexpr std::uint64_t kLeastOutbox = 4000000;

std::string RequireOutboxSize(const std::string& text) {
    std::string problem = RequireSize(text);
    if (!problem.empty() || *ReadSize(text) >= kLeastOutbox) return problem;
    return "an outbox of " + text + " holds too little; give it 4MB or more";
}

}  // namespace

void AddPublishOptions(CLI::App& command, PublishOptions& options) {
    CLI::Option& publish =
        *command
             .add_option("--publish", options.broker.address, "Publish the events that are shown to this broker, too")
             ->option_text("mqtt[s]://[USER@]HOST[:PORT]/PREFIX");
    command.add_option("--device", options.device, "What this device is called there (default: by its machine id)")
        ->needs(&publish)
        ->option_text("NAME");
    AddBrokerOptions(command, options.broker);
    command.add_option("--outbox", options.outbox, "Where events wait for the broker (default: by the device's name)")
        ->needs(&publish)
        ->option_text("FILE");
    command
        .add_option_function<std::string>(
            "--outbox-size", [&options](const std::string& text) { options.outboxBytes = ReadSize(text).value_or(0); },
            "How large that may get (64MB); the oldest events go first")
        ->check(RequireOutboxSize)
        ->needs(&publish)
        ->option_text("SIZE");
    AddSecondsOption(command, "--outbox-age", options.outboxSeconds, "How long events wait (7d)").needs(&publish);
    AddSecondsOption(command, "--status-every", options.statusSeconds, "How often the status is published (30s)")
        .needs(&publish);
    AddSecondsOption(command, "--publish-wait", options.waitSeconds,
                     "How long the end waits until all is published (5s)")
        .needs(&publish);
}

}  // namespace qxlt
