// Makes the same calls under each recorder: recorded CALLS WARM. Each of 8 threads makes CALLS calls, one thread after
// the other so that none waits for another's core; before, each makes WARM calls with negative numbers, which bring its
// buffers to where they overwrite. Prints the nanoseconds of one call, those of warming up left out.
// For `uftrace record` it is compiled with -pg.
#include <time.h>

#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <thread>
#include <vector>

#include "recorded_call.h"

// What is not measured: the same under another name.
__attribute__((noinline)) int WarmUp(int number, int negative, const char* text) {
    RECORD("WarmUp");
}

namespace {

constexpr int kThreads = 8;

// Lets threads go on in the order of their numbers.
class Turn {
public:
    UNRECORDED void Take(int number) {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait(lock, [this, number]() UNRECORDED { return m_next == number; });
    }
    UNRECORDED void Pass() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        ++m_next;
        m_changed.notify_all();
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_next = 0;
};

// The processor time of the calling thread, in nanoseconds: what a recorder does elsewhere is not the program's.
UNRECORDED double ThreadTime() {
    struct timespec time {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
}

UNRECORDED double MakeCalls(int thread, int calls) {
    const double start = ThreadTime();
    for (int i = thread * calls; i < (thread + 1) * calls; ++i) SetTitle(i, -i, "sixteen bytes ok");
    return ThreadTime() - start;
}

}  // namespace

UNRECORDED int main(int argc, char** argv) {
    const int calls = argc > 1 ? std::atoi(argv[1]) : 125000;
    const int warm = argc > 2 ? std::atoi(argv[2]) : 0;
    Turn turn;
    double time = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread]() UNRECORDED {
            turn.Take(thread);
            for (int i = -warm; i < 0; ++i) WarmUp(i, i, "sixteen bytes ok");
            turn.Pass();
            turn.Take(kThreads + thread);
            time += MakeCalls(thread, calls);
            turn.Pass();
            turn.Take(2 * kThreads);  // so that each has a ring of its own
        });
    }
    for (std::thread& thread : threads) thread.join();
    std::printf("%.1f\n", time / calls / kThreads);
    return 0;
}
