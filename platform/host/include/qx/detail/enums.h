// Enumerations whose values go by their names.
#pragma once

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

#include "qx/detail/encoder.h"
#include "qx/detail/site.h"
#include "qx/detail/values.h"

namespace qx {
namespace recorder {
namespace detail {

// The enumerator at a place of a list as it stands in a source text, "Color::Red, Color::Green", without its scope.
constexpr std::string_view EnumeratorAt(std::string_view list, std::size_t place) {
    for (; place > 0; --place) list.remove_prefix(list.find(',') + 1);
    const std::string_view one = list.substr(0, list.find(','));
    const std::size_t begin = one.find_last_of(": ") + 1;  // 0 where there is none
    return one.substr(begin);
}

// The name of a value, or its number when the table has none for it.
template <class T>
class EnumText {
public:
    explicit EnumText(T value) noexcept {
        std::size_t place = 0;
        for (const T named : EnumTrait<T>::kQxValues) {
            if (named == value) break;
            ++place;
        }
        if (place < std::size(EnumTrait<T>::kQxValues))
            m_name = EnumeratorAt(EnumTrait<T>::QxNames(), place);
        else
            WriteNumber(value);
    }

    operator std::string_view() const noexcept { return m_size == 0 ? m_name : std::string_view(m_number, m_size); }

private:
    void WriteNumber(T value) noexcept {
        using Number = std::conditional_t<std::is_signed_v<std::underlying_type_t<T>>, std::int64_t, std::uint64_t>;
        const auto end = std::to_chars(m_number, m_number + sizeof(m_number), static_cast<Number>(value)).ptr;
        m_size = static_cast<std::size_t>(end - m_number);
    }

    std::string_view m_name;
    char m_number[20];  // as many as the longest has, with its sign
    std::size_t m_size = 0;
};

template <class T>
struct Value<T, std::enable_if_t<std::is_enum_v<T> && kHasEnumTrait<T>>> : TextValue<T, Value<T>> {
    static std::string Name() { return EnumTrait<T>::QxName(); }
    static EnumText<T> Text(T value) noexcept { return EnumText<T>(value); }
};

}  // namespace detail
}  // namespace recorder
}  // namespace qx
