#include "CommandList.h"
#include "Messages.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <map>
#include <memory>
#include <set>
#include <utility>

#include "CallValues.h"
#include "CallView.h"
#include "DecodeLines.h"
#include "Inventory.h"
#include "JsonLine.h"
#include "Output.h"
#include "RecordingChoice.h"
#include "RecordingList.h"
#include "ShowingOptions.h"
#include "StarterScript.h"
#include "Text.h"
#include "UntoldTimes.h"
#include "Vocabulary.h"

namespace qxlt {

namespace {

constexpr char kExamples[] =
    "  qxlt list --recordings\n"
    "  qxlt list -p media-server\n"
    "  qxlt list capture --method 'audio.*'\n"
    "  qxlt list capture --since 10s --until-time 12s\n"
    "  qxlt list --recording 'media-server[4711]'\n"
    "  qxlt list capture --format json\n"
    "  qxlt list media-server.qxdump --as-script > volume.xml\n";

struct ListOptions {
    ShowOptions show;
    std::vector<std::string> inputs;
    std::vector<std::string> processes;
    std::vector<std::string> recordings;
    bool allRecordings = false;
    bool asScript = false;
};

constexpr std::size_t kNumberWidth = 7;
constexpr std::size_t kTagWidth = 4;
constexpr std::size_t kTypeWidth = 7;  // the longest word for a type, and a blank

// What is recorded of one method, a line for each value that a script can ask for.
struct ValueRow {
    std::string tag;
    std::string index;
    std::string type;
    std::string readAs;
    std::string example;
};

std::string ExampleText(const RecordedMethod& method, qxscript::Tag tag, std::size_t index) {
    const IQxData::HSICallArg* const example = method.Example(tag, index);
    // A result without anything is none, or an empty list: neither is an example.
    if (example == nullptr || (tag == qxscript::Tag::Ret && example->empty())) return "";
    return ArgumentText(*example);
}

// The arguments that no call carries.
std::vector<std::string> UnrecordedTypes(const RecordedMethod& method) {
    std::set<std::size_t> recorded;
    for (const RecordedValue& value : method.in) recorded.insert(value.argument);
    for (const RecordedValue& value : method.out) recorded.insert(value.argument);
    std::vector<std::string> types;
    const std::vector<std::string>& all = method.location.args.argType;
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (recorded.count(i) == 0) types.push_back(all[i]);
    }
    return types;
}

std::vector<ValueRow> RowsOf(const RecordedMethod& method) {
    std::vector<ValueRow> rows;
    for (const qxscript::Tag tag : kRecordedTags) {
        const std::vector<RecordedValue>& values = method.Values(tag);
        for (std::size_t i = 0; i < values.size(); ++i) {
            const std::string readAs = TextOf(FittingType(values[i]));
            rows.push_back({TextOf(tag), std::to_string(i), Printable(values[i].type), readAs.empty() ? "-" : readAs,
                            ExampleText(method, tag, i)});
        }
    }
    for (const std::string& type : UnrecordedTypes(method)) rows.push_back({"-", "-", Printable(type), "-", ""});
    return rows;
}

// All processes that it stands for, with their whole ids where those are known.
std::string ProcessesText(const RecordedProcess& process) {
    if (process.ids.empty()) return ProcessText(process.name, process.pid);
    std::string text;
    for (const std::uint32_t id : process.ids) text += (text.empty() ? "" : ", ") + ProcessText(process.name, id);
    return text;
}

std::string ThreadJson(const RecordedThread& recorded) {
    JsonLine line("thread");
    line.Add("pid", recorded.thread.pid);
    line.Add("tid", recorded.thread.tid);
    line.AddText("name", recorded.thread.name);
    if (recorded.processId) line.Add("process_id", *recorded.processId);
    return std::move(line).Finish();
}

std::string ProcessJson(const RecordedProcess& process) {
    JsonLine line("process");
    line.Add("pid", process.pid);
    line.AddText("process", process.name);
    if (!process.ids.empty()) line.AddNumbers("process_ids", process.ids);
    if (!process.ended.empty()) line.AddText("state", "ended");
    return std::move(line).Finish();
}

class Listing final {
public:
    Listing(const Inventory& inventory, const CallFilter& filter, Format format, Output& output)
        : m_inventory(inventory), m_filter(filter), m_format(format), m_output(output) {}

