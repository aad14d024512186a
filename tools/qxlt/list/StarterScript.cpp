#include "StarterScript.h"

#include <algorithm>
#include <map>
#include <utility>
#include <vector>

#include "CallValues.h"
#include "CallView.h"
#include "CommandName.h"
#include "Findings.h"
#include "ScenarioOutline.h"
#include "Text.h"
#include "Vocabulary.h"
#include "Xml.h"

namespace qxlt {

namespace {

constexpr std::size_t kShownExample = 60;

// Two hyphens in a row may not stand in a comment. A few characters may stand nowhere: there is no comment then.
std::string Comment(const std::string& indent, const std::string& text) {
    std::string safe;
    for (const char byte : Printable(text)) {
        if (byte == '-' && !safe.empty() && safe.back() == '-') safe += ' ';
        safe += byte;
    }
    return IsXmlText(safe) ? indent + "<!-- " + safe + " -->\n" : std::string();
}

// At most that many bytes from the front, cut between characters.
std::string Front(const std::string& text, std::size_t most) {
    std::string front = text.substr(0, most);
    while (!front.empty() && !IsUtf8(front)) front.pop_back();
    return front;
}

// As much of the name as a running process is found by.
std::string ProcessName(const std::string& name) {
    return IsXmlText(name) ? Front(name, kCommandName) : std::string();
}

std::string Begun(const std::string& element) {
    return "<" + element;
}

std::string Shortened(const std::string& text) {
    return text.size() <= kShownExample ? text : Front(text, kShownExample) + "...";
}

}  // namespace

// The call sites of one method name in one process: a scenario does not tell them apart.
struct StarterScript::Action {
    std::string process;
    std::string method;
    std::vector<const RecordedMethod*> sites;
};

std::string StarterScript::Text() {
    m_text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n" + Begun(qxscript::kScenario) + ">\n";
    std::map<std::pair<std::string, std::string>, Action> actions;
    for (const RecordedMethod& method : m_inventory.Methods()) {
        if (method.calls == 0 || method.Name().empty() || !IsXmlText(method.Name())) continue;
        Action& action = actions[{method.process, method.Name()}];
        action.process = ProcessName(method.process);
        action.method = method.Name();
        action.sites.push_back(&method);
    }
    for (const auto& entry : actions) Add(entry.second);
    return m_text + "</" + qxscript::kScenario + ">\n";
}

std::string StarterScript::UniqueName(const std::string& wanted) {
    std::string name = wanted;
    for (int number = 2; !m_names.insert(name).second; ++number) name = wanted + "_" + std::to_string(number);
    return name;
}

void StarterScript::Add(const Action& action) {
    const std::string name = UniqueName(action.method);
    m_text += "  " + Begun(qxscript::kUsualAction) + " " + Written(qxscript::kActionName, name);
    if (!action.process.empty()) m_text += " " + Written(qxscript::kActionProcess, action.process);
    m_text += ">\n";
    for (const RecordedMethod* const site : action.sites) {
        const IQxData::_HSCallLocation& location = site->location;
        m_text += Comment("    ", location.packageName + "." + location.callerName + " in " + location.srcCodeFileRaw +
                                      ", " + Counted(site->calls, "call"));
    }
    AddMethod(action.method);
    const std::size_t before = m_text.size();
    for (const qxscript::Tag tag : kRecordedTags) AddEvents(action, tag);
    if (m_text.size() == before) {
        AddEvent(action.method + "_CALLED", {{QxEventWords::kTag, TextOf(qxscript::Tag::None)},
                                             {QxEventWords::kWatch, TextOf(qxscript::Watch::Always)}});
    }
    m_text += std::string("  </") + qxscript::kUsualAction + ">\n";
}

// What was recorded needs no check's doubts about it.
void StarterScript::AddMethod(const std::string& method) {
    std::string ignored;
    if (!WithoutPackage(method).empty()) ignored += std::string(" ") + CheckOf(CheckId::MethodWithPackage).code;
    if (!m_methods.insert(method).second) {
        m_text += Comment("    ", "the calls of all processes reach each of the actions with this method");
        ignored += std::string(" ") + CheckOf(CheckId::SeveralProcesses).code;
    }
    if (!ignored.empty()) m_text += Comment("    ", "qxlt:ignore" + ignored);
    m_text += "    " + Begun(qxscript::kMethod) + " " + Written(qxscript::kUsualMethodName, method) + "/>\n";
}

void StarterScript::AddEvent(const std::string& wantedName, const Attributes& attributes) {
    m_text += "    " + Begun(qxscript::kEvent) + " " + Written(QxEventWords::kName, UniqueName(wantedName));
    for (const auto& [attribute, value] : attributes) m_text += " " + Written(attribute, value);
    m_text += "/>\n";
}

// An event for each value that the example of a call site holds.
void StarterScript::AddEvents(const Action& action, qxscript::Tag tag) {
    std::set<std::size_t> done;
    for (const RecordedMethod* const site : action.sites) {
        const std::vector<RecordedValue>& values = site->Values(tag);
        for (std::size_t i = 0; i < values.size(); ++i) {
            const IQxData::HSICallArg* const example = site->Example(tag, i);
            const std::string type = TextOf(FittingType(values[i]));
            if (example == nullptr || example->empty() || type.empty() || !done.insert(i).second) continue;
            m_text += Comment("    ", values[i].type + ", for example " + Shortened(ArgumentText(*example)));
            const std::string number = std::to_string(i);
            AddEvent(action.method + "_" + TextOf(tag) + number,
                     {{QxEventWords::kTag, TextOf(tag)},
                      {QxEventWords::kValue, number},
                      {QxEventWords::kType, type},
                      {QxEventWords::kWatch, TextOf(qxscript::Watch::Changed)}});
        }
    }
}

}  // namespace qxlt
