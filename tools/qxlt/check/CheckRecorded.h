// Compares scenarios with what a program records.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Findings.h"
#include "Recording.h"
#include "ScenarioOutline.h"

namespace qxlt {

// How often a method of the scripts was called.
struct MethodCalls {
    const ScriptElement* method;
    std::string name;
    std::uint64_t calls;
};

// Checks the scenarios against the recording. Returns the calls of each method, in the order of the scripts.
std::vector<MethodCalls> CheckRecorded(const ScenarioOutline& outline, const Recording& recording, Findings& findings);

}  // namespace qxlt
