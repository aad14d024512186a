// Which bytes of the dumps have been decoded, one bit for each. A byte counts once, whatever decoders read it and
// however often: what fragments share, and what is decoded again, is the same byte. All others are those that decoding
// left out.
#pragma once

#include <cstdint>
#include <map>
#include <utility>
#include <vector>

#include "QxOrigins.h"

class QxUsedBytes final {
public:
    // A dump from outside begins, none of its bytes is used. Returns the place of the first one. Dumps are numbered
    // from 1.
    QxOrigin BeginDump(std::size_t size);

    // The dump that an item unpacks to, told by the place of the item's first byte. Returns the place of its first
    // byte: the same one when the same item is unpacked again. An item that no dump brought unpacks to bytes that are
    // not counted either.
    QxOrigin AddUnpacked(const QxOrigin& item, std::size_t size);

    // Requires: the bytes belong to one dump.
    void Use(const QxOrigin& origin, std::uint64_t size) {
        if (origin.dump == m_run.dump && origin.at == m_run.at + m_runSize) {
            m_runSize += size;
        } else {
            EndRun();
            m_run = origin;
            m_runSize = size;
        }
    }
    void Use(const QxOrigins& origins, std::size_t offset, std::size_t size) {
        while (size > 0) {
            const QxOrigins::Piece piece = origins.PieceAt(offset, size);
            if (piece.size == 0) return;
            Use(piece.origin, piece.size);
            offset += piece.size;
            size -= piece.size;
        }
    }

    // The number of dumps that began.
    std::uint32_t Dumps() const { return static_cast<std::uint32_t>(m_dumps.size()); }

    // How many bytes of a dump, and of those unpacked from it, are not used.
    std::uint64_t Left(std::uint32_t dump) {
        EndRun();
        return m_dumps[dump - 1].left;
    }

private:
    using Unpacked = std::pair<std::uint64_t, std::size_t>;  // where the item begins, and the size that it unpacks to

    struct Dump {
        std::vector<std::uint64_t> words;  // a bit for each byte, set when it is used
        std::uint64_t size = 0;
        std::uint64_t left = 0;
        std::map<Unpacked, std::uint64_t> unpacked;  // to the place of the first byte
    };

    static void Extend(Dump& dump, std::size_t size);
    void EndRun();

    std::vector<Dump> m_dumps;
    QxOrigin m_run;  // of bytes that were used one behind the other, and are not marked yet
    std::uint64_t m_runSize = 0;
};
