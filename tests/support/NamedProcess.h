// A child process that does nothing under a command name, alive as long as this object.
#pragma once

#include <sys/types.h>

#include <string>

class NamedProcess final {
public:
    // Returns once the child has its name. The system keeps the first 15 bytes. Throws std::runtime_error.
    explicit NamedProcess(const std::string& name);
    NamedProcess(const NamedProcess&) = delete;
    NamedProcess& operator=(const NamedProcess&) = delete;
    ~NamedProcess();

    const std::string& Name() const { return m_name; }
    pid_t Pid() const { return m_pid; }
    // As the tracker counts process ids.
    unsigned short Pid16() const { return static_cast<unsigned short>(m_pid); }

    // `ending` behind some 10 bytes that no other process and no other call has in front.
    static std::string UniqueName(const std::string& ending = std::string());

private:
    const std::string m_name;
    pid_t m_pid = -1;
};
