// Walks over a script's text and counts lines and columns as the XML parser does.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "ScriptText.h"

namespace qxlt {

// What a character of the text is made of.
enum class TextEncoding { Utf8, SingleByte, Other };

class TextWalker final {
public:
    // Begins at `offset` of the text, whose place is `place`. The text must outlive this object.
    TextWalker(const std::string& text, std::size_t offset, TextPlace place, TextEncoding encoding)
        : m_text(text), m_at(offset), m_place(place), m_encoding(encoding) {}

    bool AtEnd() const { return m_at >= m_text.size(); }
    char Byte() const { return AtEnd() ? '\0' : m_text[m_at]; }
    bool AtAny(std::string_view bytes) const { return !AtEnd() && bytes.find(Byte()) != std::string_view::npos; }
    const TextPlace& Place() const { return m_place; }

    // A line end of two bytes counts with its second one.
    void Step() {
        const char byte = Byte();
        ++m_at;
        if (byte == '\n' || (byte == '\r' && Byte() != '\n')) {
            ++m_place.line;
            m_place.column = 1;
        } else if (byte != '\r' && !IsInside(Byte())) {
            ++m_place.column;
        }
    }

    void Skip(std::size_t bytes) {
        for (std::size_t i = 0; i < bytes; ++i) Step();
    }

    void SkipBlanks() {
        while (AtAny(" \t\r\n")) Step();
    }

    // The bytes up to the first of `ends`.
    std::string ReadUpTo(std::string_view ends) {
        const std::size_t begin = m_at;
        while (!AtEnd() && !AtAny(ends)) Step();
        return m_text.substr(begin, m_at - begin);
    }

private:
    // Whether the byte goes on with a character that has begun.
    bool IsInside(char byte) const {
        return m_encoding == TextEncoding::Utf8 && (static_cast<unsigned char>(byte) & 0xC0u) == 0x80u;
    }

    const std::string& m_text;
    std::size_t m_at;
    TextPlace m_place;
    const TextEncoding m_encoding;
};

}  // namespace qxlt
