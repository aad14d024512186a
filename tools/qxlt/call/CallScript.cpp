#include "CallScript.h"

#include <algorithm>

#include "CallFilter.h"
#include "Failure.h"
#include "Findings.h"
#include "Text.h"
#include "Vocabulary.h"
#include "Xml.h"

namespace qxlt {

namespace {

std::string MethodElement(const std::string& name) {
    return std::string("    <") + qxscript::kMethod + " " + Written(qxscript::kUsualMethodName, name) + "/>\n";
}

}  // namespace

CallScript::CallScript(const CallChoice& choice) {
    for (const std::string& call : choice.calls) {
        if (call.empty() || !IsXmlText(call)) {
            throw Failure(kCannotStart,
                          "--call \"" + Printable(call) +
                              "\": no scenario can name that; write a method's name, or a pattern like 'Set*'");
        }
        if (std::find(m_calls.begin(), m_calls.end(), call) == m_calls.end()) m_calls.push_back(call);
    }
    if (m_calls.empty() && !choice.wheres.empty()) {
        throw Failure(kCannotStart, "--where is about the calls that --call names; add --call METHOD, or --call '*'");
    }
    for (const std::string& where : choice.wheres) m_conditions.push_back(ReadWhere(where));
}

std::string CallScript::EventName(const std::string& call, const WhereCondition* condition) const {
    return condition == nullptr ? call : call + ": " + condition->text;
}

std::string CallScript::Event(const std::string& call, const WhereCondition* condition) const {
    std::string text =
        std::string("    <") + qxscript::kEvent + " " + Written(QxEventWords::kName, EventName(call, condition));
    if (condition == nullptr) {
        text += " " + Written(QxEventWords::kTag, TextOf(qxscript::Tag::None)) + " " +
                Written(QxEventWords::kWatch, TextOf(qxscript::Watch::Always));
    } else {
        for (const auto& [attribute, value] : condition->attributes) text += " " + Written(attribute, value);
    }
    return text + "/>\n";
}

// Calls are matched by the names of their methods alone: methods of that name in other packages come along.
std::string CallScript::Action(const std::string& call, const MethodNames& methods, const std::string& process) const {
    std::string text = std::string("  <") + qxscript::kUsualAction + " " + Written(qxscript::kActionName, call);
    if (!process.empty()) text += " " + Written(qxscript::kActionProcess, process);
    text += ">\n";
    std::set<std::string> names;
    for (const auto& [package, name] : methods) {
        if (IsXmlText(name) && MatchesMethod(call, package, name)) names.insert(name);
    }
    if (!IsCallPattern(call)) names = {call};
    for (const std::string& name : names) text += MethodElement(name);
    if (names.empty()) text += "    <!-- no method that matches is recorded so far -->\n";
    for (const WhereCondition& condition : m_conditions) text += Event(call, &condition);
    if (m_conditions.empty()) text += Event(call, nullptr);
    return text + "  </" + qxscript::kUsualAction + ">\n";
}

// An action watches one process; what is left over has an action of its own.
std::string CallScript::Text(const MethodNames& methods, const std::vector<std::string>& processes) const {
    if (m_calls.empty()) return std::string();
    std::string text = std::string("<") + qxscript::kScenario + ">\n";
    for (std::size_t i = 0; i < m_calls.size(); ++i) {
        text += Action(m_calls[i], methods, i < processes.size() ? processes[i] : std::string());
    }
    for (std::size_t i = m_calls.size(); i < processes.size(); ++i) {
        text += std::string("  <") + qxscript::kUsualAction + " " + Written(qxscript::kActionName, processes[i]) + " " +
                Written(qxscript::kActionProcess, processes[i]) + "/>\n";
    }
    return text + "</" + qxscript::kScenario + ">\n";
}

bool IsCallPattern(const std::string& call) {
    return call.find_first_of("*?[\\.") != std::string::npos;
}

}  // namespace qxlt
