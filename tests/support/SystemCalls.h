// What the tested code asks the system for, answered by the test: long waits in no time, and failures that nothing else
// provokes. Works in programs that link qx_test_system; what no test answers goes to the system.
#pragma once

#include <sys/sem.h>
#include <sys/types.h>
#include <time.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <vector>

class SystemCalls final {
public:
    // Answers from here on, until destroyed. One at a time.
    SystemCalls();
    // Also removes the semaphore sets that were made meanwhile. Requires: no thread is left that was started meanwhile.
    ~SystemCalls();
    SystemCalls(const SystemCalls&) = delete;
    SystemCalls& operator=(const SystemCalls&) = delete;

    // The answers; one that fails sets errno itself. Set before the threads that ask are started. May run on any
    // thread.
    std::function<clock_t()> times;
    std::function<int(const timespec& asked, timespec& left)> nanosleep;
    std::function<int(useconds_t us)> usleep;
    std::function<unsigned(unsigned seconds)> sleep;
    std::function<int(const char* name)> nameThread;  // prctl(PR_SET_NAME)
    std::function<int(int semId, const sembuf& operation, const timespec& limit)> semtimedop;
    std::function<int()> semget;
    std::function<int()> threadCreate;  // the error that pthread_create gives, 0: it makes the thread

    // Fails the operator new that comes after that many others, once; negative: none. Only what this program's own
    // code and templates allocate counts, not what shared libraries do.
    std::atomic<int> allocationsLeft{-1};

    // The system's own.
    static int SemTimedOp(int semId, sembuf operation, const timespec& limit);

    // Semaphore sets made since construction.
    void Remember(int semId);
    void RemoveSemaphores();

private:
    std::mutex m_mutex;
    std::vector<int> m_semIds;  // guarded by m_mutex
};
