#include "ScriptText.h"

#include <algorithm>
#include <exception>
#include <new>
#include <sstream>
#include <utility>

#include "QxXMLDefaults.h"
#include "RawMarkup.h"
#include "ReadFile.h"
#include "TagScanner.h"

namespace qxlt {

namespace {

constexpr char kIgnore[] = "qxlt:ignore";

std::string UpperCase(std::string text) {
    for (char& byte : text) {
        if (byte >= 'a' && byte <= 'z') byte = static_cast<char>(byte - 'a' + 'A');
    }
    return text;
}

TextEncoding EncodingOf(const char* declared) {
    const std::string name = UpperCase(declared);
    if (name == "UTF-8" || name == "US-ASCII") return TextEncoding::Utf8;
    return name == "ISO-8859-1" ? TextEncoding::SingleByte : TextEncoding::Other;
}

}  // namespace

bool EndsBefore(const IgnoreComment& left, const IgnoreComment& right) {
    return left.lastLine < right.lastLine;
}

const ScriptAttribute* ScriptElement::Find(const std::string& attribute) const {
    const auto found = std::find_if(attributes.begin(), attributes.end(),
                                    [&](const ScriptAttribute& candidate) { return candidate.name == attribute; });
    return found == attributes.end() ? nullptr : &*found;
}

const std::string& ScriptElement::Value(const std::string& attribute) const {
    static const std::string none;
    const ScriptAttribute* const found = Find(attribute);
    return found == nullptr ? none : found->value;
}

// Fills the object while the XML parser reads the text.
class ScriptText::Reader final {
public:
    Reader(ScriptText& script, const std::string& text) : m_script(script), m_text(text) {
        if (m_parser == nullptr) throw std::bad_alloc();
        XML_SetUserData(m_parser.get(), this);
        XML_SetElementHandler(m_parser.get(), OnStart, OnEnd);
        XML_SetCommentHandler(m_parser.get(), OnComment);
        XML_SetXmlDeclHandler(m_parser.get(), OnDeclaration);
    }

    void Read() {
        const XML_Status status = XML_Parse(m_parser.get(), m_text.data(), static_cast<int>(m_text.size()), XML_TRUE);
        if (m_error != nullptr) std::rethrow_exception(m_error);
        if (status != XML_STATUS_OK && !m_script.m_defect) {
            m_script.m_defect = WhatIsWrong(XML_GetErrorCode(m_parser.get()));
        }
    }

private:
    static void OnStart(void* reader, const char* name, const char** attributes) {
        static_cast<Reader*>(reader)->Guard([&](Reader& self) { self.Start(name, attributes); });
    }

    static void OnEnd(void* reader, const char*) {
        static_cast<Reader*>(reader)->Guard([](Reader& self) { self.m_open.pop_back(); });
    }

    static void OnComment(void* reader, const char* text) {
        static_cast<Reader*>(reader)->Guard([&](Reader& self) { self.Comment(text); });
    }

    static void OnDeclaration(void* reader, const char*, const char* encoding, int) {
        if (encoding == nullptr) return;
        static_cast<Reader*>(reader)->Guard([&](Reader& self) { self.m_encoding = EncodingOf(encoding); });
    }

    // Nothing may be thrown through the parser's own code.
    template <typename Step>
    void Guard(const Step& step) {
        try {
            step(*this);
            m_read = std::max(m_read, Offset() + static_cast<std::size_t>(XML_GetCurrentByteCount(m_parser.get())));
        } catch (...) {
            m_error = std::current_exception();
            XML_StopParser(m_parser.get(), XML_FALSE);
        }
    }

    ScriptDefect WhatIsWrong(XML_Error error) const {
        if (error == XML_ERROR_INVALID_TOKEN || error == XML_ERROR_UNDEFINED_ENTITY) {
            const std::optional<RawMarkup> raw = FindRawMarkup(m_text, m_read, Offset(), m_encoding);
            if (raw) return {raw->place, std::string("an attribute holds a raw ") + raw->byte, raw->instead};
        }
        return {Here(), XML_ErrorString(error), std::string()};
    }

    std::size_t Offset() const { return static_cast<std::size_t>(XML_GetCurrentByteIndex(m_parser.get())); }

    TextPlace Here() const {
        return {XML_GetCurrentLineNumber(m_parser.get()), XML_GetCurrentColumnNumber(m_parser.get()) + 1};
    }

    void Start(const char* name, const char** attributes) {
        if (!m_defaults.Take(m_parser.get(), attributes)) {
            m_script.m_defect =
                ScriptDefect{Here(), "the document type gives elements too many attributes", std::string()};
            XML_StopParser(m_parser.get(), XML_FALSE);
            return;
        }
        ScriptElement& element = m_script.m_elements.emplace_back();
        element.script = &m_script;
        element.name = name;
        element.place = Here();
        for (const char** pair = attributes; *pair != nullptr; pair += 2) {
            element.attributes.push_back({pair[0], pair[1], element.place, element.place});
        }
        Locate(element);
        if (!m_open.empty()) {
            element.parent = m_open.back();
            element.depth = m_open.size();
            m_open.back()->children.push_back(&element);
        }
        m_open.push_back(&element);
    }

    // An attribute that stands nowhere in the tag, but in a document type, has the place of the element. Those of the
    // tag come first, in their order.
    void Locate(ScriptElement& element) const {
        const std::size_t offset = Offset();
        auto attribute = element.attributes.begin();
        for (const AttributePlace& found : ScanTag(m_text, offset, element.place, element.name, m_encoding)) {
            if (attribute == element.attributes.end()) return;
            if (attribute->name != found.name) continue;
            attribute->place = found.place;
            attribute->valuePlace = found.valuePlace;
            ++attribute;
        }
    }

    void Comment(const std::string& text) {
        std::istringstream words(text);
        std::string word;
        if (!(words >> word) || word != kIgnore) return;
        IgnoreComment comment;
        comment.place = Here();
        comment.lastLine = comment.place.line + static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
        while (words >> word) comment.ids.insert(UpperCase(word));
        m_script.m_ignores.push_back(std::move(comment));
    }

    ScriptText& m_script;
    const std::string& m_text;
    const QxXMLHandle m_parser{XML_ParserCreate(nullptr)};
    QxXMLDefaults m_defaults{static_cast<int>(m_text.size())};
    std::exception_ptr m_error;
    TextEncoding m_encoding = TextEncoding::Utf8;
    std::vector<ScriptElement*> m_open;
    std::size_t m_read = 0;  // bytes that are known to be well-formed
};

ScriptText::ScriptText(const std::string& file) : ScriptText(file, ReadFile(file)) {}

ScriptText::ScriptText(std::string file, const std::string& text) : m_file(std::move(file)) {
    Reader(*this, text).Read();
    std::stable_sort(m_ignores.begin(), m_ignores.end(), EndsBefore);
}

}  // namespace qxlt
