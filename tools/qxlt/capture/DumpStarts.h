// When the runs began that files of recorded calls come from.
#pragma once

#include <string>

#include "RunStart.h"

namespace qxlt {

class DumpStarts final {
public:
    // Of a dump in a capture what the capture tells; of a recording, which is this machine's, where the wall clock
    // stands, to the millisecond; nothing of other dumps, and where the capture cannot be read.
    RunStart Of(const std::string& file);

private:
    std::string m_directory;  // of the last capture
    RunStart m_start;
};

}  // namespace qxlt
