// A device without processes, for the fuzzers that link no platform.
#include "qx/api.h"

boost::shared_ptr<qx::IControl> qx::api::GetControl() {
    return {};
}
