// The building stones of a dump: packets that hold buffers, and buffers that hold items.
#pragma once

#include <string>

#include "QxBytes.h"

namespace qxhost {

namespace dumpformat {

constexpr char kThreadBuffer = 1;
constexpr char kPersistentBuffer = 2;
constexpr char kThreadProperties = 4;
constexpr char kCompressedBuffer = 5;

constexpr char kLogItem = 1;
constexpr char kBeforeCallItem = 2;
constexpr char kAfterCallItem = 3;
constexpr char kLocationItem = 4;
constexpr char kThreadItem = 6;
constexpr char kHeaderItem = 7;
constexpr char kCompressedItem = 9;
constexpr char kCompArgItem = 10;
constexpr char kTimeMarkerItem = 63;

// Counts of bytes in thread and compressed buffers have 16 bits.
constexpr std::size_t kMaxFragment = 65535;
// What fragments are cut to, unless one item needs more.
constexpr std::size_t kFragment = 32768;

}  // namespace dumpformat

// A tag, the content's size and the content: the form of packets and, outside threads' streams, of items.
inline void AppendItem(std::string& out, char tag, const std::string& content) {
    out += tag;
    AppendText(out, content);
}

// Text of layouts is sent with one taken off each byte.
inline void AppendShiftedText(std::string& out, std::string text) {
    for (char& c : text) c = static_cast<char>(static_cast<unsigned char>(c) - 1u);
    AppendText(out, text);
}

}  // namespace qxhost
