// The recorder for programs in C (C99 and later, gcc or clang): a program includes this header, links libqxrecorder and
// marks the calls that it wants traced. What it records is what a C++ program records with qx/recorder.h, which tells
// more of rings, threads, loss and limits.
//
//     struct point { int x; int y; };
//     QX_TRACE_STRUCT(point_table, struct point, "Point", QX_MEMBER(struct point, int, x),
//                     QX_MEMBER(struct point, int, y));
//
//     bool move(const char* name, struct point* where) {
//         QX_CALL_RETURNS(call, bool, "robot", "Move", QX_IN(text, name), QX_INOUT_STRUCT(point_table, where));
//         ...
//         QX_RETURN(call, true);
//     }
//     void stop(void) {
//         QX_CALL(call, "robot", "Stop");
//         QX_LOG("robot", "Stopping", QX_IN(int, 42), QX_IN(text, "by hand"));
//     }
//
// A mark is a declaration: it stands where one may stand, and the call lasts to the end of the block. A call is
// recorded where its mark stands, its exit by QX_RESULT or QX_RETURN, or else, without a result, when the block is
// left. One that is left by longjmp, or by the end of its thread, has no exit. Values marked In are recorded at entry,
// Out at exit, InOut at both. What is marked In is evaluated only while recording is on.
//
// Kinds, each with its type in C:
//
//     bool char schar uchar short ushort int uint long ulong llong ullong    int8 to int64, uint8 to uint64, size
//     float double ldouble    text (const char*)  string (char*)    pointer (void*: its address)
//
// Texts have at most 8,192 bytes, the rest is cut, and so have runs of bytes, which are recorded like texts. A null
// pointer is an empty text, and an empty run; a null pointer to a struct may not be marked. A log item takes the
// members of a struct one by one, and records an empty text as a single zero byte.
//
// With QX_RECORDER_DISABLED defined nothing of the marks is left: what they name is checked, and never evaluated.
#pragma once

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#define QX_C_API __attribute__((visibility("default")))

#ifdef __cplusplus
extern "C" {
#endif

// What a full ring does.
enum qx_recorder_mode {
    QX_RECORDER_OVERWRITE,  // the oldest page makes room
    QX_RECORDER_DISCARD     // new calls are refused until the control has read
};

// Sizes in bytes, 0 standing for what they are without it; qx/recorder.h tells their bounds. The environment takes
// precedence.
struct qx_recorder_options {
    size_t page_size;
    size_t page_count;
    size_t metadata_size;
    uint32_t mode;  // one of these
};

// Sets the options of this process's recording. Returns false, and changes nothing, when a value is out of its range or
// the process records already. Any thread may call it.
QX_C_API bool qx_recorder_configure(const struct qx_recorder_options* options);

// Switches recording on or off for the whole process, at once, from any thread.
QX_C_API void qx_recorder_set_enabled(bool is_enabled);
QX_C_API bool qx_recorder_is_enabled(void);

// Names the calling thread in the trace; without it the thread goes by its system name. At most 64 bytes count.
QX_C_API void qx_recorder_set_thread_name(const char* name);

// What the process recorded so far: recorded = taken by the rings + refused, exits = taken by the rings + refused.
struct qx_recorder_counters {
    uint64_t recorded;       // calls and log items that the program made
    uint64_t refused;        // of these, those that were not recorded
    uint64_t overwritten;    // of these, those that made room for later ones, whether or not they were read
    uint64_t exits;          // returns of the calls that were recorded
    uint64_t exits_refused;  // of these, those that were not recorded
    uint64_t cut;            // entries, exits and log items in which a text was cut
};

// Returns false, and fills in zeros, when there is no memory to look. Any thread may call it.
QX_C_API bool qx_recorder_get_counters(struct qx_recorder_counters* counters);

// What the marks are made of; programs use the macros below.

enum qx_kind {
    QX_KIND_NONE,  // ends a list of values
    QX_KIND_bool,
    QX_KIND_char,
    QX_KIND_schar,
    QX_KIND_uchar,
    QX_KIND_short,
    QX_KIND_ushort,
    QX_KIND_int,
    QX_KIND_uint,
    QX_KIND_long,
    QX_KIND_ulong,
    QX_KIND_llong,
    QX_KIND_ullong,
    QX_KIND_float,
    QX_KIND_double,
    QX_KIND_ldouble,
    QX_KIND_pointer,
    QX_KIND_text,
    QX_KIND_CHARS,  // a text in a buffer of a size
    QX_KIND_BYTES,
    QX_KIND_STRUCT,
    // The same under other names.
    QX_KIND__Bool = QX_KIND_bool,
    QX_KIND_string = QX_KIND_text,
    QX_KIND_int8 = QX_KIND_schar,
    QX_KIND_uint8 = QX_KIND_uchar,
    QX_KIND_int16 = QX_KIND_short,
    QX_KIND_uint16 = QX_KIND_ushort,
    QX_KIND_int32 = QX_KIND_int,
    QX_KIND_uint32 = QX_KIND_uint,
#if UINTPTR_MAX > 0xFFFFFFFF
    QX_KIND_int64 = QX_KIND_long,
    QX_KIND_uint64 = QX_KIND_ulong,
    QX_KIND_size = QX_KIND_ulong
#else
    QX_KIND_int64 = QX_KIND_llong,
    QX_KIND_uint64 = QX_KIND_ullong,
    QX_KIND_size = QX_KIND_uint
#endif
};

struct qx_struct;

struct qx_member {
    const char* name;
    size_t offset;
    size_t more;  // of characters: their number; of bytes: the offset of their size
    uint32_t kind;
    const struct qx_struct* layout;  // of a struct
};

struct qx_struct {
    const char* name;
    const struct qx_member* members;
    size_t count;
};

// A value of a call. Nothing in it is owned.
struct qx_value {
    const void* at;
    const void* more;  // of a struct: its table; of characters and bytes: a size_t
    uint32_t kind;
    unsigned flags;  // 1 at entry, 2 at exit
};

// One call site; lives as long as its code.
struct qx_site {
    const char* file;
    unsigned line;
    uint32_t number;  // read and written by the recorder, as one piece
};

// A call that is running. Its values must live as long as it does.
struct qx_call {
    uint64_t ordinal;
    uint32_t attachment;  // 0: it is not recorded, or its exit is
    uint32_t kind;        // of the result
    const struct qx_struct* layout;
    const struct qx_value* values;
};

QX_C_API struct qx_call qx_recorder_enter(struct qx_site* site, const char* package, const char* method,
                                          const struct qx_value* values, uint32_t kind, const struct qx_struct* layout);
// Records the exit, with a result unless it is null. Requires: a call whose attachment is not 0.
QX_C_API void qx_recorder_leave(struct qx_call* call, const void* result);
QX_C_API void qx_recorder_log(struct qx_site* site, const char* package, const char* method,
                              const struct qx_value* values);

#ifdef __cplusplus
}
#else

