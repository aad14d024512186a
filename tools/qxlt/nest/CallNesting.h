// Which calls of a thread were made within which, worked out from when they began and ended.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace qxlt {

// A call is within the one that was the last to begin of those that have not ended. One without exit, be it a log
// record or a call whose return is not known, holds no others: it may have ended at once.
//
// Exits are coarser than entries, so that a call may seem to end after the one which it was made in; damaged times may
// overlap by any amount. Both are cut at the end of the outer call: what is drawn always nests.
class CallNesting final {
public:
    struct Place {
        std::size_t depth = 0;  // in how many others it is
        std::uint64_t end = 0;  // where it ends when it is drawn; its beginning if it has no exit

        bool holds = false;  // whether others are in it; not known to who enters it
    };

    // The place of the thread's next call. Calls are to come in the order of ComesBefore; one that comes later than
    // that stands by itself and holds nothing.
    Place Enter(std::uint64_t time, std::uint64_t exitTime);

private:
    std::vector<std::uint64_t> m_ends;  // of the calls that may hold the next one, the outermost first
    std::uint64_t m_last = 0;           // when the last call began
};

// What of a call decides where it stands among the others.
struct CallTimes {
    std::uint64_t time = 0;
    std::uint64_t exitTime = 0;  // 0: it has none
    std::uint64_t key = 0;       // the store's
};

// Whether a call is to be looked at before another one: the earlier one, of two that begin together the longer one, and
// the one that was stored first of two that are the same.
bool ComesBefore(const CallTimes& left, const CallTimes& right);

}  // namespace qxlt
