#include "CaptureShow.h"

#include "CaptureReader.h"
#include "DumpStarts.h"
#include "Messages.h"
#include "RecordingInput.h"
#include "Text.h"

namespace qxlt {

namespace {

ReplayInput InputOf(const ShownCapture& capture) {
    ReplayInput input = capture.recording.empty() ? ReplayInput() : RecordingInput(capture.recording);
    input.capture = capture.directory;
    input.history = capture.history;
    return input;
}

RunStart StartOf(const ReplayInput& input) {
    return input.capture.empty() ? DumpStarts().Of(input.dumps.front()) : CaptureReader(input.capture).Start();
}

}  // namespace

// It is looked at before results are begun.
CaptureShow::CaptureShow(const ShownCapture& capture)
    : m_input(InputOf(capture)), m_scripts(capture.scripts), m_start(StartOf(m_input)) {}

bool CaptureShow::Run(ICallWatcher& calls, const EventSink& events, const FaultSink& faults, Progress& progress) const {
    Replayer replayer(m_scripts, m_input, events, faults, progress);
    replayer.SetCallWatcher(calls);
    if (m_reasons != nullptr) m_reasons->Watch(replayer.Places());
    if (m_reasons != nullptr) replayer.AddObserver(*m_reasons);
    replayer.Run();
    return replayer.Whole();
}

void PrintLeftOut(std::uint64_t calls) {
    if (calls > 0) PrintNote(Counted(calls, "call") + " from before the start left out; --history shows them");
}

}  // namespace qxlt
