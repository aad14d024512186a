#include "CommandList.h"

#include <CLI/CLI.hpp>
#include <cstdint>
#include <memory>

#include "CallViews.h"
#include "DecodeLines.h"
#include "DecodeStore.h"
#include "DumpHeader.h"
#include "DumpInput.h"
#include "Fault.h"
#include "ProcessNames.h"
#include "QxCycle.h"
#include "RecordingChoice.h"
#include "TakeCalls.h"
#include "Text.h"

namespace qxlt {

namespace {

constexpr char kExamples[] =
    "  qxlt decode media-server.qxdump\n"
    "  qxlt decode -p media-server=412 --format json *.qxdump | jq .record\n"
    "  qxlt decode --recording 'media-server[4711]'\n";

struct DecodeOptions {
    std::string process;
    std::vector<std::string> dumps;
    std::vector<std::string> recordings;
};

struct DecodeInput {
    std::string file;
    ClockOffset clock;  // of its calls
};

std::vector<DecodeInput> InputsOf(const DecodeOptions& options) {
    std::vector<DecodeInput> inputs;
    for (const std::string& dump : options.dumps) inputs.push_back({dump, std::nullopt});
    for (const std::string& recording : options.recordings) {
        inputs.push_back({ChooseRecording(recording), ClockOfRecording(recording)});
    }
    if (inputs.empty()) throw Failure(kCannotStart, "DUMP is required, or else --recording; see qxlt decode --help");
    return inputs;
}

class Decoding final {
public:
    Decoding(const DecodeOptions& options, Format format)
        : m_isNamed(!options.process.empty()), m_inputs(InputsOf(options)), m_format(format), m_output(&m_progress) {
        if (!options.process.empty()) {
            const auto [name, pid] = ProcessNames::Parse(options.process);
            m_process = name;
            m_names.Add(name, pid);
        }
    }

    int Perform() {
        RequireReadable(Files());
        m_names.Register(*m_store);
        bool whole = true;
        for (const DecodeInput& input : m_inputs) {
            ++m_number;
            ShowProgress();
            m_views.SetClock(input.clock);
            whole = Decode(input.file) && whole;
        }
        return whole ? kDone : kInputWrong;
    }

private:
    std::vector<std::string> Files() const {
        std::vector<std::string> files;
        for (const DecodeInput& input : m_inputs) files.push_back(input.file);
        return files;
    }

    bool Decode(const std::string& file) {
        std::vector<char> dump = ReadDump(file);
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
        m_progress.Show("dump " + std::to_string(m_number) + " of " + std::to_string(m_inputs.size()) + ", " +
                        Counted(m_calls, "call"));
    }

    void PrintCall(unsigned long long key, const IQxData::HSCall& call) {
        constexpr std::uint64_t kCallsBetween = 1000;
        if (++m_calls % kCallsBetween == 0) ShowProgress();
        m_output.Line(CallLine(m_format, m_views.Of(key, call)));
    }

    const bool m_isNamed;  // with -p
    const std::vector<DecodeInput> m_inputs;
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
}

}  // namespace qxlt
