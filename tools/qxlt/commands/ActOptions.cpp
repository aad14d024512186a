#include "ActOptions.h"

#include <CLI/CLI.hpp>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "EventPrograms.h"
#include "LiveRun.h"
#include "ScriptOptions.h"
#include "TimeText.h"

namespace qxlt {

namespace {

constexpr char kExec[] = "--exec";
constexpr unsigned kMostAtOnce = 64;
constexpr double kLongestSeconds = 86400;  // a program that takes longer is none that an event waits for
constexpr std::chrono::milliseconds kUsualLimit(10000);

struct ActChoice {
    std::vector<EventProgram> programs;
    ProgramRunner::Bounds bounds;
};

EventProgram ReadProgram(const std::string& text) {
    const std::size_t end = text.find('=');
    if (end == std::string::npos || end == 0 || end + 1 == text.size()) {
        throw CLI::ValidationError(std::string(kExec) + ": \"" + text + "\" is no EVENT=COMMAND");
    }
    return {text.substr(0, end), text.substr(end + 1)};
}

std::unique_ptr<IRunPart> MakePrograms(const ActChoice& choice, const RunSurroundings& surroundings) {
    for (const EventProgram& program : choice.programs) {
        RequireKnownPattern(kExec, program.event, surroundings.scripts.Events());
    }
    return std::make_unique<EventPrograms>(choice.programs, choice.bounds);
}

std::chrono::milliseconds LimitOf(const std::string& text) {
    const double seconds = std::min(ReadSeconds(text).value_or(0), kLongestSeconds);
    return std::chrono::milliseconds(static_cast<std::int64_t>(std::ceil(seconds * 1000)));
}

}  // namespace

void AddActOptions(CLI::App& command, RunOptions& options) {
    const auto choice = std::make_shared<ActChoice>();
    choice->bounds.limit = kUsualLimit;
    CLI::Option* const exec =
        command
            .add_option_function<std::vector<std::string>>(
                kExec,
                [choice, &options](const std::vector<std::string>& texts) {
                    for (const std::string& text : texts) choice->programs.push_back(ReadProgram(text));
                    options.parts.emplace_back(
                        [choice](const RunSurroundings& surroundings) { return MakePrograms(*choice, surroundings); });
                },
                "Run a command of the shell when such an event fires, with the event as JSON on standard input")
            ->allow_extra_args(false)
            ->option_text("EVENT=COMMAND");
    command.add_option("--exec-at-once", choice->bounds.atOnce, "How many of them run at the same time (default 4)")
        ->check(CLI::Range(1U, kMostAtOnce))
        ->needs(exec)
        ->option_text("NUMBER");
    command
        .add_option_function<std::string>(
            "--exec-limit", [choice](const std::string& text) { choice->bounds.limit = LimitOf(text); },
            "Kill one that runs longer (default 10s)")
        ->check(RequireLength)
        ->needs(exec)
        ->option_text("TIME");
}

}  // namespace qxlt
