// The thread numbers of dumps. A reader of dumps knows a thread by its 16-bit number alone, whatever its process, so
// one pool serves all recordings; a number is used again once its thread is gone, the lowest one first, so that readers
// do not collect threads for ever.
#pragma once

#include <bitset>
#include <cstddef>
#include <cstdint>

namespace qxhost {

class QxTidPool {
public:
    // A number that is not in use, from 1 on; 0 when all are.
    std::uint16_t Take();
    // 0 is none, and stays none. Needs no memory, so that readers may give back while they are torn down.
    void GiveBack(std::uint16_t tid);

private:
    static constexpr std::size_t kCount = 65536;

    std::bitset<kCount> m_isTaken;
    std::size_t m_next = 1;  // all below are taken
};

}  // namespace qxhost