// Whether call sites record; each of them looks at it in line.
extern QX_C_API bool qx_recorder_switch;

typedef bool qx_type_bool;
typedef bool qx_type__Bool;
typedef char qx_type_char;
typedef signed char qx_type_schar;
typedef unsigned char qx_type_uchar;
typedef short qx_type_short;
typedef unsigned short qx_type_ushort;
typedef int qx_type_int;
typedef unsigned int qx_type_uint;
typedef long qx_type_long;
typedef unsigned long qx_type_ulong;
typedef long long qx_type_llong;
typedef unsigned long long qx_type_ullong;
typedef int8_t qx_type_int8;
typedef uint8_t qx_type_uint8;
typedef int16_t qx_type_int16;
typedef uint16_t qx_type_uint16;
typedef int32_t qx_type_int32;
typedef uint32_t qx_type_uint32;
typedef int64_t qx_type_int64;
typedef uint64_t qx_type_uint64;
typedef size_t qx_type_size;
typedef float qx_type_float;
typedef double qx_type_double;
typedef long double qx_type_ldouble;
typedef const void* qx_type_pointer;
typedef const char* qx_type_text;
typedef char* qx_type_string;

// Marks a value that is recorded at entry: QX_IN(int, level). Any expression that converts to the kind's type will do.
#define QX_IN(kind, value) \
    { (qx_type_##kind const[1]){(value)}, 0, QX_KIND_##kind, 1 }
// Mark a variable, of exactly the kind's type, that is recorded at exit, and at both. It must live as long as the call.
#define QX_OUT(kind, variable) \
    { (1 ? &(variable) : (qx_type_##kind const*)0), 0, QX_KIND_##kind, 2 }
#define QX_INOUT(kind, variable) \
    { (1 ? &(variable) : (qx_type_##kind const*)0), 0, QX_KIND_##kind, 3 }

// Mark a variable that is a pointer, of whatever type: its address is recorded.
#define QX_OUT_POINTER(variable) \
    { (0 ? (const void*)(variable) : (const void*)&(variable)), 0, QX_KIND_pointer, 2 }
#define QX_INOUT_POINTER(variable) \
    { (0 ? (const void*)(variable) : (const void*)&(variable)), 0, QX_KIND_pointer, 3 }

// Mark a buffer that the call fills in with a text: up to its zero byte, or to its size when there is none.
#define QX_OUT_TEXT(buffer, size) \
    { (1 ? (buffer) : (const char*)0), (size_t const[1]){(size)}, QX_KIND_CHARS, 2 }
#define QX_INOUT_TEXT(buffer, size) \
    { (1 ? (buffer) : (const char*)0), (size_t const[1]){(size)}, QX_KIND_CHARS, 3 }

// Mark a run of bytes. What is recorded at exit takes its size from a variable, of type size_t, as it is then; it must
// not exceed what lies at `data`.
#define QX_IN_BYTES(data, size) \
    { (data), (size_t const[1]){(size)}, QX_KIND_BYTES, 1 }
#define QX_OUT_BYTES(data, size_variable) \
    { (data), (1 ? &(size_variable) : (size_t const*)0), QX_KIND_BYTES, 2 }
#define QX_INOUT_BYTES(data, size_variable) \
    { (data), (1 ? &(size_variable) : (size_t const*)0), QX_KIND_BYTES, 3 }

// Mark a struct by its table and its address. One that is recorded at exit must live as long as the call.
#define QX_IN_STRUCT(table, pointer) \
    { (1 ? (pointer) : (table##_struct const*)0), &(table), QX_KIND_STRUCT, 1 }
#define QX_OUT_STRUCT(table, pointer) \
    { (1 ? (pointer) : (table##_struct const*)0), &(table), QX_KIND_STRUCT, 2 }
#define QX_INOUT_STRUCT(table, pointer) \
    { (1 ? (pointer) : (table##_struct const*)0), &(table), QX_KIND_STRUCT, 3 }

// Describes a struct by a table of that name, at file scope or in a block: QX_TRACE_STRUCT(table, struct type, "Name",
// QX_MEMBER...). In the trace the type goes by its name.
#define QX_TRACE_STRUCT(table, type, name, ...)                                              \
    typedef type table##_struct;                                                             \
    __attribute__((unused)) static const struct qx_member table##_members[] = {__VA_ARGS__}; \
    __attribute__((unused)) static const struct qx_struct table = {                          \
        name, table##_members, sizeof(table##_members) / sizeof(table##_members[0])}

// What a mark says and what stands there are of one type, or the compiler warns of it.
#define QX_DETAIL_OFFSET(type, member, pointer) \
    (offsetof(type, member) + 0 * sizeof(1 ? &((type*)0)->member : (pointer)0))

// The members of a struct: of a kind; a struct itself, by its table; an array of char that holds a text; a pointer to
// bytes, whose number another member tells, of type size_t.
#define QX_MEMBER(type, kind, member) \
    QX_DETAIL_MEMBER(#member, QX_DETAIL_OFFSET(type, member, qx_type_##kind const*), 0, QX_KIND_##kind, 0)
#define QX_MEMBER_STRUCT(type, table, member) \
    QX_DETAIL_MEMBER(#member, QX_DETAIL_OFFSET(type, member, table##_struct const*), 0, QX_KIND_STRUCT, &(table))
#define QX_MEMBER_CHARS(type, member)                                                              \
    QX_DETAIL_MEMBER(#member, QX_DETAIL_OFFSET(type, member, char(*)[sizeof(((type*)0)->member)]), \
                     sizeof(((type*)0)->member), QX_KIND_CHARS, 0)
#define QX_MEMBER_BYTES(type, member, size_member)                                                        \
    QX_DETAIL_MEMBER(#member, offsetof(type, member), QX_DETAIL_OFFSET(type, size_member, size_t const*), \
                     QX_KIND_BYTES, 0)
#define QX_DETAIL_MEMBER(name, offset, more, kind, layout) \
    { name, offset, more, kind, layout }

#define QX_DETAIL_END \
    { 0, 0, QX_KIND_NONE, 0 }
#define QX_DETAIL_PACKAGE(package, ...) package
#define QX_DETAIL_METHOD(package, method, ...) method
#define QX_DETAIL_VALUES(package, method, ...) \
    (const struct qx_value[]) {                \
        __VA_ARGS__                            \
    }

#ifndef QX_RECORDER_DISABLED

static inline void qx_detail_leave(struct qx_call* call) {
    if (call->attachment != 0) qx_recorder_leave(call, 0);
}

static inline void qx_detail_result(struct qx_call* call, const void* result) {
    if (call->attachment != 0) qx_recorder_leave(call, result);
}

#define QX_DETAIL_NO_CALL ((struct qx_call){0, 0, 0, 0, 0})
#define QX_DETAIL_IS_ON __atomic_load_n(&qx_recorder_switch, __ATOMIC_RELAXED)

// The values live as long as the block: they stand in no block of their own.
#define QX_DETAIL_CALL(variable, kind, layout, ...)                                                                    \
    static struct qx_site variable##_site = {__FILE__, __LINE__, 0};                                                   \
    __attribute__((cleanup(qx_detail_leave), unused)) struct qx_call variable =                                        \
        QX_DETAIL_IS_ON                                                                                                \
            ? qx_recorder_enter(&variable##_site, QX_DETAIL_PACKAGE(__VA_ARGS__, 0), QX_DETAIL_METHOD(__VA_ARGS__, 0), \
                                QX_DETAIL_VALUES(__VA_ARGS__, QX_DETAIL_END), kind, layout)                            \
            : QX_DETAIL_NO_CALL

// Traces the rest of the block as a call without result: QX_CALL(variable, "package", "method", values...).
#define QX_CALL(variable, ...) QX_DETAIL_CALL(variable, QX_KIND_NONE, 0, __VA_ARGS__)

// Traces the rest of the block as a call with a result of a kind, or with a struct that a table describes.
#define QX_CALL_RETURNS(variable, kind, ...)                             \
    __attribute__((unused)) typedef qx_type_##kind variable##_qx_result; \
    QX_DETAIL_CALL(variable, QX_KIND_##kind, 0, __VA_ARGS__)
#define QX_CALL_RETURNS_STRUCT(variable, table, ...)                     \
    __attribute__((unused)) typedef table##_struct variable##_qx_result; \
    QX_DETAIL_CALL(variable, QX_KIND_STRUCT, &(table), __VA_ARGS__)

// Records the exit with a result; later ones record nothing.
#define QX_RESULT(variable, value)                            \
    do {                                                      \
        const variable##_qx_result qx_detail_value = (value); \
        qx_detail_result(&(variable), &qx_detail_value);      \
    } while (0)

// The same, and returns from the function with it.
#define QX_RETURN(variable, value)                            \
    do {                                                      \
        const variable##_qx_result qx_detail_value = (value); \
        qx_detail_result(&(variable), &qx_detail_value);      \
        return qx_detail_value;                               \
    } while (0)

// Records a log item: QX_LOG("package", "method", values...), values being marked In.
#define QX_LOG(...)                                                                                            \
    do {                                                                                                       \
        static struct qx_site qx_log_site = {__FILE__, __LINE__, 0};                                           \
        if (QX_DETAIL_IS_ON)                                                                                   \
            qx_recorder_log(&qx_log_site, QX_DETAIL_PACKAGE(__VA_ARGS__, 0), QX_DETAIL_METHOD(__VA_ARGS__, 0), \
                            QX_DETAIL_VALUES(__VA_ARGS__, QX_DETAIL_END));                                     \
    } while (0)

#else  // The sites are compiled out.

static inline void qx_detail_ignore(const char* package, const char* method, const struct qx_value* values) {
    (void)package;
    (void)method;
    (void)values;
}

#define QX_DETAIL_IGNORE(...)                                                                     \
    do {                                                                                          \
        if (0)                                                                                    \
            qx_detail_ignore(QX_DETAIL_PACKAGE(__VA_ARGS__, 0), QX_DETAIL_METHOD(__VA_ARGS__, 0), \
                             QX_DETAIL_VALUES(__VA_ARGS__, QX_DETAIL_END));                       \
    } while (0)

#define QX_CALL(variable, ...) QX_DETAIL_IGNORE(__VA_ARGS__)
#define QX_CALL_RETURNS(variable, kind, ...)                             \
    __attribute__((unused)) typedef qx_type_##kind variable##_qx_result; \
    QX_DETAIL_IGNORE(__VA_ARGS__)
#define QX_CALL_RETURNS_STRUCT(variable, table, ...)                     \
    __attribute__((unused)) typedef table##_struct variable##_qx_result; \
    QX_DETAIL_IGNORE(__VA_ARGS__)
#define QX_RESULT(variable, value)                                \
    do {                                                          \
        if (0) {                                                  \
            const variable##_qx_result qx_detail_value = (value); \
            (void)qx_detail_value;                                \
        }                                                         \
    } while (0)
#define QX_RETURN(variable, value)                            \
    do {                                                      \
        const variable##_qx_result qx_detail_value = (value); \
        return qx_detail_value;                               \
    } while (0)
#define QX_LOG(...) QX_DETAIL_IGNORE(__VA_ARGS__)

#endif
#endif
