#include "CaptureShow.h"

#include "CaptureReader.h"
#include "Messages.h"
#include "Replayer.h"
#include "Text.h"

namespace qxlt {

// The capture is looked at before results are begun.
CaptureShow::CaptureShow(const ShownCapture& capture)
    : m_capture(capture), m_scripts(capture.scripts), m_start(CaptureReader(capture.directory).Start()) {}

bool CaptureShow::Run(ICallWatcher& calls, const EventSink& events, const FaultSink& faults, Progress& progress) const {
    ReplayInput input;
    input.capture = m_capture.directory;
    input.history = m_capture.history;
    Replayer replayer(m_scripts, input, events, faults, progress);
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
