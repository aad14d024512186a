// The numbers of the trace format, and the limits that reading it keeps to.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qxformat {

// Packets: an optional prefix, then a buffer tag, a size and a payload.
constexpr unsigned char kPrefixMarker = 0xFF;

// Buffer tags.
constexpr unsigned char kThreadBuffer = 1;
constexpr unsigned char kPersistentBuffer = 2;
constexpr unsigned char kThreadProperties = 4;
constexpr unsigned char kCompressedBuffer = 5;

// Item tags. 0 is no item: it ends a persistent buffer's list.
constexpr unsigned char kNoItem = 0;
constexpr unsigned char kLogItem = 1;
constexpr unsigned char kBeforeCall = 2;
constexpr unsigned char kAfterCall = 3;
constexpr unsigned char kCallLocation = 4;
constexpr unsigned char kIPCCaller = 5;
constexpr unsigned char kThreadData = 6;
constexpr unsigned char kHeader = 7;
constexpr unsigned char kProxyMarker = 8;
constexpr unsigned char kCompressedItem = 9;
constexpr unsigned char kCompCallArg = 10;
constexpr unsigned char kTimeMarker = 63;

// An empty time marker item: begins every new run of items in a thread's stream, and is where reading resumes after a
// damaged item.
constexpr char kRunMarker[2] = {0x3F, 0x00};

// Size words of argument values that are no plain byte counts.
constexpr std::uint32_t kComposite = 16382;       // laid out by the descriptor of the value's type
constexpr std::uint32_t kVariableLength = 16383;  // a varint length comes first

// Argument flags of a call location.
constexpr std::uint32_t kRecordedAtEntry = 1;
constexpr std::uint32_t kRecordedAtExit = 2;

// Exit deltas are counted in thousands of the time line's unit, entry deltas in the unit itself.
constexpr std::uint64_t kExitUnit = 1000;

// Limits. What a dump makes the tracker keep stays in proportion to the dump's size.

// Calls of one dump that are still open; a call that never returns leaves its key on the stack for good.
constexpr std::size_t kMaxOpenCalls = 1048576;
// Compressed dumps inside one another. Each level is a level of the stack.
constexpr unsigned kMaxNestedDumps = 8;
// Bytes unpacked for one dump: a few bytes of bzip2 can stand for gigabytes.
constexpr std::uint64_t kMaxUnpackedBytes = 64u << 20;
// Composites inside one another. Descriptors may name themselves.
constexpr unsigned kMaxCompositeDepth = 64;
// (name, value) pairs of one value, and of one dump: members of size 0 take no bytes.
constexpr std::uint64_t kMaxPairsOfValue = 1048576;
constexpr std::uint64_t kMaxPairsOfDump = 1048576;
constexpr std::uint64_t kPairsPerByte = 16;
// Text of member names that pairs repeat, and of type names that are looked up for values: one long name may stand for
// every pair.
constexpr std::uint64_t kMaxNameBytes = 64u << 20;
constexpr std::uint64_t kNameBytesPerByte = 64;
// Calls of one dump: one for each 4 bytes, the least that a call takes, so only what unpacks can reach this.
constexpr std::uint64_t kMaxCalls = 1048576;
constexpr std::uint64_t kBytesPerCall = 4;
// Bytes joined into streams, besides those that were unpacked: fragments may overlap, since their stream bytes are not
// held to their packet. Joining pays for decoding once; what stayed after damage and is decoded again counts again.
constexpr std::uint64_t kMaxJoinedBytes = 1048576;
constexpr std::uint64_t kJoinedPerByte = 16;
// What unpacking any compressed item counts for among these: setting out takes as long as decoding so many bytes, even
// when nothing comes out.
constexpr std::uint64_t kPackedItemBytes = 512;
// Bytes of packet headers that are longer than their 16-bit count says, besides one for each byte: such a packet is
// stepped over in part only, and what it was read from is read again.
constexpr std::uint64_t kMaxHeaderBytes = 1048576;
// What a damaged compressed item counts for at least: a block may be worked on for long and give nothing.
constexpr std::uint64_t kDamagedItemBytes = 65536;
// What one process describes in all of its dumps: call sites, layouts and threads stay until the store is cleared.
constexpr std::uint64_t kMaxDescriptionBytes = 64u << 20;
// Memory of the calls of one dump in the store, see QxCallCost.h, and of the events of one pass: a few bytes may stand
// for many calls, pairs and texts. A call of the least bytes takes less than its share.
constexpr std::uint64_t kMaxCallBytes = 256u << 20;
constexpr std::uint64_t kCallBytesPerByte = 64;
// Lines that decoding one dump prints.
constexpr std::uint32_t kMaxLines = 4096;

}  // namespace qxformat
