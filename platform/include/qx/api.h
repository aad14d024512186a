// Entry point of the tracing framework's control library.
#pragma once

#include <boost/shared_ptr.hpp>

#include "qx/IControl.h"

namespace qx {
namespace api {

// The control interface; null when the device's framework gives none.
boost::shared_ptr<qx::IControl> GetControl();

}  // namespace api
}  // namespace qx
