#include "KeepOptions.h"

#include <CLI/CLI.hpp>
#include <memory>
#include <string>
#include <utility>

#include "KeptDumps.h"
#include "KeptFirings.h"
#include "LiveRun.h"
#include "ScriptOptions.h"
#include "SizeText.h"

namespace qxlt {

namespace {

constexpr char kKeepOn[] = "--keep-on";
constexpr std::uint64_t kMostCycles = 1000000;

struct KeepChoice {
    std::string all;     // where all dumps are kept, and
    std::string firing;  // the directory behind the options
    KeptFirings::Options options;
};

// Where captures of events go may be said in either way.
std::unique_ptr<IRunPart> MakePart(const KeepChoice& choice, const RunSurroundings& surroundings) {
    if (choice.options.events.empty()) {
        if (choice.firing.empty()) return std::make_unique<KeptDumps>(choice.all);
        throw Failure(kCannotStart, "\"" + choice.firing +
                                        "\" is where --keep-on EVENT keeps captures; add that, or write --keep " +
                                        choice.firing + " to keep all cycles");
    }
    if (choice.all.empty() == choice.firing.empty()) {
        throw Failure(kCannotStart, "--keep-on needs one directory; add --keep DIR");
    }
    for (const std::string& event : choice.options.events) {
        RequireKnownPattern(kKeepOn, event, surroundings.scripts.Events());
    }
    return std::make_unique<KeptFirings>(choice.all.empty() ? choice.firing : choice.all, choice.options);
}

void AddSize(CLI::App& command, const std::string& option, std::uint64_t& size, const std::string& description,
             CLI::Option& needed) {
    command
        .add_option_function<std::string>(
            option, [&size](const std::string& text) { size = ReadSize(text).value_or(0); }, description)
        ->check(RequireSize)
        ->needs(&needed)
        ->option_text("SIZE");
}

void AddNumber(CLI::App& command, const std::string& option, std::uint64_t& number, std::uint64_t least,
               const std::string& description, CLI::Option& needed) {
    command.add_option(option, number, description)
        ->check(CLI::Range(least, kMostCycles))
        ->needs(&needed)
        ->option_text("NUMBER");
}

}  // namespace

void AddKeepOptions(CLI::App& command, RunOptions& options) {
    const auto choice = std::make_shared<KeepChoice>();
    const auto take = [choice, &options](std::string& place, const std::string& directory) {
        if (directory.empty()) return;
        const bool isFirst = choice->all.empty() && choice->firing.empty() && choice->options.events.empty();
        place = directory;
        if (!isFirst) return;
        options.parts.emplace_back(
            [choice](const RunSurroundings& surroundings) { return MakePart(*choice, surroundings); });
    };
    command
        .add_option_function<std::string>(
            "--keep", [choice, take](const std::string& directory) { take(choice->all, directory); },
            "Keep the dumps, to be replayed")
        ->option_text("DIR");
    KeptFirings::Options& on = choice->options;
    CLI::Option& keepOn = *command
                               .add_option_function<std::vector<std::string>>(
                                   kKeepOn,
                                   [choice, take](const std::vector<std::string>& events) {
                                       std::string any;
                                       take(any, kKeepOn);
                                       choice->options.events = events;
                                   },
                                   "Keep the cycles around such an event only, a capture each time, in DIR")
                               ->delimiter(',')
                               ->allow_extra_args(false)
                               ->option_text("EVENT[,EVENT]");
    AddNumber(command, "--before", on.before, 0, "How many cycles before it (default 10)", keepOn);
    AddNumber(command, "--after", on.after, 0, "How many cycles after it (default 5)", keepOn);
    AddSize(command, "--keep-memory", on.memory, "What those before it take in memory at most (default 16MB)", keepOn);
    AddNumber(command, "--keep-most", on.bounds.captures, 1, "How many captures stay, the oldest go (default 100)",
              keepOn);
    AddSize(command, "--keep-size", on.bounds.bytes, "How large all of them are at most (default 256MB)", keepOn);
    command
        .add_option_function<std::string>(
            "DIR", [choice, take](const std::string& directory) { take(choice->firing, directory); },
            "Where --keep-on keeps captures")
        ->option_text(" ");
}

}  // namespace qxlt
