// Prints the numbers of methods: a table for each interval, or a line for each method.
#pragma once

#include "Format.h"
#include "IMethodDisplay.h"
#include "MethodOrder.h"
#include "MethodTable.h"
#include "Output.h"

namespace qxlt {

class MethodPrinter final : public IMethodDisplay {
public:
    // `output` must outlive the printer.
    MethodPrinter(Format format, Output& output, const MethodOrder& order, const MethodColumns& columns)
        : m_format(format), m_output(output), m_order(order), m_columns(columns) {}

    // The methods that were called in the interval.
    void Show(const MethodInterval& interval) override;

    // All there is, with the values of the calls.
    void PrintWhole(MethodSpan span);

private:
    void PrintTable(const std::vector<std::string>& lines);

    const Format m_format;
    Output& m_output;
    const MethodOrder m_order;
    const MethodColumns m_columns;
    bool m_isFirst = true;
};

}  // namespace qxlt
