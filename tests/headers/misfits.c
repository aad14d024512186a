// Marks that do not fit what they name, one for each PLACE but 0; see check-c-header.cmake.
#include <qx/recorder_c.h>

struct point {
    int x;
    long long y;
    char name[4];
};

struct other {
    int x;
};

QX_TRACE_STRUCT(point_table, struct point, "Point", QX_MEMBER(struct point, int, x),
#if PLACE == 1
                QX_MEMBER(struct point, int, y),
#elif PLACE == 2
                QX_MEMBER(struct point, text, name),
#endif
                QX_MEMBER_CHARS(struct point, name));

int trace(long number, char* text, struct other* other, struct point* point);
int trace(long number, char* text, struct other* other, struct point* point) {
    int size = 0;
#if PLACE == 3
    QX_CALL_RETURNS(call, int, "p", "Trace", QX_OUT(int, number));
#elif PLACE == 4
    QX_CALL_RETURNS(call, int, "p", "Trace", QX_INOUT(text, text));
#elif PLACE == 5
    QX_CALL_RETURNS(call, int, "p", "Trace", QX_IN_STRUCT(point_table, other));
#elif PLACE == 6
    QX_CALL_RETURNS(call, int, "p", "Trace", QX_OUT_BYTES(text, size));
#elif PLACE == 7
    QX_CALL_RETURNS(call, text, "p", "Trace");
#else
    QX_CALL_RETURNS(call, int, "p", "Trace", QX_OUT(long, number), QX_INOUT(string, text),
                    QX_IN_STRUCT(point_table, point), QX_OUT(int, size));
#endif
    (void)other;
    (void)point;
    (void)number;
    QX_RETURN(call, *text);
}
