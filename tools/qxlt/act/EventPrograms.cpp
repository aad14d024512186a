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

std::vector<HealthFigure> EventPrograms::Health() const {
    const ProgramRunner::Counts counts = m_runner.Count();
    return {{"commandsStarted", "qxlt_commands_started_total", "Commands of --exec that were started.", counts.started},
            {"commandsFailed", "qxlt_commands_failed_total", "Commands of --exec that failed.", counts.failed},
            {"commandsLeftOut", "qxlt_commands_left_out_total", "Commands of --exec for which no room was.",
             counts.leftOut}};
}

}  // namespace qxlt
