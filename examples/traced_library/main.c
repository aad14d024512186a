// A program without a mark, whose calls of a library are traced: an order service that does nothing but take orders, as
// orders.h says.
//
//     order-service [ORDERS_PER_SECOND]
//
// It runs until SIGINT or SIGTERM arrives, and then says how many orders it took.
#define _POSIX_C_SOURCE 200809L
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>

#include "orders.h"

static void block_stop_signals(sigset_t* signals) {
    sigemptyset(signals);
    sigaddset(signals, SIGINT);
    sigaddset(signals, SIGTERM);
    sigprocmask(SIG_BLOCK, signals, NULL);
}

int main(int argc, char** argv) {
    const long rate = argc > 1 ? strtol(argv[1], NULL, 10) : 100;
    if (argc > 2 || rate < 1 || rate > 1000000) {
        fprintf(stderr, "usage: order-service [ORDERS_PER_SECOND]\n");
        return 2;
    }
    sqlite3* const database = orders_open();
    if (database == NULL) return 1;
    sigset_t signals;
    block_stop_signals(&signals);
    const struct timespec pause = {rate > 1 ? 0 : 1, rate > 1 ? 1000000000L / rate : 0};
    unsigned long taken = 0;
    for (uint32_t n = 0; sigtimedwait(&signals, NULL, &pause) < 0; ++n) taken += orders_take(database, n);
    sqlite3_close(database);
    printf("order-service: %lu orders taken\n", taken);
    return 0;
}
