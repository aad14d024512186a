#include "SecondsOption.h"

#include <CLI/CLI.hpp>

#include "TimeText.h"

namespace qxlt {

CLI::Option& AddSecondsOption(CLI::App& command, const std::string& name, double& seconds,
                              const std::string& description) {
    const auto read = [&seconds](const std::string& text) { seconds = ReadSeconds(text).value_or(seconds); };
    return *command.add_option_function<std::string>(name, read, description)
                ->check(RequireLength)
                ->option_text("TIME");
}

}  // namespace qxlt
