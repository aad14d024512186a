// The values that a program in C marks, described and written as those of a program in C++ are.
#pragma once

#include <cstdint>

#include "qx/detail/encoder.h"
#include "qx/detail/site.h"
#include "qx/recorder_c.h"

namespace qxhost {

class QxCValues {
public:
    // Views `values`, which ends with one of the kind QX_KIND_NONE. A result of that kind is none; `layout` is null
    // unless the result is a struct.
    QxCValues(const qx_value* values, std::uint32_t resultKind, const qx_struct* layout)
        : m_values(values), m_resultKind(resultKind), m_layout(layout) {}

    // Describe a call and a log item. Throw std::exception when a table cannot be recorded, or without memory.
    void DescribeCall(qx::recorder::detail::Location& location) const;
    void DescribeLog(qx::recorder::detail::Location& location) const;

    // Writes the values of those arguments that have the flag.
    void EncodeArguments(qx::recorder::detail::Encoder& encoder, unsigned flag) const noexcept;
    void EncodeResult(qx::recorder::detail::Encoder& encoder, const void* result) const noexcept;
    void EncodeLog(qx::recorder::detail::Encoder& encoder) const noexcept;

private:
    const qx_value* const m_values;
    const std::uint32_t m_resultKind;
    const qx_struct* const m_layout;
};

}  // namespace qxhost
