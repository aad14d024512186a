// A shared library whose own calls are recorded.
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

// The area of a square of 3 by 3, as the other library tells it.
double part_area(void);

#ifdef __cplusplus
}
#endif
