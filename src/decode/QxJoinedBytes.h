// Bytes that are joined out of fragments: a thread's stream, or a compressed run. Knows where each byte came from, and
// what of them has been decoded before: joining pays for decoding once.
#pragma once

#include <cstddef>
#include <vector>

#include "QxOrigins.h"

class QxJoinedBytes final {
public:
    bool empty() const { return m_bytes.empty(); }
    std::size_t size() const { return m_bytes.size(); }
    const char* data() const { return m_bytes.data(); }
    std::vector<char>::const_iterator begin() const { return m_bytes.begin(); }
    std::vector<char>::const_iterator end() const { return m_bytes.end(); }

    void Append(const char* bytes, std::size_t count, const QxOrigin& origin) {
        m_bytes.insert(m_bytes.end(), bytes, bytes + count);
        m_origins.Append(origin, count);
    }
    void Clear() {
        m_bytes.clear();
        m_origins.Clear();
        m_decodedBefore = 0;
    }

    const QxOrigins& Origins() const { return m_origins; }

    // How many of the bytes earlier calls have decoded, or tried to.
    std::size_t DecodedBefore() const { return m_decodedBefore; }
    // All that are there will be decoded again.
    void Stay() { m_decodedBefore = m_bytes.size(); }

private:
    std::vector<char> m_bytes;
    QxOrigins m_origins;
    std::size_t m_decodedBefore = 0;
};
