#include "QxRetries.h"

namespace qxhost {

namespace {

constexpr int kMaxTries = 16;

}  // namespace

bool QxRetries::Take(int tries, std::size_t ringSize) {
    if (tries >= kMaxTries || m_bytesLeft < ringSize) return false;
    m_bytesLeft -= ringSize;
    return true;
}

}  // namespace qxhost
