// What the calls of one method have in common, in numbers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace qxlt {

// What calls carried in one place.
struct ValueRow {
    std::string value;                                        // as conditions call it: "in.0", "ret"
    std::size_t distinct = 0;                                 // of the values that were kept
    bool more = false;                                        // there were others that were not
    std::vector<std::pair<std::string, std::uint64_t>> most;  // those that came most often, and how often each
};

struct MethodRow {
    std::string method;  // as it is shown, with its package
    std::string process;
    std::string packageName;
    std::string callerName;
    std::uint64_t calls = 0;
    std::uint64_t errors = 0;
    std::uint64_t timed = 0;  // calls whose duration is known
    std::uint64_t least = 0;  // ns, here and below; meaningless unless some call is timed
    std::uint64_t mean = 0;
    std::uint64_t p99 = 0;  // what 99 of 100 do not exceed, and up to one part in 32 more
    std::uint64_t greatest = 0;
    std::size_t threads = 0;
    bool moreThreads = false;
    std::vector<ValueRow> values;
};

}  // namespace qxlt
