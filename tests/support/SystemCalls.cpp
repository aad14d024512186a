#include "SystemCalls.h"

#include <pthread.h>
#include <sys/prctl.h>
#include <sys/times.h>
#include <unistd.h>

#include <cstdarg>
#include <cstddef>
#include <new>

// The linker leads every call of a wrapped function here, and every call of __real_... to the function itself. The
// names are the linker's.
// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)

namespace {

std::atomic<SystemCalls*> current{nullptr};

}  // namespace

// operator new, whose name depends on the type of std::size_t.
#if __SIZEOF_SIZE_T__ == 8
#define QX_WRAPPED_NEW __wrap__Znwm
#define QX_REAL_NEW __real__Znwm
#else
#define QX_WRAPPED_NEW __wrap__Znwj
#define QX_REAL_NEW __real__Znwj
#endif

extern "C" {

clock_t __real_times(tms*);
int __real_nanosleep(const timespec*, timespec*);
int __real_usleep(useconds_t);
unsigned __real_sleep(unsigned);
int __real_prctl(int, ...);
int __real_semtimedop(int, sembuf*, size_t, const timespec*);
int __real_semget(key_t, int, int);
int __real_pthread_create(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
void* QX_REAL_NEW(std::size_t);

clock_t __wrap_times(tms* usage) {
    SystemCalls* const calls = current;
    return calls != nullptr && calls->times ? calls->times() : __real_times(usage);
}

int __wrap_nanosleep(const timespec* asked, timespec* left) {
    SystemCalls* const calls = current;
    if (calls == nullptr || !calls->nanosleep) return __real_nanosleep(asked, left);
    timespec ignored = {};
    return calls->nanosleep(timespec(*asked), left == nullptr ? ignored : *left);
}

int __wrap_usleep(useconds_t us) {
    SystemCalls* const calls = current;
    return calls != nullptr && calls->usleep ? calls->usleep(us) : __real_usleep(us);
}

unsigned __wrap_sleep(unsigned seconds) {
    SystemCalls* const calls = current;
    return calls != nullptr && calls->sleep ? calls->sleep(seconds) : __real_sleep(seconds);
}

int __wrap_prctl(int option, ...) {
    unsigned long words[4];
    va_list arguments;
    va_start(arguments, option);
    for (unsigned long& word : words) word = va_arg(arguments, unsigned long);
    va_end(arguments);
    SystemCalls* const calls = current;
    if (option == PR_SET_NAME && calls != nullptr && calls->nameThread) {
        return calls->nameThread(reinterpret_cast<const char*>(words[0]));
    }
    return __real_prctl(option, words[0], words[1], words[2], words[3]);
}

int __wrap_semtimedop(int semId, sembuf* operations, size_t count, const timespec* limit) {
    SystemCalls* const calls = current;
    if (calls == nullptr || !calls->semtimedop) return __real_semtimedop(semId, operations, count, limit);
    return calls->semtimedop(semId, *operations, *limit);
}

int __wrap_semget(key_t key, int count, int flags) {
    SystemCalls* const calls = current;
    if (calls != nullptr && calls->semget) return calls->semget();
    const int semId = __real_semget(key, count, flags);
    if (calls != nullptr && semId >= 0) calls->Remember(semId);
    return semId;
}

int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*entry)(void*), void* argument) {
    SystemCalls* const calls = current;
    const int error = calls != nullptr && calls->threadCreate ? calls->threadCreate() : 0;
    return error != 0 ? error : __real_pthread_create(thread, attributes, entry, argument);
}

void* QX_WRAPPED_NEW(std::size_t size) {
    SystemCalls* const calls = current;
    if (calls != nullptr && calls->allocationsLeft >= 0 && calls->allocationsLeft-- == 0) throw std::bad_alloc();
    return QX_REAL_NEW(size);
}

}  // extern "C"

SystemCalls::SystemCalls() {
    current = this;
}

SystemCalls::~SystemCalls() {
    current = nullptr;
    RemoveSemaphores();
}

int SystemCalls::SemTimedOp(int semId, sembuf operation, const timespec& limit) {
    return __real_semtimedop(semId, &operation, 1, &limit);
}

void SystemCalls::Remember(int semId) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_semIds.push_back(semId);
}

void SystemCalls::RemoveSemaphores() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (const int semId : m_semIds) semctl(semId, 0, IPC_RMID);
    m_semIds.clear();
}

// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)
