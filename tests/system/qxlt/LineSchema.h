// The JSON lines of the tool against docs/lines.schema.json: whatever a test has the tool print is held against it.
#pragma once

#include <string>

// What is wrong with the line; empty when it is one of the schema's.
std::string SchemaFault(const std::string& line);

// Fails the test for the first of the lines that is none of the schema's. What stands behind the last end of a line was
// cut off, and is left out.
void ExpectLinesOfSchema(const std::string& output);
