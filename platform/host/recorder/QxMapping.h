// Owner of a shared mapping of a part of a file.
#pragma once

#include <cstddef>
#include <cstdint>

#include "QxLayout.h"

namespace qxhost {

class QxMapping {
public:
    QxMapping() = default;
    // Reserves the storage of the part and maps it; the mapping is empty when that fails. The storage is reserved so
    // that a full file system shows here and not when the memory is written.
    QxMapping(int fd, std::uint64_t offset, std::size_t size);
    QxMapping(QxMapping&& other) noexcept;
    QxMapping& operator=(QxMapping&& other) noexcept;
    ~QxMapping();

    explicit operator bool() const { return m_data != nullptr; }

    // The words at a byte offset, valid as long as the mapping.
    qxlayout::SharedWord* Words(std::size_t offset) const;
    char* Bytes(std::size_t offset) const { return static_cast<char*>(m_data) + offset; }

private:
    void* m_data = nullptr;
    std::size_t m_size = 0;
};

}  // namespace qxhost
