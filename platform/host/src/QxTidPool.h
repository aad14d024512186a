// The thread numbers of dumps. A reader of dumps knows a thread by its 16-bit number alone, whatever its process, so
// one pool serves all recordings; a number is used again once its thread is gone, the lowest one first, so that readers
// do not collect threads for ever.
#pragma once

#include <cstdint>
#include <set>

namespace qxhost {

class QxTidPool {
public:
    // A number that is not in use, from 1 on; 0 when all are.
    std::uint16_t Take();
    // 0 is none, and stays none.
    void GiveBack(std::uint16_t tid) {
        if (tid != 0) m_free.insert(tid);
    }

private:
    std::set<std::uint16_t> m_free;
    std::uint16_t m_highest = 0;
};

}  // namespace qxhost
