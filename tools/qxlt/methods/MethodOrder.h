// What tables of methods are sorted by.
#pragma once

#include <vector>

#include "MethodRow.h"

namespace qxlt {

enum class MethodColumn { Calls, Errors, Least, Mean, P99, Greatest, Threads, Name };

// How a column is asked for: by a key on a screen, by a word on the command line. The words head the columns, too.
struct MethodColumnName {
    MethodColumn column;
    char key;
    const char* word;
};
inline constexpr MethodColumnName kMethodColumns[] = {
    {MethodColumn::Calls, 'c', "calls"},     {MethodColumn::Errors, 'e', "errors"},
    {MethodColumn::Least, 'l', "least"},     {MethodColumn::Mean, 'm', "mean"},
    {MethodColumn::P99, '9', "p99"},         {MethodColumn::Greatest, 'g', "greatest"},
    {MethodColumn::Threads, 't', "threads"}, {MethodColumn::Name, 'n', "name"},
};

// Names go up, and numbers down: what there is most of comes first. Reversed, each goes the other way.
struct MethodOrder {
    MethodColumn column = MethodColumn::Calls;
    bool reversed = false;
};

const char* WordOf(MethodColumn column);

// Rows that have the same there come by name. Those without a duration are last where durations are compared, either
// way.
void Sort(std::vector<MethodRow>& rows, const MethodOrder& order);

}  // namespace qxlt
