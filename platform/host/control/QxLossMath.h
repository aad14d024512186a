// Sums and differences of loss counts, field by field.
#pragma once

#include "qx/control.h"

namespace qxhost {

template <class Operation>
qx::host::Loss Combine(const qx::host::Loss& a, const qx::host::Loss& b, Operation operation) {
    using Loss = qx::host::Loss;
    static constexpr std::uint64_t Loss::*kFields[] = {&Loss::recorded,
                                                       &Loss::delivered,
                                                       &Loss::held,
                                                       &Loss::beforeFirst,
                                                       &Loss::overwritten,
                                                       &Loss::refused,
                                                       &Loss::dropped,
                                                       &Loss::exits,
                                                       &Loss::exitsDelivered,
                                                       &Loss::exitsBeforeFirst,
                                                       &Loss::exitsOverwritten,
                                                       &Loss::exitsRefused,
                                                       &Loss::exitsDropped};
    Loss result;
    for (const auto field : kFields) result.*field = operation(a.*field, b.*field);
    return result;
}

inline qx::host::Loss Sum(const qx::host::Loss& a, const qx::host::Loss& b) {
    return Combine(a, b, [](std::uint64_t x, std::uint64_t y) { return x + y; });
}

inline qx::host::Loss Difference(const qx::host::Loss& a, const qx::host::Loss& b) {
    return Combine(a, b, [](std::uint64_t x, std::uint64_t y) { return x - y; });
}

// Makes it an account of nothing but what became of something.
inline void Balance(qx::host::Loss& loss) {
    loss.recorded = loss.delivered + loss.held + loss.beforeFirst + loss.overwritten + loss.refused + loss.dropped;
    loss.exits =
        loss.exitsDelivered + loss.exitsBeforeFirst + loss.exitsOverwritten + loss.exitsRefused + loss.exitsDropped;
}

}  // namespace qxhost
