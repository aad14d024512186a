// A running qx_traced: see traced.cpp for its arguments.
#pragma once

#include <sys/types.h>

#include <string>

class TracedProgram final {
public:
    // Starts qx_traced, or the program given, and waits until it has its command name. Environment variables are
    // inherited.
    TracedProgram(const std::string& name, int threads, int calls, int pauseUs, const std::string& program = QX_TRACED);
    TracedProgram(const TracedProgram&) = delete;
    TracedProgram& operator=(const TracedProgram&) = delete;
    // Lets it end, and waits for that.
    ~TracedProgram();

    pid_t Pid() const { return m_pid; }

    // Waits until all calls are made.
    void WaitUntilDone();

    void Signal(int signal);

    // Lets it end by itself, or waits for the end that a signal brought.
    void End();

private:
    void WaitFor(const std::string& line);

    pid_t m_pid = -1;
    int m_input = -1;   // its standard input; closing it ends the program
    int m_output = -1;  // its standard output
    bool m_ended = false;
};
