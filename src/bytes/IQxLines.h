// Where lines of diagnostics go: the diagnostic printer, or what counts before it prints.
#pragma once

#include <cstdarg>

class IQxLines {
public:
    virtual ~IQxLines() = default;

    // Takes one line of an EDebugLevel. `function` and `line` name the caller.
    virtual void PrintV(const char* function, int line, int level, const char* format, va_list arguments)
        __attribute__((format(printf, 5, 0))) = 0;
};
