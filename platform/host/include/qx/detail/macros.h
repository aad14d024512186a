// What the macros of the recorder are made of.
#pragma once

#define QX_RECORDER_API __attribute__((visibility("default")))

// Visits each of 1 to 16 members, by name.
#define QX_DETAIL_VISIT(member) visit(#member, &QxStruct::member);
#define QX_DETAIL_EXPAND(x) x
#define QX_DETAIL_PICK(_1, _2, _3, _4, _5, _6, _7, _8, _9, _10, _11, _12, _13, _14, _15, _16, NAME, ...) NAME
#define QX_DETAIL_EACH(...)                                                                                  \
    QX_DETAIL_EXPAND(QX_DETAIL_PICK(__VA_ARGS__, QX_DETAIL_E16, QX_DETAIL_E15, QX_DETAIL_E14, QX_DETAIL_E13, \
                                    QX_DETAIL_E12, QX_DETAIL_E11, QX_DETAIL_E10, QX_DETAIL_E9, QX_DETAIL_E8, \
                                    QX_DETAIL_E7, QX_DETAIL_E6, QX_DETAIL_E5, QX_DETAIL_E4, QX_DETAIL_E3,    \
                                    QX_DETAIL_E2, QX_DETAIL_E1, 0)(__VA_ARGS__))
#define QX_DETAIL_E1(m) QX_DETAIL_VISIT(m)
#define QX_DETAIL_E2(m, ...) QX_DETAIL_VISIT(m) QX_DETAIL_E1(__VA_ARGS__)
#define QX_DETAIL_E3(m, ...) QX_DETAIL_VISIT(m) QX_DETAIL_E2(__VA_ARGS__)
#define QX_DETAIL_E4(m, ...) QX_DETAIL_VISIT(m) QX_DETAIL_E3(__VA_ARGS__)
#define QX_DETAIL_E5(m, ...) QX_DETAIL_VISIT(m) QX_DETAIL_E4(__VA_ARGS__)
#define QX_DETAIL_E6(m, ...) QX_DETAIL_VISIT(m) QX_DETAIL_E5(__VA_ARGS__)
#define QX_DETAIL_E7(m, ...) QX_DETAIL_VISIT(m) QX_DETAIL_E6(__VA_ARGS__)
#define QX_DETAIL_E8(m, ...) QX_DETAIL_VISIT(m) QX_DETAIL_E7(__VA_ARGS__)
#define QX_DETAIL_E9(m, ...) QX_DETAIL_VISIT(m) QX_DETAIL_E8(__VA_ARGS__)
#define QX_DETAIL_E10(m, ...) QX_DETAIL_VISIT(m) QX_DETAIL_E9(__VA_ARGS__)
#define QX_DETAIL_E11(m, ...) QX_DETAIL_VISIT(m) QX_DETAIL_E10(__VA_ARGS__)
#define QX_DETAIL_E12(m, ...) QX_DETAIL_VISIT(m) QX_DETAIL_E11(__VA_ARGS__)
#define QX_DETAIL_E13(m, ...) QX_DETAIL_VISIT(m) QX_DETAIL_E12(__VA_ARGS__)
#define QX_DETAIL_E14(m, ...) QX_DETAIL_VISIT(m) QX_DETAIL_E13(__VA_ARGS__)
#define QX_DETAIL_E15(m, ...) QX_DETAIL_VISIT(m) QX_DETAIL_E14(__VA_ARGS__)
#define QX_DETAIL_E16(m, ...) QX_DETAIL_VISIT(m) QX_DETAIL_E15(__VA_ARGS__)
