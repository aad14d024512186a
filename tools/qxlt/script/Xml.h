// Texts that go into an XML document.
#pragma once

#include <string>

namespace qxlt {

// The text as it stands between double quotes or between tags: & < > and " as their entities, line ends and tabs as
// numbers, so that they are not taken for blanks, and so are the control characters that a document may hold: it may be
// shown on a terminal.
std::string XmlEscaped(const std::string& text);

// Whether a document of this encoding (UTF-8) can hold the text at all.
bool IsXmlText(const std::string& text);

}  // namespace qxlt
