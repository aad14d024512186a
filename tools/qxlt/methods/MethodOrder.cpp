#include "MethodOrder.h"

#include <algorithm>
#include <iterator>
#include <tuple>

namespace qxlt {

namespace {

bool IsDuration(MethodColumn column) {
    return column == MethodColumn::Least || column == MethodColumn::Mean || column == MethodColumn::P99 ||
           column == MethodColumn::Greatest;
}

std::uint64_t NumberOf(const MethodRow& row, MethodColumn column) {
    switch (column) {
        case MethodColumn::Calls:
            return row.calls;
        case MethodColumn::Errors:
            return row.errors;
        case MethodColumn::Least:
            return row.least;
        case MethodColumn::Mean:
            return row.mean;
        case MethodColumn::P99:
            return row.p99;
        case MethodColumn::Greatest:
            return row.greatest;
        case MethodColumn::Threads:
            return row.threads;
        case MethodColumn::Name:
            break;
    }
    return 0;
}

bool IsNamedBefore(const MethodRow& left, const MethodRow& right) {
    return std::tie(left.method, left.process) < std::tie(right.method, right.process);
}

bool ComesBefore(const MethodRow& left, const MethodRow& right, const MethodOrder& order) {
    if (order.column == MethodColumn::Name) {
        return order.reversed ? IsNamedBefore(right, left) : IsNamedBefore(left, right);
    }
    const bool leftHas = !IsDuration(order.column) || left.timed > 0;
    const bool rightHas = !IsDuration(order.column) || right.timed > 0;
    if (leftHas != rightHas) return leftHas;
    const std::uint64_t leftNumber = leftHas ? NumberOf(left, order.column) : 0;
    const std::uint64_t rightNumber = rightHas ? NumberOf(right, order.column) : 0;
    if (leftNumber == rightNumber) return IsNamedBefore(left, right);
    return (leftNumber < rightNumber) == order.reversed;
}

}  // namespace

const char* WordOf(MethodColumn column) {
    return std::find_if(std::begin(kMethodColumns), std::end(kMethodColumns),
                        [column](const MethodColumnName& name) { return name.column == column; })
        ->word;
}

void Sort(std::vector<MethodRow>& rows, const MethodOrder& order) {
    std::sort(rows.begin(), rows.end(),
              [&order](const MethodRow& left, const MethodRow& right) { return ComesBefore(left, right, order); });
}

}  // namespace qxlt
