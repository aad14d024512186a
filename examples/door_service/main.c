// A traced program in C: a door service that does nothing but make calls, whose values follow a fixed pattern (door.h
// says which).
//
//     door-service [CALLS_PER_SECOND]
//
// It runs until SIGINT or SIGTERM arrives, and then says how many calls and log items it made.
#define _POSIX_C_SOURCE 200809L
#include <qx/recorder_c.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>

#include "door.h"

static void block_stop_signals(sigset_t* signals) {
    sigemptyset(signals);
    sigaddset(signals, SIGINT);
    sigaddset(signals, SIGTERM);
    sigprocmask(SIG_BLOCK, signals, NULL);
}

int main(int argc, char** argv) {
    const long rate = argc > 1 ? strtol(argv[1], NULL, 10) : 100;
    if (argc > 2 || rate < 1 || rate > 1000000) {
        fprintf(stderr, "usage: door-service [CALLS_PER_SECOND]\n");
        return 2;
    }
    sigset_t signals;
    block_stop_signals(&signals);
    qx_recorder_set_thread_name("doors");
    const struct timespec pause = {rate > 1 ? 0 : 1, rate > 1 ? 1000000000L / rate : 0};
    for (uint32_t n = 0; sigtimedwait(&signals, NULL, &pause) < 0; ++n) door_make_call(n);

    struct qx_recorder_counters counters;
    if (!qx_recorder_get_counters(&counters)) return 1;
    printf("door-service: %llu calls and log items, %llu of them not recorded\n", (unsigned long long)counters.recorded,
           (unsigned long long)counters.refused);
    return 0;
}
