// Runs the tool's commands inside a fuzzer.
#pragma once

#include <string>
#include <vector>

#include "Command.h"

// Runs the one command with the arguments that follow its name. A command may end with a Failure; unlike the tool
// itself, which makes an exit status of every exception, all others pass, so that the fuzzer stops at them.
void RunFuzzedCommand(void (*add)(CLI::App&, qxlt::Invocation&), std::vector<std::string> arguments);
