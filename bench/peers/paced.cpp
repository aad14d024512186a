// Makes calls at a steady rate under each recorder: paced SECONDS. Each of 4 threads makes 5,000 calls a second, 50 at
// a time. 50 calls of the whole run have a number from 1,000,000 on, which nothing else has. Prints the processor
// seconds that the program took, its recorder's own threads among them.
#include <sys/resource.h>
#include <time.h>

#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

#include "recorded_call.h"

namespace {

constexpr int kThreads = 4;
constexpr int kAtOnce = 50;
constexpr long kPause = 10'000'000;  // nanoseconds
constexpr int kPausesPerSecond = 100;
constexpr int kEvents = 50;
constexpr int kFirstEvent = 1'000'000;

void Sleep(struct timespec& until) {
    until.tv_nsec += kPause;
    if (until.tv_nsec >= 1'000'000'000) {
        until.tv_nsec -= 1'000'000'000;
        ++until.tv_sec;
    }
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr) != 0) {
    }
}

void MakeCalls(int thread, int seconds) {
    const int pauses = seconds * kPausesPerSecond;
    int event = 0;
    struct timespec until {};
    clock_gettime(CLOCK_MONOTONIC, &until);
    for (int pause = 0; pause < pauses; ++pause) {
        for (int i = 0; i < kAtOnce; ++i) SetTitle(i, -i, "sixteen bytes ok");
        if (thread == 0 && event < kEvents && pause >= pauses / 2 * event / kEvents + pauses / 4) {
            SetTitle(kFirstEvent + event++, 0, "sixteen bytes ok");
        }
        Sleep(until);
    }
}

double Seconds(const struct timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

}  // namespace

int main(int argc, char** argv) {
    const int seconds = argc > 1 ? std::atoi(argv[1]) : 60;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) threads.emplace_back(MakeCalls, thread, seconds);
    for (std::thread& thread : threads) thread.join();
    struct rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    std::printf("%.3f\n", Seconds(usage.ru_utime) + Seconds(usage.ru_stime));
    return 0;
}
