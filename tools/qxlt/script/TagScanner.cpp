#include "TagScanner.h"

#include "TextWalker.h"

namespace qxlt {

namespace {

AttributePlace ReadAttribute(TextWalker& walker) {
    AttributePlace found;
    found.place = walker.Place();
    found.name = walker.ReadUpTo("= \t\r\n");
    walker.ReadUpTo("\"'");
    const char quote = walker.Byte();
    walker.Step();
    found.valuePlace = walker.Place();
    walker.ReadUpTo(std::string_view(&quote, 1));
    walker.Step();
    return found;
}

}  // namespace

std::vector<AttributePlace> ScanTag(const std::string& text, std::size_t offset, TextPlace start,
                                    const std::string& element, TextEncoding encoding) {
    std::vector<AttributePlace> found;
    const std::string opening = "<" + element;
    if (encoding == TextEncoding::Other || text.compare(offset, opening.size(), opening) != 0) return found;
    TextWalker walker(text, offset, start, encoding);
    walker.Skip(opening.size());
    for (walker.SkipBlanks(); !walker.AtEnd() && !walker.AtAny("/>"); walker.SkipBlanks()) {
        found.push_back(ReadAttribute(walker));
    }
    return found;
}

}  // namespace qxlt
