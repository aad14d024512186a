// What the tests of many devices share: a traced program, `qxlt run --publish` that follows it, `qxlt fleet --store` at
// the other end, and what is in the store.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Broker.h"
#include "Child.h"
#include "NamedProcess.h"
#include "TracedProgram.h"
#include "Workplace.h"

// The words of a command, then more of them.
std::vector<std::string> Joined(std::vector<std::string> words, const std::vector<std::string>& more);

// Waits until the condition holds. False when a minute passes before. For what tells nobody that it has come about.
bool WaitUntil(const std::function<bool()>& holds);

class Fleet : public testing::Test {
protected:
    // The device is named by what a topic cannot hold, so that every test goes by an escaped name.
    static constexpr char kDevice[] = "door 7/b";

    Fleet();
    ~Fleet() override;

    // Starts a program that makes so many calls of Count, each of which is an event whose value is the call's number,
    // from 0 on; one each few milliseconds, and 0 of them: without end. It lives until the test ends.
    void StartCalls(int calls);
    void WaitUntilCalled() { m_traced->WaitUntilDone(); }
    // Another program of that name lives on, and calls nothing.
    void StopCalls();

    // The run that publishes them, with the outbox of that name.
    Child::Setup Publisher(const std::string& address, const std::vector<std::string>& more = {},
                           const std::string& outbox = "outbox") const;

    // Such a run, which waits for the program: no call will be older than it.
    std::unique_ptr<Child> StartPublisher(const std::string& address, const std::vector<std::string>& more = {},
                                          const std::string& outbox = "outbox") const;

    // Waits until a run has shown the events of so many calls.
    void WaitUntilShown(int calls) const;

    Child::Setup Receiver(const std::string& address, const std::vector<std::string>& more = {}) const;

    // A receiver that is there before anything is published.
    std::unique_ptr<Child> StartReceiver(const std::string& address, const std::vector<std::string>& more = {}) const;

    // Publishes what an earlier run left in the outbox, and ends.
    void PublishRest(const std::string& address, const std::vector<std::string>& more = {},
                     const std::string& outbox = "outbox") const;

    // Ends a run or a receiver orderly, and expects that status.
    static void End(Child& tool, int status = 0);

    std::size_t StoredCount() const;
    void WaitUntilStored(std::size_t count) const;

    // The store has the messages of one run with numbers from 1 on, none twice and none left out, in the order of the
    // calls. Returns the numbers of the calls.
    std::vector<std::string> ExpectNoGap() const;
    // And of every call, those so many.
    void ExpectAllStored(std::size_t calls) const;

    // The first column of what the query gives on a database of the place. Nothing while there is no such table.
    std::vector<std::string> Select(const std::string& name, const std::string& query) const;

    const Workplace m_place;
    const std::string m_name = NamedProcess::UniqueName("f");

private:
    std::unique_ptr<TracedProgram> m_traced;
};
