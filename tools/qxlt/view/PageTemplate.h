// The page that `view` fills in: markup, style and program in one text, which tools/qxlt/page/build.mjs makes while the
// tool is built.
#pragma once

#include <string_view>

namespace qxlt {

// Where the run stands in the page.
inline constexpr std::string_view kRunPlace = "@run@";

// Empty where the tool was built without it.
std::string_view PageTemplate();

}  // namespace qxlt
