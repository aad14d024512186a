// Where joined bytes came from: the fragments of a stream lie all over their dumps, also over the dumps of several
// processes, and what becomes of a byte is counted for the dump that brought it.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

// The place of a byte. Each dump has a line of places of its own: first its bytes, then those of the dumps that are
// unpacked from it.
struct QxOrigin {
    std::uint64_t at = 0;
    std::uint32_t dump = 0;  // 0: no dump brought the byte
};

class QxOrigins final {
public:
    struct Piece {
        std::size_t offset;  // in the joined bytes
        std::size_t size;
        QxOrigin origin;  // of its first byte; the others follow
    };

    QxOrigins() = default;
    // `size` bytes as they lie in their dump.
    QxOrigins(const QxOrigin& origin, std::size_t size) { Append(origin, size); }

    // Adds `size` bytes behind those that are there.
    void Append(const QxOrigin& origin, std::size_t size);

    void Clear();

    // The place of the byte at `offset`; of no dump when no byte stands there.
    QxOrigin At(std::size_t offset) const { return PieceAt(offset, 1).origin; }

    // As many of the `size` bytes at `offset` as lie one behind the other in one dump; none when no byte stands there.
    Piece PieceAt(std::size_t offset, std::size_t size) const {
        if (m_recent < m_pieces.size()) {
            const Piece& piece = m_pieces[m_recent];
            const std::size_t skipped = offset - piece.offset;
            if (offset >= piece.offset && skipped < piece.size) return PartOf(piece, skipped, size);
        }
        return FindPiece(offset, size);
    }

private:
    static Piece PartOf(const Piece& piece, std::size_t skipped, std::size_t size) {
        return {piece.offset + skipped,
                std::min(size, piece.size - skipped),
                {piece.origin.at + skipped, piece.origin.dump}};
    }
    Piece FindPiece(std::size_t offset, std::size_t size) const;

    std::vector<Piece> m_pieces;  // in order, without gaps
    std::size_t m_size = 0;
    mutable std::size_t m_recent = 0;  // the piece that was asked for last
};
