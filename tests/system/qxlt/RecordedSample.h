// A dump to compare scenarios with: of media-server, process 412, thread 3 "mixer".
#pragma once

#include <string>

// SetVolume(int at entry), twice: 85 and 20. GetLevel(int at entry, int at exit) with a bool as result, once: 7, 9,
// true. SetSource(text at entry), once: "hdmi". Move(a composite at both moments), once. Idle(), never.
// VolumePeak is a log record of a number and a text, once.
std::string RecordedDump();
