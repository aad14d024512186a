// Test results as the XML that build servers read.
#pragma once

#include <string>
#include <vector>

#include "TestFolder.h"

namespace qxlt {

// Throws a Failure (cannot start) when the file cannot be written.
void WriteJUnit(const std::string& file, const std::vector<TestResult>& results);

// The differing lines, "- " before one that is missing and "+ " before one that is not expected.
std::vector<std::string> DiffText(const TestResult& result);

}  // namespace qxlt
