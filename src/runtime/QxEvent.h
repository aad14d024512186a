// What is queued to a task.
#pragma once

#include <cstdint>

struct QxEvent {
    std::uint32_t id = 0;                // 0x1001 asks the tracker for a cycle at once
    std::uint32_t words[3] = {0, 0, 0};  // carried along, read by nobody here
};
