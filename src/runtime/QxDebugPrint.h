// The process-wide diagnostic printer: messages filtered by level, formatted into a fixed buffer and written to the
// platform log as one line each, under the tag "QXLT".
#pragma once

#include <pthread.h>

#include <atomic>
#include <cstdarg>
#include <cstdint>

#include "IQxLines.h"

class QxDebugPrint final : public IQxLines {
public:
    // The one printer of the process, made on first use and never destroyed. Never null; any thread may call it.
    static QxDebugPrint* GetInstance();

    QxDebugPrint(const QxDebugPrint&) = delete;
    QxDebugPrint& operator=(const QxDebugPrint&) = delete;

    // Sets the level up to which messages pass, for all threads; an EDebugLevel. Initially Info.
    void SetLevel(int level) { m_level = level; }

    // Whether messages of that level pass. Silent (0) messages never do.
    bool CheckLevel(int level) const;

    // Whether Print writes a message of that level.
    bool Writes(int level) const { return m_printEverything || CheckLevel(level); }

    // Writes the message when its level passes. `function` and `line` name the caller; the output names the printer
    // instead.
    void Print(const char* function, int line, int level, const char* format, ...)
        __attribute__((format(printf, 5, 6)));
    void PrintV(const char* function, int line, int level, const char* format, va_list arguments) override
        __attribute__((format(printf, 5, 0)));

    // Writes a line straight to the platform log, whatever the level, naming its caller. `priority` is one of dlog.h.
    static void Write(int priority, const char* function, int line, const char* format, ...)
        __attribute__((format(printf, 4, 5)));

    // Aborts the process unless the file "/etc/release" exists: assertions are fatal on development systems only. The
    // caller prints its own message afterwards.
    static void Assert(const char* expression, const char* file, unsigned long line);

private:
    QxDebugPrint();

    void m_Print(const char* function, int line, int level, bool unused, const char* format, va_list arguments)
        __attribute__((format(printf, 6, 0)));
    static pthread_t m_GetPthreadId() { return pthread_self(); }
    void m_MarkTime();

    std::atomic<bool> m_printEverything{false};
    std::uint32_t m_startTick;              // ms, set once at construction
    std::atomic<std::uint32_t> m_lastTick;  // ms, of the previous message; approximate between threads
    std::atomic<int> m_level;
};
