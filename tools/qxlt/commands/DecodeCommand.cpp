#include "CommandList.h"

#include <CLI/CLI.hpp>
#include <cstdint>
#include <memory>

#include "CallViews.h"
#include "DecodeLines.h"
#include "DecodeStore.h"
#include "DumpHeader.h"
#include "DumpInput.h"
#include "DumpStarts.h"
#include "Fault.h"
#include "ProcessNames.h"
#include "QxCycle.h"
#include "RecordingChoice.h"
#include "ShowingOptions.h"
#include "TakeCalls.h"
#include "Text.h"
#include "UntoldTimes.h"

namespace qxlt {

namespace {

constexpr char kExamples[] =
    "  qxlt decode media-server.qxdump\n"
    "  qxlt decode -p media-server=412 --format json *.qxdump | jq .record\n"
    "  qxlt decode --method 'Set*' --thread mixer media-server.qxdump\n"
    "  qxlt decode capture/*/media-server.qxdump --since 10s --until-time 12s\n"
    "  qxlt decode --recording 'media-server[4711]'\n";

struct DecodeOptions {
    ShowOptions show;
    std::string process;
    std::vector<std::string> dumps;
    std::vector<std::string> recordings;
};

std::vector<std::string> InputsOf(const DecodeOptions& options) {
    std::vector<std::string> inputs = options.dumps;
    for (const std::string& recording : options.recordings) inputs.push_back(ChooseRecording(recording));
    if (inputs.empty()) throw Failure(kCannotStart, "DUMP is required, or else --recording; see qxlt decode --help");
    return inputs;
}

class Decoding final {
public:
    Decoding(const DecodeOptions& options, Format format)
        : m_isNamed(!options.process.empty()),
          m_dumps(InputsOf(options)),
          m_filter(options.show.filter),
          m_format(format),
          m_output(&m_progress) {
        if (!options.process.empty()) {
            const auto [name, pid] = ProcessNames::Parse(options.process);
            m_process = name;
            m_names.Add(name, pid);
        }
    }

    int Perform() {
        RequireReadable(m_dumps);
        m_names.Register(*m_store);
        bool whole = true;
        for (const std::string& dump : m_dumps) {
            ++m_number;
            ShowProgress();
            whole = Decode(dump) && whole;
        }
        return whole ? kDone : kInputWrong;
    }

private:
    bool Decode(const std::string& file) {
        std::vector<char> dump = ReadDump(file);
        if (m_filter.HasBounds()) m_start = m_starts.Of(file);
        if (!m_isNamed) Identify(dump);
        const QxCycle::Decoded decoded = QxCycle(nullptr, nullptr, m_store).Decode(m_process, dump);
        const std::size_t calls = m_store->GetCallIMap()->size();
        TakeCalls(*m_store, [this](unsigned long long key, const IQxData::HSCall& call) { PrintCall(key, call); });
        m_output.Line(EndLine(m_format, {file, dump.size(), calls, decoded.parsed, decoded.extracted}));
        if (!decoded.Whole()) {
            PrintFault(DamageFault(file, file, decoded));
            m_output.Failed();
        }
        return decoded.Whole();
    }

    // Without -p a dump is of the process that its own header names.
    void Identify(std::vector<char>& dump) {
        const DumpHeader header = HeaderOf(dump).value_or(DumpHeader());
        m_process = header.process;
        if (header.process.empty()) return;
        m_names.Add(header.process, header.pid);
        m_names.Register(*m_store);
    }

    void ShowProgress() {
        m_progress.Show("dump " + std::to_string(m_number) + " of " + std::to_string(m_dumps.size()) + ", " +
                        Counted(m_calls, "call"));
    }

    void PrintCall(unsigned long long key, const IQxData::HSCall& call) {
        constexpr std::uint64_t kCallsBetween = 1000;
        if (++m_calls % kCallsBetween == 0) ShowProgress();
        const CallView view = m_views.Of(key, call);
        if (IsShown(view)) m_output.Line(CallLine(m_format, view));
    }

    // The line itself has the recorded times alone: a dump does not tell others.
    bool IsShown(const CallView& view) {
        const CallTime time = TimeOf(view.call, m_start);
        m_untold.Look(m_filter, time);
        return m_filter.ShowsTime(time) && m_filter.ShowsCall(view);
    }

    const bool m_isNamed;  // with -p
    const std::vector<std::string> m_dumps;
    const CallFilter m_filter;
    UntoldTimes m_untold;
    DumpStarts m_starts;
    RunStart m_start;  // of the dump, as far as the bounds ask for it
    const Format m_format;
    Progress m_progress;
    Output m_output;
    std::size_t m_number = 0;   // of the dump that is being decoded, from 1
    std::uint64_t m_calls = 0;  // printed so far
    std::string m_process;      // empty: none is registered
    ProcessNames m_names;
    std::shared_ptr<DecodeStore> m_store = std::make_shared<DecodeStore>(m_format, m_output);
    CallViews m_views{*m_store, m_names};
};

}  // namespace

void AddDecode(CLI::App& app, Invocation& invocation) {
    const auto options = std::make_shared<DecodeOptions>();
    CLI::App& command =
        AddCommand(app, invocation, "decode", "Print every record that a dump holds", kExamples,
                   [options, &invocation] { return Decoding(*options, invocation.common.format).Perform(); });
    command.add_option("-p,--process", options->process, "The process that the dumps come from")
        ->option_text("NAME[=PID]");
    command.add_option("DUMP", options->dumps, "The dump files, decoded in this order")->option_text("...");
    command.add_option("--recording", options->recordings, "A recording, of a living process or an ended one")
        ->allow_extra_args(false)
        ->option_text("NAME[PID]|FILE");
    AddFilterOptions(command, options->show);
    AddBoundOptions(command, options->show);
    AddQuietOption(command);
}

}  // namespace qxlt
