// Traced functions in C, for tests in C++.
#pragma once

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

struct c_point {
    int x;
    int64_t y;
};

struct c_shape {
    const char* title;
    char* owner;
    struct c_point origin;
    char code[4];
    bool is_filled;
    unsigned char* data;
    size_t data_size;
    double weight;
    const void* next;
};

// One call with a value of each kind, of fixed values: "NumbersOfC", "TextsOfC".
void c_numbers(const void* address);
void c_texts(char* owned, const char* bytes, size_t size);

// Records the shape at entry and exit, and changes it in between: "ChangeOfC". Returns its origin.
struct c_point c_change(struct c_shape* shape);

// Fills in all that it can hand out: "FillOfC".
const char* c_fill(int* number, const char** text, char* buffer, size_t buffer_size, unsigned char* data, size_t* size,
                   void** handle, struct c_point* point);

// "NoteOfC", a call with a number and its successor as the result, around a log item "LogOfC" of the number.
unsigned c_note(unsigned number);

// "OuterOfC" around "InnerOfC". Does what it is given inside the inner call.
void c_nested(void (*inside)(void));

// Returns from "LeftOfC" without a result, or with two of which the first counts.
int c_leave(bool has_result);

// "LogStructOfC", a log item with a struct and an empty text.
void c_log_struct(const struct c_shape* shape);

// "EmptyOfC", with a struct whose table has no members.
void c_empty_table(void);

// "TextOfC", recorded at entry.
void c_text(const char* text);

#ifdef __cplusplus
}
#endif
