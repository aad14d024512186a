// How much heap the program holds, to see that something is freed.
#pragma once

#include <malloc.h>

#include <cstddef>

// Always 0 under a sanitizer's allocator, which finds by itself what is not freed.
inline std::size_t HeldBytes() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}
