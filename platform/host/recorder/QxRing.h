// The ring that the recorder writes: in shared memory, by the clock of recordings.
#pragma once

#include "QxBasicRing.h"
#include "QxBasicThreadClock.h"
#include "QxLayout.h"
#include "QxTickCounter.h"

namespace qxhost {

struct QxRingTraits {
    using SharedWord = qxlayout::SharedWord;
    using Clock = QxBasicThreadClock<QxTickCounter>;
};

extern template class QxBasicRing<QxRingTraits>;
using QxRing = QxBasicRing<QxRingTraits>;

}  // namespace qxhost
