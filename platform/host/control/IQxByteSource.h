// Where the bytes of a recording are read from: its file, or memory.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qxhost {

class IQxByteSource {
public:
    virtual ~IQxByteSource() = default;

    // Copies the bytes at that place of the recording, while its writer goes on. What is read by the next call is at
    // least as new. Throws QxDamage where there are no such bytes.
    virtual void Read(std::uint64_t offset, void* out, std::size_t size) const = 0;
};

}  // namespace qxhost
