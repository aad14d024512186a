// The file that makes assertions harmless: there or away for the length of a test, then as it was found.
#pragma once

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

class ReleaseFile final {
public:
    enum class State { Missing, File, Directory };

    // Waits until no other test process holds the file.
    explicit ReleaseFile(State state) : m_lock(open("/etc", O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
        flock(m_lock, LOCK_EX);
        std::filesystem::rename(kPath, kKept, m_ignored);
        if (state == State::File) std::ofstream(kPath).flush();
        if (state == State::Directory) std::filesystem::create_directory(kPath, m_ignored);
        m_done = std::filesystem::exists(kPath, m_ignored) == (state != State::Missing);
    }
    ReleaseFile(const ReleaseFile&) = delete;
    ReleaseFile& operator=(const ReleaseFile&) = delete;
    ~ReleaseFile() {
        if (m_done) std::filesystem::remove(kPath, m_ignored);
        std::filesystem::rename(kKept, kPath, m_ignored);
        close(m_lock);
    }

    // False when this user may not change the file; the test skips then.
    bool Done() const { return m_done; }

private:
    static constexpr const char* kPath = "/etc/release";
    static constexpr const char* kKept = "/etc/release.kept";

    std::error_code m_ignored;
    int m_lock;
    bool m_done = false;
};
