#include "PageTemplate.h"

namespace qxlt {

std::string_view PageTemplate() {
    return {};
}

}  // namespace qxlt
