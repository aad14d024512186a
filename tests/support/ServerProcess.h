// A server that a test starts, stops and kills: nothing of it is left when the test ends, however it ends.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

class ServerProcess final {
public:
    // What it prints goes behind what `log` holds. `command` begins with the program's path.
    ServerProcess(std::vector<std::string> command, std::string log);
    ServerProcess(const ServerProcess&) = delete;
    ServerProcess& operator=(const ServerProcess&) = delete;
    // Kills it, if it still runs.
    ~ServerProcess();

    // Requires: it does not run. Throws std::runtime_error.
    void Start();

    // Sends the signal and waits for the end. A server that has not ended half a minute after another signal than
    // SIGKILL is killed. Nothing happens when it does not run.
    void End(int signal);

    void Signal(int number) const;

    // Waits until it takes connections at that port of the loopback. Throws std::runtime_error with the end of its log
    // when it ends before, or half a minute passes.
    void WaitForPort(std::uint16_t port);

    // False, too, when it has ended by itself.
    bool IsRunning();

    // Requires: it runs.
    pid_t Pid() const { return m_pid; }

    // The last that it printed, for a message.
    std::string LogEnd() const;

private:
    const std::vector<std::string> m_command;
    const std::string m_log;
    pid_t m_pid = -1;  // -1: it does not run
};

// Ports of the loopback that nothing listens on now, none twice in the life of this process. They lie outside the range
// that the system itself takes ports from: a client that tries a server that is away can otherwise connect to itself.
std::vector<std::uint16_t> FreePorts(std::size_t count);

// A connection to that port of the loopback; -1 when there is none. The caller closes it.
int ConnectToPort(std::uint16_t port);

// The path of a program of that name in PATH or among those for the administrator; empty when there is none.
std::string FindProgram(const std::string& name);

// Runs the program and waits for its end. What it prints is in the message of the std::runtime_error that is thrown
// when its status is not 0.
void RunToItsEnd(const std::vector<std::string>& command);
