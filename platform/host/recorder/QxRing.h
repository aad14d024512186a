// The ring that the recorder writes: in shared memory, by the clock of recordings.
#pragma once

#include "QxBasicRing.h"
#include "QxLayout.h"
#include "QxRecordingClock.h"

namespace qxhost {

struct QxRingTraits {
    using SharedWord = qxlayout::SharedWord;
    static std::uint64_t Now() { return NowNs(); }
};

extern template class QxBasicRing<QxRingTraits>;
using QxRing = QxBasicRing<QxRingTraits>;

}  // namespace qxhost
