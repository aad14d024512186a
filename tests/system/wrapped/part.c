#include "part.h"

#include "figures.h"

double part_area(void) {
    return figure_area(FIGURE_SQUARE, 3);
}
