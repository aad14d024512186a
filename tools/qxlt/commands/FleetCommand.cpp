#include <CLI/CLI.hpp>
#include <memory>

#include "CommandList.h"
#include "FleetOptions.h"
#include "SecondsOption.h"
#include "ShowingOptions.h"

namespace qxlt {

namespace {

constexpr char kExamples[] =
    "  qxlt fleet mqtt://broker.example/fleet\n"
    "  qxlt fleet mqtts://broker.example/fleet --ca ca.pem --credentials broker.conf --device 'tv-*' --event "
    "'VOLUME_*'\n"
    "  qxlt fleet mqtts://broker.example/fleet --store events.sqlite --quiet > /dev/null\n"
    "  qxlt fleet mqtts://broker.example/fleet --store postgresql://qxlt@database.example/fleet\n"
    "  qxlt fleet mqtt://broker.example/fleet --top --every 10s\n";

// The broker would cut it off, or take it for none.
std::string RequireClient(const std::string& text) {
    const bool isName =
        !text.empty() && text.size() <= 64 &&
        text.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_-") == std::string::npos;
    return isName ? "" : "a client's name has up to 64 letters, digits, _ and -";
}

std::string RequireStore(const std::string& text) {
    return text.empty() ? "the store has no name" : "";
}

void AddPatterns(CLI::App& command, const std::string& option, std::vector<std::string>& patterns,
                 const std::string& description) {
    command.add_option(option, patterns, description)->allow_extra_args(false)->option_text("GLOB");
}

int Fleet(const FleetOptions& options, const Invocation& invocation) {
    if (!invocation.extensions.receive) BecomeFleetProgram("fleet", invocation.arguments);
    return invocation.extensions.receive(options, invocation.common);
}

}  // namespace

void AddFleet(CLI::App& app, Invocation& invocation) {
    const auto options = std::make_shared<FleetOptions>();
    CLI::App& command =
        AddCommand(app, invocation, "fleet", "Receive the events that many devices publish, and what is missing",
                   kExamples, [options, &invocation] { return Fleet(*options, invocation); });
    command.add_option("BROKER", options->broker.address, "The broker, and what the topics begin with")
        ->required()
        ->option_text("mqtt[s]://[USER@]HOST[:PORT]/PREFIX");
    AddPatterns(command, "--device", options->devices, "Receive from these devices only");
    AddPatterns(command, "--event", options->events, "Show and store these events only; all are counted");
    command.add_option("--store", options->store, "Store the events here, too")
        ->check(RequireStore)
        ->option_text("FILE|postgresql://...");
    command
        .add_option("--client", options->client,
                    "The name under which the broker keeps what comes while nobody receives (default with --store: by "
                    "host and topics)")
        ->check(RequireClient)
        ->option_text("NAME");
    AddSecondsOption(command, "--grace", options->graceSeconds,
                     "How late an event may be before it is missing (default: 10s)");
    CLI::Option& top = *command.add_flag("--top", options->top, "Show which events fire how often, by device");
    AddSecondsOption(command, "--every", options->everySeconds, "How often that is shown (default: 1s)").needs(&top);
    AddSecondsOption(command, "--for", options->seconds, "End after this time");
    AddBrokerOptions(command, options->broker);
    AddQuietOption(command);
}

}  // namespace qxlt
