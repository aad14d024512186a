// How results are printed.
#pragma once

namespace qxlt {

enum class Format { Text, Json };

}  // namespace qxlt
