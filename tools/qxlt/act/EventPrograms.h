// Has commands of the user's run when events fire.
#pragma once

#include <string>
#include <vector>

#include "IRunPart.h"
#include "ProgramRunner.h"

namespace qxlt {

struct EventProgram {
    std::string event;  // a name, or a pattern
    std::string command;
};

// The event reaches the command as its JSON line on standard input and, in pieces, in QX_EVENT_NAME, QX_EVENT_VALUE and
// so on; nothing of it becomes part of the command itself.
class EventPrograms final : public IRunPart {
public:
    EventPrograms(std::vector<EventProgram> programs, const ProgramRunner::Bounds& bounds)
        : m_programs(std::move(programs)), m_runner(bounds) {}

    void OnEvent(const EventView& view) override;
    void OnEnd() override { m_runner.Finish(); }
    std::vector<HealthFigure> Health() const override;
    bool Failed() const override { return m_runner.Failed(); }

private:
    const std::vector<EventProgram> m_programs;
    ProgramRunner m_runner;
};

// What stands in a command's environment for an event: "QX_EVENT_NAME=VOLUME_HIGH" and so on. A value has at most 4,096
// bytes there, with U+FFFD in the place of each NUL.
std::vector<std::string> EventEnvironment(const EventView& view);

}  // namespace qxlt
