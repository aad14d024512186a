#include "ImportSummary.h"

#include "Failure.h"
#include "Messages.h"
#include "Output.h"
#include "Text.h"

namespace qxlt {

namespace {

std::string ProcessCount(std::size_t count) {
    return std::to_string(count) + (count == 1 ? " process" : " processes");
}

}  // namespace

int FinishImport(ImportedCapture& capture, const std::string& directory, std::optional<std::int64_t> clockOffset,
                 bool whole) {
    const bool isWritten = capture.Finish(clockOffset);
    Output().Line(Counted(capture.Calls(), "call") + " of " + ProcessCount(capture.Processes()) + " in " +
                  Counted(capture.Cycles(), "cycle") + ": " + Printable(directory));
    if (capture.Dropped() > 0) {
        PrintWarning(
            Counted(capture.Dropped(), "call") +
            " without a place in a capture, left out: too many call sites, threads or processes, too large, or "
            "at a time that captures do not have");
    }
    if (capture.ExitsDropped() > 0) {
        PrintWarning(Counted(capture.ExitsDropped(), "return") + " without a call, left out");
    }
    return isWritten && whole ? kDone : kInputWrong;
}

}  // namespace qxlt
