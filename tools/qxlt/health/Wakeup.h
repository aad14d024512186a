// Lets the worker of a run have something done by the thread that waits for interruptions: files and sockets keep that
// one waiting, and not the next dump.
#pragma once

#include <functional>

#include "Descriptor.h"

namespace qxlt {

class Interruption;

class Wakeup final {
public:
    // `handler` runs from within the interruption's wait, once for all calls of Call that came before. The interruption
    // must not wait after this has gone.
    Wakeup(Interruption& interruption, std::function<void()> handler);

    // Any thread; waits for nothing.
    void Call();

private:
    const Descriptor m_calls;
};

}  // namespace qxlt
