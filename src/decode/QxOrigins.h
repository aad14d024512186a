// Where joined bytes came from: the fragments of a stream lie all over their dumps, also over the dumps of several
// processes, and what becomes of a byte is counted for the dump that brought it.
#pragma once

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
    Piece PieceAt(std::size_t offset, std::size_t size) const;

private:
    std::size_t IndexAt(std::size_t offset) const;

    std::vector<Piece> m_pieces;  // in order, without gaps
    std::size_t m_size = 0;
    mutable std::size_t m_recent = 0;  // the piece that was asked for last
};
