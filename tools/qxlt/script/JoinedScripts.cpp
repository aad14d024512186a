#include "JoinedScripts.h"

#include <climits>
#include <deque>
#include <utility>

#include "Failure.h"
#include "Messages.h"
#include "QxXMLLoader.h"
#include "ScriptText.h"
#include "Text.h"
#include "Vocabulary.h"
#include "Xml.h"

namespace qxlt {

namespace {

constexpr std::size_t kActionDepth = 1;
constexpr std::size_t kEventDepth = 2;

[[noreturn]] void ThrowMalformed(const ScriptText& script) {
    const ScriptDefect& defect = *script.Defect();
    const std::string mend = defect.instead.empty() ? "mend it" : "write " + Printable(defect.instead);
    throw Failure(kInputWrong, Place(script.File(), defect.place.line, defect.place.column) + ": not well-formed, " +
                                   defect.text + "; " + mend + ", qxlt check " + script.File() + " finds more");
}

}  // namespace

JoinedScripts::JoinedScripts(const std::vector<std::string>& files, const std::string& calls) {
    std::deque<ScriptText> scripts;
    std::vector<const ScriptText*> pointers;
    for (const std::string& file : files) {
        pointers.push_back(&scripts.emplace_back(file));
        if (scripts.back().Defect()) ThrowMalformed(scripts.back());
    }
    Join(pointers, calls);
}

JoinedScripts::JoinedScripts(const std::vector<const ScriptText*>& scripts, const std::string& calls) {
    Join(scripts, calls);
}

void JoinedScripts::Join(const std::vector<const ScriptText*>& scripts, const std::string& calls) {
    for (const ScriptText* const script : scripts) AppendScript(*script);
    if (!calls.empty()) AppendScript(ScriptText("--call", calls));
    if (m_places.empty()) Append("<" + (m_top = qxscript::kScenario) + ">");
    Append("</" + m_top + ">");
    if (m_text.size() > INT_MAX) throw Failure(kCannotStart, "the scripts are larger than 2 GiB; split them");
    if (m_top != qxscript::kScenario && m_top != qxscript::kSession) {
        PrintWarning(m_places.front().Text() + ": no kind of script is called \"" + m_top +
                     "\", so that nothing runs; name the top element Scenario");
    }
}

// Of the top elements only the first script's is kept. It is closed once, after the last script.
void JoinedScripts::AppendScript(const ScriptText& script) {
    std::vector<std::string> open;  // by depth
    const auto close = [&](std::size_t depth) {
        for (; open.size() > depth; open.pop_back()) Append("</" + open.back() + ">");
    };
    for (const ScriptElement& element : script.Elements()) {
        close(element.depth);
        if (element.depth > 0 || m_places.empty()) AppendElement(element);
        if (m_top.empty()) m_top = element.name;
        open.push_back(element.name);
    }
    close(1);
}

void JoinedScripts::AppendElement(const ScriptElement& element) {
    m_places.push_back({element.script->File(), element.place.line});
    Append("<" + element.name);
    for (const ScriptAttribute& attribute : element.attributes) {
        const bool isProcess = element.depth == kActionDepth && attribute.name == qxscript::kActionProcess;
        const std::string text = " " + attribute.name + "=\"" + XmlEscaped(attribute.value) + "\"";
        m_text += text;
        if (!isProcess) m_textWithoutProcesses += text;
        if (isProcess) m_processes.push_back(attribute.value);
    }
    Append(">");
    if (element.depth == kEventDepth && element.name == qxscript::kEvent &&
        element.Find(TextOf(QxEventWords::kName)) != nullptr) {
        m_events.push_back(element.Value(TextOf(QxEventWords::kName)));
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

}  // namespace qxlt