    // Processes of one id share what is recorded: it stands once, below all their names.
    void Print() {
        std::map<unsigned short, std::vector<const RecordedProcess*>> byId;
        for (const RecordedProcess& process : m_inventory.Processes()) byId[process.pid].push_back(&process);
        for (const RecordedProcess& first : m_inventory.Processes()) {
            const std::vector<const RecordedProcess*>& same = byId[first.pid];
            if (same.front() != &first) continue;
            const auto isShown = [this](const RecordedProcess* process) {
                return m_filter.ShowsProcess(process->name);
            };
            if (std::none_of(same.begin(), same.end(), isShown)) continue;
            for (const RecordedProcess* const process : same) PrintProcess(*process);
            PrintRecords(first.pid);
        }
    }

private:
    void PrintProcess(const RecordedProcess& process) {
        if (m_format == Format::Json) {
            m_output.Line(ProcessJson(process));
        } else {
            const std::string ended = process.ended.empty() ? "" : "  " + process.ended;
            m_output.Line(m_output.Paint().Bold("process " + ProcessesText(process)) + ended);
        }
    }

    void PrintRecords(unsigned short pid) {
        for (const RecordedThread& thread : m_inventory.Threads()) {
            if (thread.thread.pid == pid && m_filter.ShowsThread(thread.thread.name, thread.thread.tid))
                PrintThread(thread);
        }
        for (const RecordedMethod& method : m_inventory.Methods()) {
            if (method.pid == pid && m_filter.ShowsMethod(method.location)) PrintMethod(method);
        }
    }

    // Whether processes share the id in the store, so that each thread is to say which one's it is.
    bool AreSeveral(unsigned short pid) const {
        const std::vector<RecordedProcess>& all = m_inventory.Processes();
        return std::any_of(all.begin(), all.end(), [pid](const RecordedProcess& process) {
            return process.pid == pid && process.ids.size() > 1;
        });
    }

    void PrintThread(const RecordedThread& recorded) {
        const IQxData::HSIThread& thread = recorded.thread;
        if (m_format == Format::Json) {
            m_output.Line(ThreadJson(recorded));
            return;
        }
        const std::string process =
            recorded.processId && AreSeveral(thread.pid) ? "  [" + std::to_string(*recorded.processId) + "]" : "";
        m_output.Line("  thread " + std::to_string(thread.tid) + "  " + Printable(thread.name) + process);
    }

    void PrintMethod(const RecordedMethod& method) {
        if (m_format == Format::Json) {
            m_output.Line(MethodJson(method));
            return;
        }
        const IQxData::_HSCallLocation& location = method.location;
        m_output.Line(RightAligned(std::to_string(method.calls), kNumberWidth) +
                      (method.calls == 1 ? " call   " : " calls  ") +
                      m_output.Paint().Bold(Printable(location.packageName) + "." + Printable(location.callerName)) +
                      m_output.Paint().Dim("  " + Printable(location.srcCodeFileRaw)));
        const std::vector<ValueRow> rows = RowsOf(method);
        std::size_t typeWidth = 0;
        for (const ValueRow& row : rows) typeWidth = std::max(typeWidth, row.type.size());
        for (const ValueRow& row : rows) {
            const std::string example = row.example.empty() ? "" : "  " + m_output.Paint().Green(row.example);
            m_output.Line(std::string(kNumberWidth + 2, ' ') + Pad(row.tag, kTagWidth) + row.index + "  " +
                          Pad(row.readAs, kTypeWidth) + Pad(row.type, example.empty() ? 0 : typeWidth) + example);
        }
    }

