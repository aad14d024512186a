// Whether something can be drawn on the terminal. Stands apart from what draws: the header that tells it makes macros
// of words like `lines`.
#pragma once

namespace qxlt {

// Whether the terminal of standard output is of a kind that the system describes, with a cursor that can be placed.
bool CanDraw();

}  // namespace qxlt
