// Which recording is meant, and how recordings are named and described to a person.
#pragma once

#include <string>
#include <vector>

#include "RecordingFiles.h"

namespace qxlt {

// Whether a program of that name records under the other one, which the system cut to 15 bytes.
bool IsRecordedAs(const std::string& recorded, const std::string& name);

// The order in which recordings ended, as far as that is known: one that recorded last later comes later.
bool RecordedBefore(const RecordingFile& left, const RecordingFile& right);

// What names the recording: "jobq[4711]".
std::string RecordingText(const RecordingFile& file);

// "ended; recorded last 12 s ago", "runs; recorded last 0.1 s ago".
std::string LastRecordedText(const RecordingFile& file);

// The file that `--recording` names: NAME[PID], NAME where there is one of it only, a file in the runtime directory, or
// any file's path. Throws a Failure (cannot start) that says what there is.
std::string ChooseRecording(const std::string& text);

}  // namespace qxlt
