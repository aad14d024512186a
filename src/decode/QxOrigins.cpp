#include "QxOrigins.h"

#include <algorithm>

namespace {

bool Continues(const QxOrigins::Piece& piece, const QxOrigin& origin) {
    if (piece.origin.dump != origin.dump) return false;
    return origin.dump == 0 || piece.origin.at + piece.size == origin.at;
}

}  // namespace

void QxOrigins::Append(const QxOrigin& origin, std::size_t size) {
    if (size == 0) return;
    if (!m_pieces.empty() && Continues(m_pieces.back(), origin)) {
        m_pieces.back().size += size;
    } else {
        m_pieces.push_back({m_size, size, origin});
    }
    m_size += size;
}

void QxOrigins::Clear() {
    m_pieces.clear();
    m_size = 0;
}

// Those who read go forward: most ask for the piece that they asked for before, or the one behind it.
std::size_t QxOrigins::IndexAt(std::size_t offset) const {
    for (std::size_t i = m_recent; i < m_pieces.size() && i < m_recent + 2; ++i) {
        if (offset >= m_pieces[i].offset && offset - m_pieces[i].offset < m_pieces[i].size) return i;
    }
    const auto piece = std::upper_bound(m_pieces.begin(), m_pieces.end(), offset,
                                        [](std::size_t at, const Piece& one) { return at < one.offset + one.size; });
    return static_cast<std::size_t>(piece - m_pieces.begin());
}

QxOrigins::Piece QxOrigins::PieceAt(std::size_t offset, std::size_t size) const {
    const std::size_t index = IndexAt(offset);
    if (index == m_pieces.size()) return {offset, 0, {}};
    m_recent = index;
    const Piece& piece = m_pieces[index];
    const std::size_t skipped = offset - piece.offset;
    return {offset, std::min(size, piece.size - skipped), {piece.origin.at + skipped, piece.origin.dump}};
}
