#include "RulesOptions.h"

#include <CLI/CLI.hpp>
#include <memory>

#include "LiveRun.h"
#include "RuleReload.h"

namespace qxlt {

void AddRulesOptions(CLI::App& command, RunOptions& options) {
    command.add_flag("--watch", options.watchesRules, "Have changed scripts take over while the run goes on");
    options.parts.emplace_back([&options](const RunSurroundings& surroundings) {
        const ScriptOptions& scripts = options.scripts;
        return std::make_unique<RuleReload>(
            RuleSource{scripts.scripts, scripts.calls, options.processes, options.watchesRules}, surroundings);
    });
}

}  // namespace qxlt