    std::string MethodJson(const RecordedMethod& method) const {
        JsonLine line("method");
        AddLocation(line, method.pid, method.location);
        line.Add("calls", method.calls);
        if (method.example) {
            line.BeginObject("example");
            AddCall(line, {*method.example, method.location, method.process, std::nullopt});
            line.EndObject();
        } else {
            line.AddNull("example");
        }
        return std::move(line).Finish();
    }

    const Inventory& m_inventory;
    const CallFilter& m_filter;
    const Format m_format;
    Output& m_output;
};

// One way of naming what is listed.
void RequireOneInput(const ListOptions& options) {
    const int given = (options.inputs.empty() ? 0 : 1) + (options.processes.empty() ? 0 : 1) +
                      (options.recordings.empty() ? 0 : 1) + (options.allRecordings ? 1 : 0);
    if (given == 1) return;
    throw Failure(kCannotStart,
                  "name a capture or dumps, or else live processes with -p, or --recording, or ask for all "
                  "--recordings");
}

Inventory ReadInput(const ListOptions& options, const CountChoice& choice, Progress& progress) {
    if (!options.processes.empty()) return Inventory::Take(options.processes, PrintFault, choice);
    std::vector<std::string> inputs = options.inputs;
    for (const std::string& recording : options.recordings) inputs.push_back(ChooseRecording(recording));
    return Inventory::Read(inputs, PrintFault, progress, choice);
}

// The calls in the bounds of the filter, which must outlive the choice. Nothing when there are none.
CountChoice ChoiceOf(const CallFilter& filter) {
    if (!filter.HasBounds()) return nullptr;
    return [&filter, untold = UntoldTimes()](const IQxData::HSCall& call, const RunStart& start) mutable {
        untold.Look(filter, TimeOf(call, start));
        return filter.ShowsTime(TimeOf(call, start));
    };
}

int ListRecordings(Format format) {
    const std::vector<RecordingFile> files = RecordingFiles();
    Output output;
    PrintRecordings(format, output, files);
    if (files.empty()) PrintNote("nothing is recorded in " + RecordingDirectory());
    return kDone;
}

int List(const ListOptions& options, Format format) {
    RequireOneInput(options);
    if (options.allRecordings) return ListRecordings(format);
    Progress progress;
    Output output(&progress);
    const CallFilter filter(options.show.filter);
    const Inventory inventory = ReadInput(options, ChoiceOf(filter), progress);
    if (!inventory.Whole()) output.Failed();
    if (options.asScript) {
        std::string text = StarterScript(inventory).Text();
        text.pop_back();  // the line's end comes with the output
        output.Line(text);
    } else {
        Listing(inventory, filter, format, output).Print();
    }
    return inventory.Whole() ? kDone : kInputWrong;
}

}  // namespace

void AddList(CLI::App& app, Invocation& invocation) {
    const auto options = std::make_shared<ListOptions>();
    CLI::App& command =
        AddCommand(app, invocation, "list", "Show what a program records, or a scenario to start from", kExamples,
                   [options, &invocation] { return List(*options, invocation.common.format); });
    command.add_option("INPUT", options->inputs, "A capture, or dumps of one process")->option_text("CAPTURE|DUMP...");
    command.add_option("-p,--process", options->processes, "What this program records, or recorded last")
        ->allow_extra_args(false)
        ->option_text("NAME");
    command
        .add_option("--recording", options->recordings,
                    "What this recording holds, of a living process or an ended one")
        ->allow_extra_args(false)
        ->option_text("NAME[PID]|FILE");
    command.add_flag("--recordings", options->allRecordings, "Show which recordings there are");
    AddFilterOptions(command, options->show);
    AddBoundOptions(command, options->show);
    AddQuietOption(command);
    command.add_flag("--as-script", options->asScript, "Print a scenario with an event for each value");
}

}  // namespace qxlt
