#include "HealthOptions.h"

#include <CLI/CLI.hpp>
#include <string>

namespace qxlt {

namespace {

std::string RequireFile(const std::string& text) {
    return text.empty() ? "the file has no name" : "";
}

}  // namespace

void AddHealthOptions(CLI::App& command, RunOptions& options) {
    options.health.answers = true;
    command.add_option("--status-file", options.health.status, "Write how the run is doing, as JSON, once a second")
        ->check(RequireFile)
        ->option_text("FILE");
    command.add_option("--metrics-file", options.health.metrics, "The same as metrics, for Prometheus' node exporter")
        ->check(RequireFile)
        ->option_text("FILE.prom");
}

}  // namespace qxlt
