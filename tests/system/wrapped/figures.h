// A library in C that knows nothing of the recorder.
#pragma once

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

enum figure { FIGURE_SQUARE, FIGURE_CIRCLE = 7 };

struct box {
    const char* label;
    int64_t area;
    int width;
};

// `size` squared, three times that for a circle.
double figure_area(enum figure figure, double size);

// Fills in the label, "box", and the area, and writes the same label to a buffer of four bytes. Returns the width.
int figure_measure(struct box* box, char* label);

// Whether the name is known: then the pointers, where they are not null, get its place, 3, and its end.
bool figure_find(const char* name, int* place, const char** end);

// Has each of 0, 1 and 2 visited, up to the first visit that returns false.
void figure_each(bool (*visit)(int number, void* context), void* context);

// Fails: returns null, and sets errno to ERANGE unless it was set before.
void* figure_fail(void);

// The sum of the bytes, 0 for a negative number of them.
uint64_t figure_sum(const unsigned char* data, int count);

// The first character of a text without an end.
char figure_first(const char* letters);

// Not recorded.
int figure_unnamed(int number);

#ifdef __cplusplus
}
#endif
