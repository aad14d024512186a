// What recordings there are, line by line.
#pragma once

#include <string>
#include <vector>

#include "Format.h"
#include "Output.h"
#include "RecordingFiles.h"

namespace qxlt {

// Prints a line for each recording: its process, user, size, and whether the process runs or when it recorded last.
void PrintRecordings(Format format, Output& output, const std::vector<RecordingFile>& files);

// The keys of one recording, of that kind of record.
std::string RecordingJson(const char* record, const RecordingFile& file);

}  // namespace qxlt
