// The options that all commands take.
#pragma once

#include "Format.h"
#include "IQxLogTracker.h"

namespace qxlt {

struct CommonOptions {
    Format format = Format::Text;
    EDebugLevel level = Silent;
};

}  // namespace qxlt
