#include "OutputOptions.h"

#include <CLI/CLI.hpp>
#include <memory>
#include <string>

#include "JournalSink.h"
#include "LiveRun.h"
#include "RotatedFile.h"
#include "SizeText.h"

namespace qxlt {

namespace {

constexpr char kJournal[] = "journald";
constexpr unsigned kMostFiles = 1000;

struct OutputChoice {
    std::string place;
    RotatedFile::Bounds bounds;
};

std::unique_ptr<ILineSink> OpenSink(const OutputChoice& choice) {
    if (choice.place == kJournal) return OpenJournal();
    return std::make_unique<RotatedFile>(choice.place, choice.bounds);
}

}  // namespace

void AddOutputOptions(CLI::App& command, RunOptions& options) {
    const auto choice = std::make_shared<OutputChoice>();
    CLI::Option* const output =
        command
            .add_option_function<std::string>(
                "--output",
                [choice, &options](const std::string& place) {
                    choice->place = place;
                    options.sink = [choice] { return OpenSink(*choice); };
                },
                "Add the lines to a file, or to the system's journal, in place of standard output")
            ->option_text("FILE|journald");
    command
        .add_option_function<std::string>(
            "--rotate", [choice](const std::string& size) { choice->bounds.size = ReadSize(size).value_or(0); },
            "Begin the file anew at this size, and keep the full one as FILE.1")
        ->check(RequireSize)
        ->needs(output)
        ->option_text("SIZE");
    command.add_option("--rotate-keep", choice->bounds.kept, "How many full files are kept (default 5)")
        ->check(CLI::Range(1U, kMostFiles))
        ->needs(output)
        ->option_text("NUMBER");
}

}  // namespace qxlt
