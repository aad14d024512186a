// Whether something can be drawn on the terminal. Stands apart from what draws: the header that tells it makes macros
// of words like `lines`.
#pragma once

#include <string>

namespace qxlt {

// Whether the terminal of standard output is of a kind that the system describes, with a cursor that can be placed.
bool CanDraw();

// What clears that terminal and places the cursor at its beginning; empty where CanDraw is false.
std::string ClearText();

}  // namespace qxlt
