#include "QxRing.h"

#include "QxBasicRingImpl.h"

namespace qxhost {

template class QxBasicRing<QxRingTraits>;

}  // namespace qxhost
