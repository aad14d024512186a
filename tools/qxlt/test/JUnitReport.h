// Test results as the XML that build servers read.
#pragma once

#include <string>
#include <vector>

#include "TestFolder.h"

namespace qxlt {

// Throws a Failure (cannot start) when the file cannot be written.
void WriteJUnit(const std::string& file, const std::vector<TestResult>& results);

}  // namespace qxlt
