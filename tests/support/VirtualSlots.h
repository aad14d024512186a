// The places of virtual operations in their class's table. Separately compiled clients call by place.
#pragma once

#include <cstddef>
#include <cstring>
#include <vector>

template <typename Operation>
std::size_t SlotOf(Operation operation) {
    std::size_t word = 0;
    std::memcpy(&word, &operation, sizeof word);
    return word / sizeof(void*);
}

template <typename... Operations>
std::vector<std::size_t> SlotsOf(Operations... operations) {
    return {SlotOf(operations)...};
}
