#include "ShowingOptions.h"

#include <CLI/CLI.hpp>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "Command.h"
#include "Messages.h"

namespace qxlt {

namespace {

const std::vector<std::pair<std::string, TimeFormat>> kTimeFormats = {
    {"wall", TimeFormat::Wall}, {"relative", TimeFormat::Relative}, {"raw", TimeFormat::Raw}};

std::string ColumnWords() {
    std::string words;
    for (const char* const name : kColumnNames) words += (words.empty() ? "" : ",") + std::string(name);
    return words;
}

void AddPatterns(CLI::App& command, const std::string& option, std::vector<std::string>& patterns,
                 const std::string& description) {
    command.add_option(option, patterns, description)->allow_extra_args(false)->option_text("GLOB");
}

void AddBound(CLI::App& command, const std::string& option, TimeBound& bound, const std::string& description) {
    const auto read = [&bound, option](const std::string& text) {
        const std::optional<TimeBound> time = ReadTimeBound(text);
        if (!time) {
            throw CLI::ValidationError(option + ": \"" + text +
                                       "\" is no time above 0; write 500ms, 10s, 2m, or 2026-03-01T12:30:00Z");
        }
        bound = *time;
    };
    command.add_option_function<std::string>(option, read, description)->option_text("TIME");
}

}  // namespace

void AddTimeOption(CLI::App& command, ShowOptions& show) {
    AddChoice(command, "--time", show.time, kTimeFormats,
              "Times of day, seconds since the run began (default on a terminal), or the recorded numbers");
}

void AddEventOptions(CLI::App& command, ShowOptions& show) {
    const auto read = [&show](const std::string& text) {
        const std::optional<std::vector<Column>> columns = ReadColumns(text);
        if (!columns) {
            throw CLI::ValidationError("--columns: \"" + text + "\" is no list of these, each once: " + ColumnWords());
        }
        show.columns = *columns;
    };
    command.add_option_function<std::string>("--columns", read, "What a line shows, out of " + ColumnWords())
        ->option_text("NAME,...");
    AddPatterns(command, "--event", show.filter.events, "Show events of such a name only");
}

void AddFilterOptions(CLI::App& command, ShowOptions& show) {
    AddPatterns(command, "--method", show.filter.methods, "Show calls of such a method only, as Name or package.Name");
    AddPatterns(command, "--only-process", show.filter.processes, "Show calls of such a process only");
    AddPatterns(command, "--thread", show.filter.threads, "Show calls of a thread of such a name, or number, only");
}

void AddBoundOptions(CLI::App& command, ShowOptions& show) {
    AddBound(command, "--since", show.filter.since, "Show calls from then on: 10s after the start, or a time of day");
    AddBound(command, "--until-time", show.filter.until, "Show calls before that time only");
}

void AddQuietOption(CLI::App& command) {
    command.add_flag_callback("--quiet", SetQuiet, "Say nothing on standard error but warnings and errors");
}

}  // namespace qxlt
