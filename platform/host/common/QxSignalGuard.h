// Keeps signals from the program for as long as it lives: those that a call of ours may raise, which would end a
// program that did not expect them, or all that interrupt.
#pragma once

#include <pthread.h>
#include <signal.h>

#include <cerrno>
#include <ctime>
#include <initializer_list>

namespace qxhost {

class QxSignalGuard {
public:
    enum Signals {
        kOfWriting,    // SIGPIPE, and SIGXFSZ of the limit on the size of files
        kInterrupting  // all but those of faults, which would end the program if they were blocked
    };

    explicit QxSignalGuard(Signals signals) {
        ::sigemptyset(&m_own);
        if (signals == kOfWriting) {
            AddOwn(SIGPIPE);
            AddOwn(SIGXFSZ);
            ::pthread_sigmask(SIG_BLOCK, &m_own, &m_before);
            return;
        }
        sigset_t all;
        ::sigfillset(&all);
        for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT, SIGSYS}) ::sigdelset(&all, fault);
        ::pthread_sigmask(SIG_BLOCK, &all, &m_before);
    }
    QxSignalGuard(const QxSignalGuard&) = delete;
    QxSignalGuard& operator=(const QxSignalGuard&) = delete;
    ~QxSignalGuard() { ::pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }

    // Takes the signal that a failed write raised; one that was pending before stays. Leaves errno as it is.
    void Take() const {
        const int error = errno;
        const struct timespec none {};
        while (::sigtimedwait(&m_own, nullptr, &none) < 0 && errno == EINTR) {
        }
        errno = error;
    }

private:
    void AddOwn(int signal) {
        sigset_t pending;
        if (::sigpending(&pending) == 0 && ::sigismember(&pending, signal) == 0) ::sigaddset(&m_own, signal);
    }

    sigset_t m_own;  // of those of writing, the ones that were not pending
    sigset_t m_before;
};

}  // namespace qxhost
