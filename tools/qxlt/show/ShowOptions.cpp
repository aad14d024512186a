#include "ShowOptions.h"

#include <unistd.h>

namespace qxlt {

TimeFormat TimeFormatOf(const ShowOptions& options) {
    if (options.time != TimeFormat::Chosen) return options.time;
    return isatty(STDOUT_FILENO) != 0 ? TimeFormat::Relative : TimeFormat::Wall;
}

}  // namespace qxlt
