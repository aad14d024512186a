#include "CommandList.h"
#include "Messages.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>

#include "Output.h"
#include "RecordingChoice.h"
#include "RecordingList.h"
#include "Text.h"
#include "TimeAgo.h"

namespace qxlt {

namespace {

constexpr char kExamples[] =
    "  qxlt clean media-server\n"
    "  qxlt clean 'media-server[4711]'\n"
    "  qxlt clean --all --dry-run\n";

struct CleanOptions {
    std::vector<std::string> names;
    bool all = false;
    bool dryRun = false;
};

bool IsNamed(const RecordingFile& file, const std::string& name) {
    return RecordingText(file) == name || IsRecordedAs(file.process, name);
}

// Those that are asked for. Throws a Failure for a name that nothing is recorded under.
std::vector<RecordingFile> Chosen(const CleanOptions& options) {
    const std::vector<RecordingFile> files = RecordingFiles();
    for (const std::string& name : options.names) {
        const auto isNamed = [&name](const RecordingFile& file) { return IsNamed(file, name); };
        if (std::any_of(files.begin(), files.end(), isNamed)) continue;
        throw Failure(kCannotStart,
                      name + ": nothing is recorded under that name; qxlt list --recordings shows what there is");
    }
    std::vector<RecordingFile> chosen;
    std::copy_if(files.begin(), files.end(), std::back_inserter(chosen), [&options](const RecordingFile& file) {
        return options.all || std::any_of(options.names.begin(), options.names.end(),
                                          [&file](const std::string& name) { return IsNamed(file, name); });
    });
    return chosen;
}

class Cleaning final {
public:
    Cleaning(const CleanOptions& options, Format format) : m_options(options), m_format(format) {}

    int Perform() {
        if (m_options.all != m_options.names.empty()) {
            throw Failure(kCannotStart, "name the programs whose recordings are to go, or else --all");
        }
        for (const RecordingFile& file : Chosen(m_options)) Clean(file);
        if (m_kept != 0) {
            PrintNote(Counted(m_kept, "recording") + " of running processes kept");
        }
        return m_whole ? kDone : kInputWrong;
    }

private:
    void Clean(const RecordingFile& file) {
        if (file.isRunning) {
            ++m_kept;
            return;
        }
        const std::string problem = m_options.dryRun ? std::string() : RemoveRecording(file.path);
        if (problem.empty()) {
            Tell(file);
            return;
        }
        m_whole = false;
        PrintError(file.path + ": " + problem + "; it is kept");
    }

    void Tell(const RecordingFile& file) {
        if (m_format == Format::Json) {
            m_output.Line(RecordingJson(m_options.dryRun ? "removable" : "removed", file));
            return;
        }
        m_output.Line((m_options.dryRun ? "would remove " : "removed ") + Printable(RecordingText(file)) + ", " +
                      BytesText(file.bytes) + ", " + Printable(LastRecordedText(file)));
    }

    const CleanOptions& m_options;
    const Format m_format;
    Output m_output;
    std::size_t m_kept = 0;
    bool m_whole = true;
};

}  // namespace

void AddClean(CLI::App& app, Invocation& invocation) {
    const auto options = std::make_shared<CleanOptions>();
    CLI::App& command =
        AddCommand(app, invocation, "clean", "Remove what ended processes recorded", kExamples,
                   [options, &invocation] { return Cleaning(*options, invocation.common.format).Perform(); });
    command.add_option("NAME", options->names, "The programs; NAME[PID] is one process")->option_text("NAME[PID]...");
    command.add_flag("--all", options->all, "The recordings of all programs that have ended");
    command.add_flag("--dry-run", options->dryRun, "Tell what would be removed, and remove nothing");
}

}  // namespace qxlt
