// The checks of a set of scripts, one function for each group of them. What each looks for is told in CheckTable.cpp.
#pragma once

#include "Findings.h"
#include "ScenarioOutline.h"

namespace qxlt {

// All of those below but the last: what the scripts by themselves tell.
void CheckScripts(const ScenarioOutline& outline, Findings& findings);

// The text itself, its top element, and the comments that silence checks.
void CheckMarkup(const ScenarioOutline& outline, Findings& findings);

// Elements and attributes that nothing reads.
void CheckElements(const ScenarioOutline& outline, Findings& findings);

// Actions and their methods.
void CheckActions(const ScenarioOutline& outline, Findings& findings);

// Where an event's value comes from, and the words that its attributes may hold.
void CheckEvents(const ScenarioOutline& outline, Findings& findings);

// What is cut out of the value and required of it.
void CheckFilters(const ScenarioOutline& outline, Findings& findings);

// The conditions of events.
void CheckConditions(const ScenarioOutline& outline, Findings& findings);

// Events that share what they remember.
void CheckSharing(const ScenarioOutline& outline, Findings& findings);

// Which processes are watched, and for which methods.
void CheckProcesses(const ScenarioOutline& outline, Findings& findings);

// Values that are read as nothing for want of a type.
void CheckTypes(const ScenarioOutline& outline, Findings& findings);

// Lists in conditions.
void CheckLists(const ScenarioOutline& outline, Findings& findings);

// Names of methods that look as if the package stood in front. For want of dumps, which tell.
void CheckPackages(const ScenarioOutline& outline, Findings& findings);

}  // namespace qxlt
