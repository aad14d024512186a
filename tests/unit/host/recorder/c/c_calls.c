#include "c_calls.h"

#include <qx/recorder_c.h>
#include <string.h>

QX_TRACE_STRUCT(point_table, struct c_point, "CPoint", QX_MEMBER(struct c_point, int, x),
                QX_MEMBER(struct c_point, int64, y));
QX_TRACE_STRUCT(shape_table, struct c_shape, "CShape", QX_MEMBER(struct c_shape, text, title),
                QX_MEMBER(struct c_shape, string, owner), QX_MEMBER_STRUCT(struct c_shape, point_table, origin),
                QX_MEMBER_CHARS(struct c_shape, code), QX_MEMBER(struct c_shape, bool, is_filled),
                QX_MEMBER_BYTES(struct c_shape, data, data_size), QX_MEMBER(struct c_shape, double, weight),
                QX_MEMBER(struct c_shape, pointer, next));

void c_numbers(const void* address) {
    QX_CALL(call, "c", "NumbersOfC", QX_IN(bool, true), QX_IN(char, 'A'), QX_IN(schar, -1), QX_IN(uchar, 255),
            QX_IN(short, -2), QX_IN(ushort, 65535), QX_IN(int, -3), QX_IN(uint, 0x12345678), QX_IN(long, -4),
            QX_IN(ulong, 5), QX_IN(llong, -6), QX_IN(ullong, 7), QX_IN(int8, -8), QX_IN(uint8, 9), QX_IN(int16, -10),
            QX_IN(uint16, 11), QX_IN(int32, -12), QX_IN(uint32, 13), QX_IN(int64, INT64_MIN), QX_IN(uint64, UINT64_MAX),
            QX_IN(size, 14), QX_IN(float, 1.5f), QX_IN(double, -0.1), QX_IN(ldouble, 1.25L), QX_IN(pointer, address));
}

void c_texts(char* owned, const char* bytes, size_t size) {
    QX_CALL(call, "c", "TextsOfC", QX_IN(text, "literal"), QX_IN(text, 0), QX_IN(text, ""), QX_IN(string, owned),
            QX_IN_BYTES(bytes, size), QX_IN_BYTES(0, 0));
}

struct c_point c_change(struct c_shape* shape) {
    QX_CALL_RETURNS_STRUCT(call, point_table, "c", "ChangeOfC", QX_INOUT_STRUCT(shape_table, shape));
    shape->title = "changed";
    shape->origin.x = -1;
    QX_RETURN(call, shape->origin);
}

const char* c_fill(int* number, const char** text, char* buffer, size_t buffer_size, unsigned char* data, size_t* size,
                   void** handle, struct c_point* point) {
    QX_CALL_RETURNS(call, text, "c", "FillOfC", QX_OUT(int, *number), QX_OUT(text, *text),
                    QX_INOUT_TEXT(buffer, buffer_size), QX_OUT_BYTES(data, *size), QX_OUT_POINTER(*handle),
                    QX_OUT_STRUCT(point_table, point), QX_INOUT(size, *size), QX_INOUT_POINTER(*handle),
                    QX_INOUT_BYTES(data, *size));
    *number = 42;
    *text = "set";
    memset(buffer, 'b', buffer_size);
    memset(data, 7, 3);
    *size = 3;
    *handle = number;
    point->x = 5;
    QX_RETURN(call, "done");
}

unsigned c_note(unsigned number) {
    QX_CALL_RETURNS(call, uint, "c", "NoteOfC", QX_IN(uint, number));
    QX_LOG("c", "LogOfC", QX_IN(uint, number), QX_IN(text, "noted"));
    QX_RETURN(call, number + 1);
}

void c_nested(void (*inside)(void)) {
    QX_CALL(outer, "c", "OuterOfC", QX_IN(int, 1));
    {
        QX_CALL_RETURNS(inner, int, "c", "InnerOfC", QX_IN(int, 2));
        inside();
        QX_RESULT(inner, 20);
    }
    QX_LOG("c", "BetweenOfC");
}

int c_leave(bool has_result) {
    QX_CALL_RETURNS(call, int, "c", "LeftOfC");
    if (!has_result) return 0;
    QX_RESULT(call, 1);
    QX_RETURN(call, 2);
}

void c_log_struct(const struct c_shape* shape) {
    QX_LOG("c", "LogStructOfC", QX_IN_STRUCT(shape_table, shape), QX_IN(text, ""), QX_IN(float, 0.5f));
}

void c_empty_table(void) {
    typedef struct c_point empty_struct;
    static const struct qx_struct empty = {"CEmpty", 0, 0};
    const struct c_point point = {1, 2};
    QX_CALL(call, "c", "EmptyOfC", QX_IN_STRUCT(empty, &point));
    (void)point;
}

void c_text(const char* text) {
    QX_CALL(call, "c", "TextOfC", QX_IN(text, text));
}
