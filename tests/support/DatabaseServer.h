// A PostgreSQL server of a test's own: in a directory of its own, reached by a socket there, gone with the test.
#pragma once

#include <sys/types.h>

#include <memory>
#include <string>

class DatabaseServer final {
public:
    // Null where PostgreSQL is not installed. Throws std::runtime_error when it is and does not start.
    static std::unique_ptr<DatabaseServer> Start();
    DatabaseServer(const DatabaseServer&) = delete;
    DatabaseServer& operator=(const DatabaseServer&) = delete;
    // Stops it, and removes what it kept.
    ~DatabaseServer();

    // For libpq.
    std::string Address() const;

    // Stops it as a crash would, and starts it on what it kept.
    void Kill();
    void Restart();

private:
    DatabaseServer(std::string programs, std::string directory);
    void WaitUntilReady() const;

    const std::string m_programs;
    const std::string m_directory;
    pid_t m_pid = -1;
};
