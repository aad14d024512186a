// The platform log of the tests: keeps every line instead of writing it. Linking it defines __dlog_print.
#pragma once

#include <string>
#include <vector>

class RecordingLog final {
public:
    struct Line {
        int priority;  // of dlog.h
        std::string tag;
        std::string text;  // the whole line as it reached the log

        // What was said: without the lead "module: function(line) > " and the colour text at the end.
        std::string Message() const;
        // The function that the lead names.
        std::string Function() const;
    };

    static void Clear();

    // All lines since Clear, of all threads.
    static std::vector<Line> Lines();

    // Their messages, of one priority or of all (-1).
    static std::vector<std::string> Messages(int priority = -1);

    // How often a message was written, with that priority or with any (-1).
    static int Count(const std::string& message, int priority = -1);

    // Waits until a message that contains the text has been written; false after `timeoutMs`.
    static bool WaitFor(const std::string& part, int timeoutMs = 10000);
};
