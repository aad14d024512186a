// The XML parser's owner, and what a script's document type makes of its elements. A default is written once and given
// to every element, so that a short text can stand for any number of attributes.
#pragma once

#include <expat.h>

#include <cstdint>
#include <memory>
#include <type_traits>

struct QxXMLDeleter {
    void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
};

// Frees the parser at its end.
using QxXMLHandle = std::unique_ptr<std::remove_pointer_t<XML_Parser>, QxXMLDeleter>;

class QxXMLDefaults final {
public:
    // `textSize` in bytes: what may be added is in proportion to it.
    explicit QxXMLDefaults(int textSize);

    // Counts the attributes that an element did not write itself. Called from the parser's handler for the element's
    // start, with its arguments. False when all of them together are too much: the text is to be refused.
    bool Take(XML_Parser parser, const char** attributes);

private:
    std::uint64_t m_left;
};
