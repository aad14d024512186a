// Texts in XML.
#include "Xml.h"

#include <gmock/gmock.h>

#include <utility>

#include "Text.h"

namespace {

using namespace qxlt;

TEST(Xml, EscapesWhatAnAttributeWouldChange) {
    const std::pair<const char*, const char*> rows[] = {{"", ""},
                                                        {"a&b<c>d\"e'", "a&amp;b&lt;c&gt;d&quot;e'"},
                                                        {"\t\r\n \x7F", "&#9;&#13;&#10; &#127;"},
                                                        {"\xC2\x80x", "&#128;x"},
                                                        {"\xC2\x9F", "&#159;"},
                                                        {"\xC2\xA0", "\xC2\xA0"},
                                                        {"\xC3\x80", "\xC3\x80"},
                                                        {"a\xC2", "a\xC2"}};
    for (const auto& [text, escaped] : rows) EXPECT_EQ(XmlEscaped(text), escaped);
}

TEST(Xml, KnowsWhatADocumentCanHold) {
    for (const char* const text : {"", "a b", "\t\r\n", "\x7F", "\xC2\x80", "\xEF\xBF\xBD", "\xF0\x9F\x98\x80"}) {
        EXPECT_TRUE(IsXmlText(text)) << Hex(text);
    }
    for (const char* const text : {"\x01", "a\x1F", "\xEF\xBF\xBE", "\xEF\xBF\xBF", "\xFF", "\xC2"}) {
        EXPECT_FALSE(IsXmlText(text)) << Hex(text);
    }
}

}  // namespace
