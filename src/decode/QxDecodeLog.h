// The lines that decoding one dump prints, or one pass of the scripts over the calls of all dumps. Something may be
// wrong with every item or call: past a fixed number, lines are counted instead of printed, and one line at the end
// says how many were left out.
#pragma once

#include <cstdarg>
#include <cstdint>

#include "IQxLines.h"

class QxDecodeLog final : public IQxLines {
public:
    QxDecodeLog() = default;
    QxDecodeLog(const QxDecodeLog&) = delete;
    QxDecodeLog& operator=(const QxDecodeLog&) = delete;
    ~QxDecodeLog() override { End(); }

    // Ends what was before, if it was not ended, and starts counting anew.
    void Begin();

    // Prints how many lines were left out, if any.
    void End();

    // Prints as QxDebugPrint::Print does, or counts.
    void Print(const char* function, int line, int level, const char* format, ...)
        __attribute__((format(printf, 5, 6)));
    void PrintV(const char* function, int line, int level, const char* format, va_list arguments) override
        __attribute__((format(printf, 5, 0)));

    // Prints a text without arguments `times` times. The work does not grow with `times` beyond the limit.
    void Repeat(std::uint32_t times, const char* function, int line, int level, const char* text);

private:
    std::uint32_t m_printed = 0;
    std::uint64_t m_leftOut = 0;
};
