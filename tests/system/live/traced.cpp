// A traced program for the system tests: qx_traced NAME THREADS CALLS PAUSE_US.
//
// Takes the command name NAME and makes CALLS calls on each of THREADS threads (0: without end), one every PAUSE_US
// microseconds: Count(thread, n, "thread/n") with n from 0 on. Each tenth is followed by Try of the same arguments, of
// which every other one, from the first on, ends by an exception. Prints "started" when it has its name, "done" when
// all calls are made, and ends when its standard input is closed.
#include <qx/recorder.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

std::atomic<bool> stop{false};

std::uint32_t Count(std::uint32_t thread, std::uint32_t n, const std::string& text) {
    QX_CALL_RETURNS(call, std::uint32_t, "test", "Count", qx::In(thread), qx::In(n), qx::In(text));
    return call.Return(n + 1);
}

std::uint32_t Try(std::uint32_t thread, std::uint32_t n, const std::string& text) {
    QX_CALL_RETURNS(call, std::uint32_t, "test", "Try", qx::In(thread), qx::In(n), qx::In(text));
    if (n % 20 == 0) throw std::runtime_error(text);
    return call.Return(0);
}

void CatchTry(std::uint32_t thread, std::uint32_t n, const std::string& text) {
    try {
        Try(thread, n, text);
    } catch (const std::runtime_error&) {
    }
}

void MakeCalls(std::uint32_t thread, std::uint32_t calls, useconds_t pauseUs) {
    for (std::uint32_t n = 0; !stop && (calls == 0 || n < calls); ++n) {
        const std::string text = std::to_string(thread) + "/" + std::to_string(n);
        Count(thread, n, text);
        if (n % 10 == 0) CatchTry(thread, n, text);
        if (pauseUs > 0) usleep(pauseUs);
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 5) return 2;
    prctl(PR_SET_NAME, argv[1]);
    const auto threads = static_cast<std::uint32_t>(std::atoi(argv[2]));
    const auto calls = static_cast<std::uint32_t>(std::atoi(argv[3]));
    const auto pauseUs = static_cast<useconds_t>(std::atoi(argv[4]));
    std::puts("started");
    std::fflush(stdout);

    std::thread input([] {
        char byte = 0;
        while (read(STDIN_FILENO, &byte, 1) > 0) {
        }
        stop = true;
    });
    std::vector<std::thread> workers;
    for (std::uint32_t i = 0; i < threads; ++i) workers.emplace_back(MakeCalls, i, calls, pauseUs);
    for (std::thread& worker : workers) worker.join();
    std::puts("done");
    std::fflush(stdout);
    input.join();
    return 0;
}
