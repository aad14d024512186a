#include "JoinedScripts.h"

#include <expat.h>

#include <algorithm>
#include <climits>
#include <exception>
#include <new>
#include <string_view>
#include <type_traits>
#include <utility>

#include "Common.h"
#include "QxXMLLoader.h"
#include "Text.h"

namespace qxlt {

namespace {

struct ParserDeleter {
    void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
};
using ParserHandle = std::unique_ptr<std::remove_pointer_t<XML_Parser>, ParserDeleter>;

constexpr std::size_t kActionDepth = 1;
constexpr std::size_t kEventDepth = 2;

// Blanks other than the plain one would be taken for it if they stood in the text as they are.
std::string Escaped(std::string_view value) {
    std::string text;
    for (const char byte : value) {
        if (std::string_view("&<\"\t\n\r").find(byte) == std::string_view::npos) {
            text += byte;
        } else {
            text += "&#" + std::to_string(static_cast<int>(byte)) + ";";
        }
    }
    return text;
}

}  // namespace

// Writes one script's elements behind those of the scripts before it.
class JoinedScripts::Reader final {
public:
    Reader(JoinedScripts& joined, const std::string& file) : m_joined(joined), m_file(file) {
        if (m_parser == nullptr) throw std::bad_alloc();
        XML_SetUserData(m_parser.get(), this);
        XML_SetElementHandler(m_parser.get(), OnStart, OnEnd);
    }

    void Read() {
        const std::string text = ReadFile(m_file);
        const XML_Status status = XML_Parse(m_parser.get(), text.data(), static_cast<int>(text.size()), XML_TRUE);
        if (m_error != nullptr) std::rethrow_exception(m_error);
        if (status != XML_STATUS_OK) ThrowMalformed();
    }

private:
    // Nothing may be thrown through the parser's own code.
    static void OnStart(void* reader, const char* name, const char** attributes) {
        auto& self = *static_cast<Reader*>(reader);
        try {
            self.Start(name, attributes);
        } catch (...) {
            self.m_error = std::current_exception();
            XML_StopParser(self.m_parser.get(), XML_FALSE);
        }
    }

    static void OnEnd(void* reader, const char* name) {
        auto& self = *static_cast<Reader*>(reader);
        try {
            self.End(name);
        } catch (...) {
            self.m_error = std::current_exception();
            XML_StopParser(self.m_parser.get(), XML_FALSE);
        }
    }

    [[noreturn]] void ThrowMalformed() const {
        throw Failure(kInputWrong, Place(m_file, Line(), XML_GetCurrentColumnNumber(m_parser.get()) + 1) +
                                       ": not well-formed, " + XML_ErrorString(XML_GetErrorCode(m_parser.get())) +
                                       "; mend it, qxlt check " + m_file + " finds more");
    }

    std::size_t Line() const { return XML_GetCurrentLineNumber(m_parser.get()); }

    // Of the top elements only the first script's is kept.
    bool IsKept() const { return m_depth > 0 || m_joined.m_places.empty(); }

    void Start(const char* name, const char** attributes) {
        if (IsKept()) Open(name, attributes);
        ++m_depth;
    }

    void Open(const char* name, const char** attributes) {
        if (m_depth == 0) m_joined.m_top = name;
        m_joined.m_places.push_back({m_file, Line()});
        Append(std::string("<") + name);
        for (const char** attribute = attributes; *attribute != nullptr; attribute += 2) {
            const std::string text = std::string(" ") + attribute[0] + "=\"" + Escaped(attribute[1]) + "\"";
            m_joined.m_text += text;
            if (!IsProcess(attribute[0])) m_joined.m_textWithoutProcesses += text;
            Note(name, attribute[0], attribute[1]);
        }
        Append(">");
    }

    bool IsProcess(const char* attribute) const {
        return m_depth == kActionDepth && std::string_view(attribute) == "process";
    }

    void Note(std::string_view element, const char* attribute, const char* value) {
        if (IsProcess(attribute)) m_joined.m_processes.emplace_back(value);
        if (m_depth == kEventDepth && element == "event" && std::string_view(attribute) == "name") {
            m_joined.m_events.emplace_back(value);
        }
    }

    // The joined text's top element is closed once, after the last script.
    void End(const char* name) {
        if (--m_depth > 0) Append(std::string("</") + name + ">");
    }

    void Append(const std::string& text) { m_joined.Append(text); }

    JoinedScripts& m_joined;
    const std::string& m_file;
    const ParserHandle m_parser{XML_ParserCreate(nullptr)};
    std::exception_ptr m_error;
    std::size_t m_depth = 0;  // elements that are open
};

JoinedScripts::JoinedScripts(const std::vector<std::string>& files) {
    for (const std::string& file : files) Reader(*this, file).Read();
    Append("</" + m_top + ">");
    if (m_text.size() > INT_MAX) throw Failure(kCannotStart, "the scripts are larger than 2 GiB; split them");
    if (m_top != "Scenario" && m_top != "session") {
        PrintWarning(m_places.front().Text() + ": no kind of script is called \"" + Printable(m_top) +
                     "\", so that nothing runs; name the top element Scenario");
    }
}

void JoinedScripts::Append(const std::string& text) {
    m_text += text;
    m_textWithoutProcesses += text;
}

// Both trees have the same elements in the same order. The walk keeps no stack of calls: depth is the script's choice.
ScriptPlaces JoinedScripts::PlacesIn(const IQxData::_HSScriptPtr& root) const {
    ScriptPlaces places;
    std::vector<const IQxData::_HSScriptPtr*> open = {&root};
    for (const ScriptPlace& place : m_places) {
        const IQxData::_HSScriptPtr* const element = open.back();
        open.pop_back();
        places.Add(*element, place);
        open.insert(open.end(), element->children.rbegin(), element->children.rend());
    }
    return places;
}

IQxData::_HSScriptPtr& LoadScripts(const JoinedScripts& scripts, const std::shared_ptr<IQxData>& store) {
    std::string text = scripts.Text();
    std::pair<int, char*> bytes(static_cast<int>(text.size()), text.data());
    QxXMLLoader::Parse(bytes, store);
    return RootOf(*store);
}

IQxData::_HSScriptPtr& RootOf(IQxData& store) {
    IQxData::_HSScript* slot = nullptr;
    return **store.GetScript(&slot);
}

std::size_t WidestOf(const std::vector<std::string>& names, std::size_t least) {
    for (const std::string& name : names) least = std::max(least, Printable(name).size());
    return least;
}

}  // namespace qxlt
