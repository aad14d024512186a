// Call records that have left the store, kept to be filled anew: each cycle's calls are much like those of the one
// before, and their blocks of memory fit again. As many are kept as the last cycle had calls, up to a bound.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

#include "IQxData.h"

class QxSpareCalls final {
public:
    using Map = std::map<unsigned long long, IQxData::HSCall>;
    using Arguments = std::vector<IQxData::HSICallArg>;

    // So many are kept at most, so many bytes of them, and none that takes more than that.
    static constexpr std::size_t kMaxCalls = 65536;
    static constexpr std::uint64_t kMaxCost = 67108864;
    static constexpr std::uint64_t kMaxCallCost = 2048;

    // Takes calls out of the map, in place of those that are left over.
    void Refill(Map& calls);
    void Clear();

    // A record to fill: new, but for its list `in`, which may hold values to write over. The lists `out` and `ret` are
    // empty.
    Map::node_type Take();

    // A list to fill, which may hold values to write over.
    Arguments TakeList();

    // Records to write over, as KeepRecords got them last, and within these bounds, too. They go when there were no
    // calls to refill from.
    std::vector<IQxData::HSCall> TakeRecords();
    void KeepRecords(std::vector<IQxData::HSCall> records);

    std::size_t Size() const { return m_calls.size(); }

    // About the bytes of memory that the calls took when they were kept.
    std::uint64_t Cost() const { return m_cost; }

private:
    void ClearCalls();
    void Keep(Map::node_type node);

    std::vector<Map::node_type> m_calls;
    std::uint64_t m_cost = 0;  // of all of them when they were kept
    std::vector<Arguments> m_lists;
    std::vector<IQxData::HSCall> m_records;
};
