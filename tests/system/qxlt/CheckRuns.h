// Runs of `qxlt check`, and what they find.
#pragma once

#include <string>
#include <vector>

#include "Child.h"
#include "Workplace.h"

inline ToolResult RunIn(const std::string& directory, std::vector<std::string> arguments) {
    Child::Setup setup;
    setup.directory = directory;
    return RunTool(arguments, setup);
}

// The findings in a script, by place and code: "4:31 QX021".
inline std::vector<std::string> FindingsIn(const std::string& script) {
    const Workplace place;
    place.Write("a.xml", script);
    std::vector<std::string> findings;
    for (const std::string& line : Lines(RunIn(place.Path(), {"check", "a.xml"}).output)) {
        const std::size_t from = line.find(':') + 1;
        findings.push_back(line.substr(from, line.find(": ") - from) + " " + line.substr(line.rfind('[') + 1, 5));
    }
    return findings;
}

inline std::string Event(const std::string& attributes) {
    return VolumeScript("<event name=\"E\" " + attributes + "/>");
}

inline std::vector<std::string> Codes(const std::string& script) {
    std::vector<std::string> codes;
    for (const std::string& finding : FindingsIn(script)) codes.push_back(finding.substr(finding.find(' ') + 1));
    return codes;
}
