// The stand-in device's entry point.
#ifndef STANDIN_QX_API_H
#define STANDIN_QX_API_H

#include <qx/IControl.h>

#include <boost/shared_ptr.hpp>

namespace qx {
namespace api {

boost::shared_ptr<IControl> GetControl();

}  // namespace api
}  // namespace qx

#endif
