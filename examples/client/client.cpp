// Prints the events of a scenario as they fire: client SCENARIO [SECONDS]. Ends after the seconds, or with Ctrl-C.
#include <IQxLogTracker.h>
#include <QxLogTrackerHealth.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

// Runs on the tracker's own thread, one event at a time.
static int OnEvent(std::string name, std::string value, IQxData::HSCall call, void* context) {
    ++*static_cast<int*>(context);
    std::printf("%s %s (thread %u, time %llu)\n", name.c_str(), value.c_str(), unsigned{call.tid}, call.time);
    std::fflush(stdout);
    return 0;
}

int main(int argc, char** argv) {
    std::ifstream file(argc > 1 ? argv[1] : "", std::ios::binary);
    if (!file) return std::fputs("usage: client SCENARIO [SECONDS]\n", stderr), 2;
    std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());

    // Blocked before any thread starts, so that Ctrl-C is waited for below.
    sigset_t stop;
    sigemptyset(&stop);
    sigaddset(&stop, SIGINT);
    sigaddset(&stop, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &stop, nullptr);

    int events = 0;
    std::unique_ptr<IQxLogTracker> tracker = IQxLogTracker::Instance(Major);
    std::pair<int, char*> script(static_cast<int>(text.size()), &text[0]);
    if (!tracker->ParseScript(script)) return std::fputs("client: the scenario is not well-formed\n", stderr), 1;
    tracker->Run(OnEvent, &events, 1);
    const timespec limit = {argc > 2 ? std::strtol(argv[2], nullptr, 10) : 1000000000L, 0};
    sigtimedwait(&stop, nullptr, &limit);
    tracker->Stop();
    std::printf("%d events\n", events);
    QxHealth health;
    QxHealthOf(*tracker, health);
    std::fprintf(stderr, "%llu calls in %llu cycles, %llu bytes not decoded\n",
                 static_cast<unsigned long long>(health.calls), static_cast<unsigned long long>(health.cycles),
                 static_cast<unsigned long long>(health.bytesNotDecoded));
    return 0;
}
