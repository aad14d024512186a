#include "ShowOptions.h"

namespace qxlt {

TimeFormat TimeFormatOf(const ShowOptions& options, bool isTerminal) {
    if (options.time != TimeFormat::Chosen) return options.time;
    return isTerminal ? TimeFormat::Relative : TimeFormat::Wall;
}

}  // namespace qxlt
