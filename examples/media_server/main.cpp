// A traced program: a media server that does nothing but make calls, whose values follow a fixed pattern (volume.h,
// stream.h and status.h say which), so that whoever watches it knows what must come.
//
//     media-server [--rate CALLS_PER_SECOND] [--seconds SECONDS]
//
// The rate is shared evenly by its three threads; 0 means without pause. It runs until SIGINT or SIGTERM arrives, or
// for the seconds given, and then says how many calls and log items it made.
#include <qx/recorder.h>
#include <signal.h>
#include <time.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "status.h"
#include "stream.h"
#include "volume.h"
#include "worker.h"

namespace {

struct Settings {
    double rate = 60;
    double seconds = 0;  // 0: until a signal comes
};

bool ReadNumber(const char* text, double& value) {
    char* end = nullptr;
    value = std::strtod(text, &end);
    return end != text && *end == '\0' && value >= 0 && value <= 1e9;
}

bool ReadSettings(int argc, char** argv, Settings& settings) {
    for (int i = 1; i < argc; i += 2) {
        double* value = nullptr;
        if (std::strcmp(argv[i], "--rate") == 0) value = &settings.rate;
        if (std::strcmp(argv[i], "--seconds") == 0) value = &settings.seconds;
        if (value == nullptr || i + 1 == argc || !ReadNumber(argv[i + 1], *value)) return false;
    }
    return true;
}

sigset_t StopSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    return signals;
}

void WaitForStop(const sigset_t& signals, double seconds) {
    timespec limit{};
    limit.tv_sec = static_cast<time_t>(seconds);
    limit.tv_nsec = static_cast<long>((seconds - static_cast<double>(limit.tv_sec)) * 1e9);
    int result = -1;
    do {
        result = seconds > 0 ? ::sigtimedwait(&signals, nullptr, &limit) : ::sigwaitinfo(&signals, nullptr);
    } while (result < 0 && errno == EINTR);
}

}  // namespace

int main(int argc, char** argv) {
    Settings settings;
    if (!ReadSettings(argc, argv, settings)) {
        std::fprintf(stderr, "usage: media-server [--rate CALLS_PER_SECOND] [--seconds SECONDS]\n");
        return 2;
    }
    // Blocked here, so that the workers inherit it and only this thread takes them.
    const sigset_t signals = StopSignals();
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    VolumeControl volume;
    StreamPool streams;
    Player player;
    {
        const double rate = settings.rate / 3;
        const Worker mixer("mixer", rate, [&volume](unsigned long n) { volume.MakeCall(n); });
        const Worker network("streams", rate, [&streams](unsigned long n) { streams.MakeCall(n); });
        const Worker status("status", rate, [&player](unsigned long n) { player.MakeCall(n); });
        WaitForStop(signals, settings.seconds);
    }
    const qx::recorder::Counters counters = qx::recorder::GetCounters();
    std::printf("media-server: %llu calls and log items, %llu of them not recorded\n",
                static_cast<unsigned long long>(counters.recorded), static_cast<unsigned long long>(counters.refused));
    return 0;
}
