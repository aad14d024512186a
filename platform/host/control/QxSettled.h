// Reading values that the writer stores twice; see QxLayout.h.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>

#include "IQxByteSource.h"
#include "QxBytes.h"

namespace qxhost {

// Reads words of which some are the first ones of a pair. A copy may catch a value in the middle of a store, so it
// counts when it agrees with its second store. A writer that was killed or stopped between the two leaves them
// different; then the value stands still, and a copy that is like the one before was not caught in a store either. The
// first store is valid by itself. Throws QxDamage.
template <std::size_t Count>
std::array<std::uint64_t, Count> ReadSettled(const IQxByteSource& source, std::uint64_t offset,
                                             std::initializer_list<std::size_t> pairs) {
    // So often in a row a value is only caught in the middle of a store where somebody makes a game of it.
    constexpr int kMaxAttempts = 10000;
    std::array<std::uint64_t, Count> words{};
    std::array<std::uint64_t, Count> before{};
    for (int attempt = 0; attempt < kMaxAttempts; ++attempt) {
        source.Read(offset, words.data(), sizeof(words));
        bool isSettled = true;
        for (const std::size_t pair : pairs) {
            const bool isStill = attempt > 0 && words[pair] == before[pair] && words[pair + 1] == before[pair + 1];
            isSettled = isSettled && (words[pair] == words[pair + 1] || isStill);
        }
        if (isSettled) return words;
        before = words;
    }
    throw QxDamage("a position does not settle");
}

}  // namespace qxhost
