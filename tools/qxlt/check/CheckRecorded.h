// Compares scenarios with what a program records.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Findings.h"
#include "Inventory.h"
#include "ScenarioOutline.h"

namespace qxlt {

// How often a method of the scripts was called.
struct MethodCalls {
    const ScriptElement* method;
    std::string name;
    std::uint64_t calls;
};

// Checks the scenarios against what is recorded. Returns the calls of each method, in the order of the scripts.
std::vector<MethodCalls> CheckRecorded(const ScenarioOutline& outline, const Inventory& inventory, Findings& findings);

}  // namespace qxlt
