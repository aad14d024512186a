#include "MethodPrinter.h"

#include <unistd.h>

#include "Terminal.h"

namespace qxlt {

void MethodPrinter::Show(const MethodInterval& interval) {
    MethodSpan called = CalledOf(interval.last);
    Sort(called.rows, m_order);
    if (m_format == Format::Json) {
        for (const MethodRow& row : called.rows) m_output.Line(IntervalLine(interval, row));
        return;
    }
    if (!m_isFirst) m_output.Line("");
    m_isFirst = false;
    m_output.Line(ProcessesText(interval));
    PrintTable(MethodLines(called, m_columns, TerminalWidth(STDOUT_FILENO)));
}

void MethodPrinter::PrintWhole(MethodSpan span) {
    Sort(span.rows, m_order);
    if (m_format == Format::Json) {
        for (const MethodRow& row : span.rows) m_output.Line(WholeLine(span, row));
        return;
    }
    const std::size_t width = TerminalWidth(STDOUT_FILENO);
    PrintTable(MethodLines(span, m_columns, width));
    const std::vector<std::string> values = ValueLines(span.rows, width);
    if (!values.empty()) m_output.Line("");
    PrintTable(values);
}

void MethodPrinter::PrintTable(const std::vector<std::string>& lines) {
    for (const std::string& line : lines) m_output.Line(line);
}

}  // namespace qxlt
