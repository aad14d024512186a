#include "TracedProgram.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>

TracedProgram::TracedProgram(const std::string& name, int threads, int calls, int pauseUs, const std::string& program) {
    int input[2];
    int output[2];
    if (pipe2(input, O_CLOEXEC) != 0 || pipe2(output, O_CLOEXEC) != 0) throw std::runtime_error("pipe failed");
    const std::string numbers[] = {std::to_string(threads), std::to_string(calls), std::to_string(pauseUs)};
    m_pid = fork();
    if (m_pid == 0) {
        dup2(input[0], STDIN_FILENO);
        dup2(output[1], STDOUT_FILENO);
        execl(program.c_str(), program.c_str(), name.c_str(), numbers[0].c_str(), numbers[1].c_str(),
              numbers[2].c_str(), static_cast<char*>(nullptr));
        _exit(127);
    }
    close(input[0]);
    close(output[1]);
    m_input = input[1];
    m_output = output[0];
    WaitFor("started");
}

TracedProgram::~TracedProgram() {
    End();
    close(m_output);
}

void TracedProgram::WaitUntilDone() {
    WaitFor("done");
}

void TracedProgram::WaitFor(const std::string& line) {
    std::string text;
    char byte = 0;
    while (text != line + "\n") {
        if (read(m_output, &byte, 1) != 1) throw std::runtime_error("the traced program ended before: " + line);
        text += byte;
    }
}

void TracedProgram::Signal(int signal) {
    kill(m_pid, signal);
}

void TracedProgram::End() {
    if (m_ended) return;
    m_ended = true;
    close(m_input);
    int status = 0;
    waitpid(m_pid, &status, 0);
}
