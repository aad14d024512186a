// Going through the calls of a store for the last time.
#pragma once

#include <iterator>
#include <map>

#include "IQxData.h"
#include "QxSpareCalls.h"

namespace qxlt {

// Shows each call to `visit`, with its key before it, in their order, and leaves the store without calls. A dump may
// have millions: giving back what the processor has just read takes a fraction of the time of going through all of it
// once more. As many as the store fills anew in the next cycle are left for it.
template <typename Visit>
void TakeCalls(IQxData& store, const Visit& visit) {
    std::map<unsigned long long, IQxData::HSCall>& calls = *store.GetCallIMap();
    for (auto next = calls.begin(); next != calls.end();) {
        visit(next->first, next->second);
        next = calls.size() > QxSpareCalls::kMaxCalls ? calls.erase(next) : std::next(next);
    }
    store.clearCalls();
}

}  // namespace qxlt
