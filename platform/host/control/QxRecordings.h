// The recordings of a directory as they lie there: lists them, puts what they hold into a dump without touching them,
// and removes those of processes that have ended.
#pragma once

#include <string>
#include <vector>

#include "qx/control.h"

namespace qxhost {

class QxRecordings {
public:
    // See qx/control.h.
    static std::vector<qx::host::RecordingInfo> List(const std::string& directory, std::string& problem);
    static bool IsOne(const std::string& path);
    static bool Dump(const std::vector<std::string>& paths, std::string& dump, std::string& problem);
    static bool Remove(const std::string& path, std::string& problem);
};

}  // namespace qxhost
