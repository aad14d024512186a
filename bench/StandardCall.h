// The call that all measurements mean: two integers and a text of 16 bytes going in, an integer coming out, and an item
// for each of entry and exit.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "DumpWriter.h"

namespace bench {

constexpr unsigned kFirstLocation = 9;
constexpr char kText[] = "sixteen bytes ok";

inline std::string Site(unsigned location) {
    using namespace dump;
    return Item(kLocation, Location(location)
                               .Name("SetTitle" + std::to_string(location))
                               .Arg("int", kIn, 4)
                               .Arg("int", kIn, 4)
                               .Arg("string", kIn, kVariableSize)
                               .Returns("int", 4));
}

inline std::string OneCall(unsigned location, int number, std::uint64_t delta) {
    using namespace dump;
    return StreamItem(kBefore, Before(delta, location, Int(number, 4) + Int(-number, 4) + Variable(kText))) +
           StreamItem(kAfter, After(1, Int(number, 4)));
}

// `calls` calls, one after the other in `threads` threads, of `locations` locations in turn, from number `first` on.
inline std::string Calls(int calls, int threads = 1, int locations = 1, int first = 0) {
    using namespace dump;
    std::string bytes;
    for (int i = 0; i < locations; ++i) bytes += Persistent({Site(kFirstLocation + static_cast<unsigned>(i))});
    std::vector<std::string> runs(static_cast<std::size_t>(threads));
    for (int i = 0; i < calls; ++i) {
        std::string& run = runs[static_cast<std::size_t>(i % threads)];
        const std::uint64_t absolute = static_cast<std::uint64_t>(first + i) * 1100;
        // The time base of a run is the end of the call before.
        const std::uint64_t delta = run.empty() ? absolute : static_cast<std::uint64_t>(threads) * 1100 - 1000;
        run += OneCall(kFirstLocation + static_cast<unsigned>(i % locations), i, delta);
        if (run.size() < 4000 && i + threads < calls) continue;
        bytes += Thread(static_cast<unsigned>(1 + i % threads), run);
        run.clear();
    }
    return bytes;
}

}  // namespace bench
