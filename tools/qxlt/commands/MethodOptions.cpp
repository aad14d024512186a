#include "MethodOptions.h"

#include <CLI/CLI.hpp>
#include <string>
#include <utility>
#include <vector>

#include "Command.h"

namespace qxlt {

void AddMethodOptions(CLI::App& command, StatisticsChoice& statistics, MethodOrder& order) {
    command
        .add_option("--error", statistics.errors, "Count results of such a text as errors ('-*', false, 'no result')")
        ->allow_extra_args(false)
        ->option_text("GLOB");
    std::vector<std::pair<std::string, MethodColumn>> words;
    for (const MethodColumnName& name : kMethodColumns) words.emplace_back(name.word, name.column);
    AddChoice(command, "--sort", order.column, words, "What comes first (default: calls)");
}

}  // namespace qxlt
