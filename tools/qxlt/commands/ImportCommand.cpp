#include <CLI/CLI.hpp>
#include <memory>

#include "CommandList.h"
#include "Import.h"

namespace qxlt {

namespace {

constexpr char kExamples[] =
    "  qxlt import ctf lttng-traces/session -o capture\n"
    "  qxlt import ctf lttng-traces/session -o capture --map events.json\n"
    "  qxlt import uftrace uftrace.data -o capture && qxlt replay -s volume.xml capture\n";

enum class Tracer { Ctf, Uftrace };

struct Options {
    Tracer tracer = Tracer::Ctf;
    ImportOptions import;
};

int Import(const Options& options) {
    if (options.tracer == Tracer::Ctf) return ImportCtf(options.import);
    if (options.import.map.empty()) return ImportUftrace(options.import);
    throw Failure(kCannotStart, "--map tells what the events of a CTF trace are; uftrace records calls");
}

}  // namespace

void AddImport(CLI::App& app, Invocation& invocation) {
    const auto options = std::make_shared<Options>();
    CLI::App& command = AddPlainCommand(app, invocation, "import", "Make a capture of another tracer's recording",
                                        kExamples, [options] { return Import(*options); });
    AddChoice<Tracer>(command, "TRACER", options->tracer, {{"ctf", Tracer::Ctf}, {"uftrace", Tracer::Uftrace}},
                      "The Common Trace Format, as LTTng-UST writes it, or what uftrace record wrote")
        .required();
    command.add_option("DIR", options->import.directory, "The recording")->required();
    command.add_option("-o,--output", options->import.capture, "A new directory for the capture")
        ->required()
        ->option_text("CAPTURE");
    command.add_option("--map", options->import.map, "Which events of a CTF trace are calls, and of what, in JSON")
        ->option_text("FILE");
}

}  // namespace qxlt
