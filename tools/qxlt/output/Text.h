// Texts as they are shown: scripts and dumps hold any bytes, while a terminal and JSON take valid UTF-8 only.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qxlt {

// Whether all of the text is valid UTF-8 (shortest forms, no surrogates, up to U+10FFFF).
bool IsUtf8(std::string_view text);

// The text with U+FFFD in the place of each byte that is no part of valid UTF-8.
std::string ReplaceInvalid(std::string_view text);

// All bytes in lower-case hex.
std::string Hex(std::string_view bytes);

// The bytes that such hex stands for; what is no hex as it is.
std::string Unhex(const std::string& hex);

// A number with a fraction in six digits: "0.25", "1e+09".
std::string FractionText(double number);

// For terminals: control characters and bytes that are not UTF-8 become \n, \t or \xNN.
std::string Printable(const std::string& text);

// A traced value as a person reads it: quoted when it is printable text, a number when it has the size of one
// (little-endian; signed with 4 bytes, as scripts read it), hex otherwise.
std::string ShownValue(const std::string& bytes);

// How many characters the text has. Requires: it is valid UTF-8.
std::size_t CharactersOf(const std::string& text);

// The text, or as much of it as fits that many characters with a mark behind it that the rest was cut off. Requires: it
// is valid UTF-8, and the width is not 0.
std::string Cut(const std::string& text, std::size_t width);

// The text with blanks behind it up to `width` characters.
std::string Pad(const std::string& text, std::size_t width);

// A number's text with blanks before it up to `width` characters.
std::string RightAligned(const std::string& text, std::size_t width);

// How long the longest of the texts is for terminals.
std::size_t WidestOf(const std::vector<std::string>& texts);

// The texts with ", " between them.
std::string CommaSeparated(const std::vector<std::string>& texts);

// "1 call", "2 calls".
std::string Counted(std::uint64_t count, const std::string& noun);

}  // namespace qxlt
