// Shows all calls of a capture, or of a recording, and the events that scenarios make of them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "EventView.h"
#include "Fault.h"
#include "FiringReasons.h"
#include "ICallWatcher.h"
#include "JoinedScripts.h"
#include "Progress.h"
#include "Replayer.h"
#include "RunStart.h"

namespace qxlt {

struct ShownCapture {
    std::string directory;             // or else
    std::string recording;             // what --recording names
    std::vector<std::string> scripts;  // may be none
    bool history = false;              // with calls from before the start of the run
};

class CaptureShow final {
public:
    // Throws a Failure for what is no capture or recording, and for scripts that cannot be loaded.
    explicit CaptureShow(const ShownCapture& capture);

    // When the run began; of a recording only where the wall clock stands is known.
    const RunStart& Start() const { return m_start; }

    // Has `reasons` know why events fire. Not owned; before Run.
    void SetReasons(FiringReasons& reasons) { m_reasons = &reasons; }

    // Replays it. What is wrong in it goes to `faults`. Returns whether nothing was. Throws a Failure as a
    // replay does.
    bool Run(ICallWatcher& calls, const EventSink& events, const FaultSink& faults, Progress& progress) const;

private:
    const ReplayInput m_input;
    const JoinedScripts m_scripts;
    const RunStart m_start;
    FiringReasons* m_reasons = nullptr;
};

// Says how many calls were left out because they were made before the run, if any were.
void PrintLeftOut(std::uint64_t calls);

}  // namespace qxlt
