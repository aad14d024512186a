// The one list of the tool's commands: nothing else names them. To add one: write its XxxCommand.cpp with an `AddXxx`,
// declare that here, and add it to the list in CommandList.cpp. docs/extending.md has all steps.
#pragma once

#include <vector>

#include "Command.h"

namespace qxlt {

// Adds a command with its options, and what it does, to the command line.
using AddFunction = void (*)(CLI::App& app, Invocation& invocation);

void AddRun(CLI::App& app, Invocation& invocation);
void AddReplay(CLI::App& app, Invocation& invocation);
void AddDecode(CLI::App& app, Invocation& invocation);
void AddList(CLI::App& app, Invocation& invocation);
void AddClean(CLI::App& app, Invocation& invocation);
void AddCheck(CLI::App& app, Invocation& invocation);
void AddTest(CLI::App& app, Invocation& invocation);
void AddTrace(CLI::App& app, Invocation& invocation);
void AddExport(CLI::App& app, Invocation& invocation);
void AddImport(CLI::App& app, Invocation& invocation);
void AddTop(CLI::App& app, Invocation& invocation);
void AddReport(CLI::App& app, Invocation& invocation);
void AddView(CLI::App& app, Invocation& invocation);
void AddFleet(CLI::App& app, Invocation& invocation);

// All of them, in the order in which the help shows them.
const std::vector<AddFunction>& AllCommands();

}  // namespace qxlt
