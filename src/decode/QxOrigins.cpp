#include "QxOrigins.h"

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

QxOrigins::Piece QxOrigins::FindPiece(std::size_t offset, std::size_t size) const {
    const auto piece = std::upper_bound(m_pieces.begin(), m_pieces.end(), offset,
                                        [](std::size_t at, const Piece& one) { return at < one.offset + one.size; });
    if (piece == m_pieces.end()) return {offset, 0, {}};
    m_recent = static_cast<std::size_t>(piece - m_pieces.begin());
    return PartOf(*piece, offset - piece->offset, size);
}
