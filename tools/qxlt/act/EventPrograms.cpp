#include "EventPrograms.h"

#include <string_view>

#include "CallFilter.h"
#include "EventView.h"

namespace qxlt {

namespace {

constexpr std::size_t kLongestValue = 4096;  // well below what the system takes as one variable
constexpr char kReplacement[] = "\xEF\xBF\xBD";

std::string VariableOf(const std::string& value) {
    std::string text;
    for (const char byte : std::string_view(value).substr(0, kLongestValue)) {
        text += byte == '\0' ? kReplacement : std::string(1, byte);
    }
    return text;
}

}  // namespace

std::vector<std::string> EventEnvironment(const EventView& view) {
    std::vector<std::string> variables;
    for (const LineField& field : EventFields(view)) {
        const std::string name = field.name == std::string_view("EVENT") ? "NAME" : field.name;
        variables.push_back("QX_EVENT_" + name + "=" + VariableOf(field.value));
    }
    return variables;
}

void EventPrograms::OnEvent(const EventView& view) {
    for (const EventProgram& program : m_programs) {
        if (!MatchesPattern(program.event, view.event)) continue;
        m_runner.Run(view.event, {program.command, EventEnvironment(view), EventJson(view) + "\n"});
    }
}

}  // namespace qxlt
