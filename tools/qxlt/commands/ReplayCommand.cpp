#include "CommandList.h"
#include "Messages.h"

#include <CLI/CLI.hpp>
#include <filesystem>
#include <memory>
#include <optional>

#include "DumpInput.h"
#include "EventView.h"
#include "RecordingInput.h"
#include "Replayer.h"
#include "ScriptOptions.h"
#include "ShowScript.h"
#include "ShowingOptions.h"
#include "Text.h"

namespace qxlt {

namespace {

constexpr char kExamples[] =
    "  qxlt replay -s volume.xml capture\n"
    "  qxlt replay -s volume.xml input.xml --explain=VOLUME_HIGH capture\n"
    "  qxlt replay --call 'Set*' --where 'in.0 > 80' capture\n"
    "  qxlt replay -s volume.xml --since 10s --until-time 20s --time raw capture\n"
    "  qxlt replay -s volume.xml -p media-server=412 first.qxdump second.qxdump\n"
    "  qxlt replay -s volume.xml --recording 'media-server[4711]'\n";

struct ReplayOptions {
    ScriptOptions scripts;
    ShowOptions show;
    std::string process;
    std::vector<std::string> inputs;
    std::string recording;
    bool prime = false;
    bool noPrime = false;
    bool history = false;
    std::string until;
    bool failOnLoss = false;
};

ReplayInput::Priming PrimingOf(const ReplayOptions& options) {
    if (options.prime) return ReplayInput::Priming::Yes;
    return options.noPrime ? ReplayInput::Priming::No : ReplayInput::Priming::AsLive;
}

// One directory is a capture, anything else dumps of one process.
ReplayInput DumpsOf(const ReplayOptions& options) {
    ReplayInput input;
    if (!options.recording.empty()) {
        if (!options.inputs.empty()) throw Failure(kCannotStart, "--recording is the input; leave out the others");
        return RecordingInput(options.recording, options.process);
    }
    if (options.inputs.empty()) {
        throw Failure(kCannotStart, "INPUT is required, or else --recording; see qxlt replay --help");
    }
    std::error_code ignored;
    if (options.inputs.size() == 1 && std::filesystem::is_directory(options.inputs.front(), ignored)) {
        if (!options.process.empty()) throw Failure(kCannotStart, "a capture names its processes itself; leave out -p");
        input.capture = options.inputs.front();
        return input;
    }
    RequireReadable(options.inputs);
    if (options.process.empty()) throw Failure(kCannotStart, "whose dumps these are is not known; add -p NAME=PID");
    input.process = options.process;
    input.dumps = options.inputs;
    return input;
}

ReplayInput InputOf(const ReplayOptions& options) {
    ReplayInput input = DumpsOf(options);
    input.priming = PrimingOf(options);
    input.history = options.history;
    input.until = options.until;
    return input;
}

// Whether losses are a reason to fail. Where nothing was counted, nobody can tell that nothing was lost.
bool FailsForLoss(const RunAccount& account) {
    if (account.Known()) return account.Lost();
    PrintWarning("--on-loss fail: no counts of recorded calls were kept; replay a capture that run --keep wrote");
    return true;
}

int Replay(const ReplayOptions& options, Format format) {
    RequireScripts(options.scripts);
    const ReplayInput input = InputOf(options);
    const CallScript calls(options.scripts.calls);
    if (options.scripts.showScript) return ShowScript(calls, input);
    const JoinedScripts scripts(options.scripts.scripts, calls.Text());
    const ExplainOptions explain = ExplainOf(options.scripts, scripts.Events());
    RequireKnownEnd(options.until, scripts.Events());
    Progress progress;
    Output output(&progress);
    EventPrinter printer(format, output, WidestOf(scripts.Events()), options.show);
    const auto tell = [&output](const Fault& fault) {
        PrintFault(fault);
        if (!fault.isHarmless) output.Failed();
    };
    const auto show = [&printer](const EventView& view) {
        if (printer.Takes(view)) printer.Print(view);
    };
    Replayer replayer(scripts, input, show, tell, progress);
    replayer.SetCalls(calls);
    std::optional<Explainer> explainer;
    if (explain.wanted) {
        explainer.emplace(format, output, replayer.Root(), replayer.Places(), explain.event);
        replayer.SetExplainer(*explainer);
    }
    RunAccount account(format, output, replayer.Processes());
    replayer.SetAccount(account);
    replayer.SetChangeSink([&](const ProcessNews& news) { PrintNews(format, output, news); });
    replayer.Run();
    replayer.TellMissingCalls();
    if (explainer) explainer->Print();
    account.Print();
    return !(options.failOnLoss && FailsForLoss(account)) && replayer.Whole() ? kDone : kInputWrong;
}

}  // namespace

void AddReplay(CLI::App& app, Invocation& invocation) {
    const auto options = std::make_shared<ReplayOptions>();
    CLI::App& command =
        AddCommand(app, invocation, "replay", "Run a kept capture, or loose dumps, through scenarios", kExamples,
                   [options, &invocation] { return Replay(*options, invocation.common.format); });
    invocation.rewritings[command.get_name()] = ExpandScripts;
    AddScriptOptions(command, options->scripts);
    command.add_option("-p,--process", options->process, "The process that loose dumps come from")
        ->option_text("NAME[=PID]");
    command.add_option("INPUT", options->inputs, "A capture, or dumps that are one cycle each")->option_text("...");
    command.add_option("--recording", options->recording, "A recording, of a living process or an ended one")
        ->option_text("NAME[PID]|FILE");
    AddLossOption(command, options->failOnLoss);
    AddEndOption(command, options->until);
    AddTimeOption(command, options->show);
    AddEventOptions(command, options->show);
    AddFilterOptions(command, options->show);
    AddBoundOptions(command, options->show);
    AddQuietOption(command);
    command.add_flag("--history", options->history, "Evaluate what the run did not because it was older, too");
    CLI::Option* const prime =
        command.add_flag("--prime", options->prime, "The first cycle raises no events, as in a capture");
    command.add_flag("--no-prime", options->noPrime, "The first cycle raises events, as with loose dumps")
        ->excludes(prime);
}

}  // namespace qxlt
