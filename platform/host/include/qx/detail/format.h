// The numbers of the trace format that descriptions of call sites consist of, and how much they and their values may
// take. The recorder writes them, the control reads them.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qx {
namespace recorder {

constexpr std::size_t kMaxText = 8192;
constexpr std::size_t kMaxElements = 1000;

namespace detail {

// The sizes of a type with a meaning of their own: its layout says what it holds; its length stands before it.
constexpr std::uint32_t kCompositeSize = 16382;
constexpr std::uint32_t kVariableSize = 16383;

// The bytes that all values of one record may take.
constexpr std::size_t kMaxPayload = 60000;

// The flags of an argument: when its value is recorded.
constexpr unsigned kAtEntry = 1;
constexpr unsigned kAtExit = 2;

}  // namespace detail
}  // namespace recorder
}  // namespace qx
