// What tests of the host platform share: a private runtime directory, traced child processes, and a tracker's view of
// the dumps that the control writes.
#pragma once

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "IQxData.h"
#include "QxControl.h"

// A pipe between a child and its parent, to wait for each other. Made before the child.
class Signal {
public:
    Signal();
    Signal(const Signal&) = delete;
    Signal& operator=(const Signal&) = delete;
    ~Signal();

    void Send() const;
    // Returns when it was sent, or when whoever could send it is gone.
    void Wait() const;

private:
    int m_ends[2];
};

// A traced child process. Forked: `body` runs in it, with the runtime directory set, under the command name.
class Child {
public:
    Child(const std::string& directory, const std::string& name, const std::function<void()>& body);
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    // Kills it if it runs.
    ~Child();

    pid_t Pid() const { return m_pid; }
    // Waits for its end; expects that it ended well.
    void Join();
    void Kill();

private:
    pid_t m_pid;
    bool m_isRunning = true;
};

// A traced child that stands still wherever its body calls `pause`, until it is let go on. Once made, it stands at the
// first such place.
class PausingChild {
public:
    using Pause = std::function<void()>;

    PausingChild(const std::string& directory, const std::string& name,
                 const std::function<void(const Pause& pause)>& body);

    pid_t Pid() const { return m_child.Pid(); }
    // Lets it go on to its next pause.
    void Continue() const;
    // Lets it go on to its end; expects that it ended well.
    void Finish();
    void Kill() { m_child.Kill(); }

private:
    Signal m_go;
    Signal m_paused;
    Child m_child;
};

// Leaves this process no more than so many descriptors to open, for as long as it lives.
class FewDescriptors {
public:
    explicit FewDescriptors(std::size_t left);
    FewDescriptors(const FewDescriptors&) = delete;
    FewDescriptors& operator=(const FewDescriptors&) = delete;
    ~FewDescriptors();

private:
    struct rlimit m_limit {};
    std::vector<int> m_taken;
};

// What one dump held.
struct DecodedDump {
    bool exists = false;
    std::string bytes;
    std::vector<IQxData::HSCall> calls;  // in key order
    std::shared_ptr<IQxData> data;

    // The calls of a method, and how many there are.
    std::vector<IQxData::HSCall> Of(const std::string& method) const;
    const IQxData::HSCall& Only(const std::string& method) const;
};

class HostTest : public testing::Test {
protected:
    HostTest();
    ~HostTest() override;

    // Runs the body in a traced child to its end, while the name is watched.
    void Run(const std::string& name, const std::function<void()>& body) const;

    // Takes a dump and decodes it with no error; empty when there is none.
    DecodedDump Dump(const std::string& name, bool first = false);
    static DecodedDump Decode(const std::string& name, const std::string& bytes);

    qx::host::Loss Total(const std::string& name);

    // The files with that suffix in the runtime directory, as whole paths.
    std::vector<std::string> Files(const std::string& suffix) const;

    const std::string m_directory;
    std::unique_ptr<qxhost::QxControl> m_control;
};

// The traced bytes of an argument's pair.
std::string Bytes(const IQxData::HSICallArg& argument, std::size_t pair = 0);
// The same as a number.
std::uint64_t Number(const IQxData::HSICallArg& argument, std::size_t pair = 0);

std::string ReadFile(const std::string& path);
void WriteFile(const std::string& path, const std::string& content);
// Replaces a 64-bit word of a file.
void WriteWord(const std::string& path, std::size_t word, std::uint64_t value);

// What was recorded is what was delivered and what was lost.
void ExpectBalanced(const qx::host::Loss& loss);
