// Ends the program at a signal while the last things are done.
#pragma once

#include <atomic>
#include <thread>

namespace qxlt {

class Interruption;

// While it lives, a signal ends the program at once: what is left to do takes as long as a reader of the output that
// does not read. After a first signal a second one has to come later, since one wish to end may send several: to the
// program, and to its group.
class EndOnSignal final {
public:
    // Whether a first signal has come. Nobody else may wait for the interruption meanwhile.
    EndOnSignal(Interruption& interruption, bool interrupted);
    EndOnSignal(const EndOnSignal&) = delete;
    EndOnSignal& operator=(const EndOnSignal&) = delete;
    ~EndOnSignal();

private:
    void Watch() const;

    Interruption& m_interruption;
    const bool m_interrupted;
    std::atomic<bool> m_over{false};
    std::thread m_watcher;  // last: it uses the others
};

}  // namespace qxlt
