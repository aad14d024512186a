#include "CtfImport.h"

#include "CtfEvents.h"
#include "CtfGraph.h"
#include "EventRules.h"
#include "ImportSummary.h"
#include "ImportedCapture.h"
#include "Messages.h"
#include "Progress.h"
#include "Text.h"

namespace qxlt {

namespace {

void WarnOfLoss(const CtfEvents& events) {
    if (events.DiscardedEvents() + events.DiscardedPackets() == 0) return;
    PrintWarning("the tracer discarded " + Counted(events.DiscardedEvents(), "event") + " and " +
                 Counted(events.DiscardedPackets(), "packet") + "; record with larger buffers");
}

}  // namespace

int ImportCtfHere(const ImportOptions& options) {
    EventRules rules;
    if (!options.map.empty()) rules.Read(options.map);
    const std::vector<std::string> traces = FindTraces(options.directory);
    ImportedCapture capture(options.capture);
    CtfEvents events(rules, capture);
    Progress progress;
    CtfGraph graph(traces, [&](const bt_message* message) {
        progress.Show(Counted(capture.Calls(), "call"));
        events.Take(message);
    });
    const bool isWhole = graph.Run();
    events.Finish();
    progress.Wipe();
    for (const std::string& problem : graph.Problems()) {
        PrintError(problem + "; what is good of it is kept");
    }
    WarnOfLoss(events);
    if (events.LacksThreads()) {
        PrintWarning(
            "events tell no thread, and calls of several may be mixed up; record with "
            "lttng add-context -u -t vpid -t vtid -t procname, or name the field in a map file");
    }
    return FinishImport(capture, options.capture, events.ClockOffset(), isWhole);
}

}  // namespace qxlt
