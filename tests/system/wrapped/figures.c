#include "figures.h"

#include <errno.h>
#include <string.h>

double figure_area(enum figure figure, double size) {
    return size * size * (figure == FIGURE_CIRCLE ? 3 : 1);
}

int figure_measure(struct box* box, char* label) {
    if (label != NULL) strcpy(label, "box");
    if (box == NULL) return -1;
    box->label = "box";
    box->area = (int64_t)box->width * box->width;
    return box->width;
}

bool figure_find(const char* name, int* place, const char** end) {
    if (name == NULL || strcmp(name, "box") != 0) return false;
    if (place != NULL) *place = 3;
    if (end != NULL) *end = name + 2;
    return true;
}

void figure_each(bool (*visit)(int number, void* context), void* context) {
    for (int number = 0; number < 3 && visit(number, context); ++number) continue;
}

void* figure_fail(void) {
    if (errno == 0) errno = ERANGE;
    return NULL;
}

uint64_t figure_sum(const unsigned char* data, int count) {
    uint64_t sum = 0;
    for (int i = 0; i < count; ++i) sum += data[i];
    return sum;
}

char figure_first(const char* letters) {
    return letters[0];
}

int figure_unnamed(int number) {
    return number + 1;
}
