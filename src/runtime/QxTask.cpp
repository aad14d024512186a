#include "QxTask.h"

#include <sys/ipc.h>
#include <sys/prctl.h>
#include <sys/sem.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <exception>

#include "IQxLogTracker.h"
#include "QxDebugPrint.h"
#include "dlog.h"

namespace {

constexpr int kTaken = 0;
constexpr int kTimedOut = 258;
constexpr int kWaitFailed = -1;
constexpr std::uint32_t kNoLimit = 0xFFFFFFFE;  // 0xFFFFFFFF is an ordinary, very long wait

int KernelThreadId() {
    return static_cast<int>(syscall(SYS_gettid));
}

// The moment that many milliseconds from now, on the clock that nobody sets.
timespec TimeIn(std::uint32_t ms) {
    timespec end = {};
    clock_gettime(CLOCK_MONOTONIC, &end);
    end.tv_sec += static_cast<time_t>(ms / 1000);
    end.tv_nsec += static_cast<long>(ms % 1000) * 1000000;
    if (end.tv_nsec < 1000000000) return end;
    ++end.tv_sec;
    end.tv_nsec -= 1000000000;
    return end;
}

// A condition whose waits end by that clock.
void MakeCondition(pthread_cond_t& condition) {
    pthread_condattr_t attributes;
    pthread_condattr_init(&attributes);
    pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
    pthread_cond_init(&condition, &attributes);
    pthread_condattr_destroy(&attributes);
}

// Runs a hook; what it throws must not end the process, nor the loop.
template <typename Hook>
int Guarded(const char* name, Hook hook) {
    try {
        return hook();
    } catch (const std::exception& error) {
        QxDebugPrint::GetInstance()->Print(name, __LINE__, Fatal, "[QxTask::Loop] %s threw: %s", name, error.what());
    } catch (...) {
        QxDebugPrint::GetInstance()->Print(name, __LINE__, Fatal, "[QxTask::Loop] %s threw", name);
    }
    return 1;
}

}  // namespace

int QxTask::Create(const char* name, int waitTime, unsigned long) {
    Reap();
    m_running = false;
    m_exit = false;
    if (name != nullptr) {
        std::strncpy(m_name, name, sizeof m_name - 1);
        m_name[sizeof m_name - 1] = '\0';
        QxDebugPrint::Write(DLOG_ERROR, "Create", __LINE__, "Create.. %s", m_name);
    } else {
        QxDebugPrint::Write(DLOG_ERROR, "Create", __LINE__, "Create..");
    }
    m_waitTime = static_cast<std::uint32_t>(waitTime);
    m_toldFailure = false;
    m_semId = semget(IPC_PRIVATE, 1, IPC_CREAT | 0666);
    pthread_mutex_init(&m_mutex, nullptr);
    MakeCondition(m_woken);
    QxDebugPrint::Write(DLOG_INFO, "Create", __LINE__, "QxTask::Create - %p", static_cast<void*>(this));
    m_Start();
    const bool created = WaitForCreate(2000);
    QxDebugPrint::Write(DLOG_INFO, "Create", __LINE__, "Created[%p] -- ret : %d", static_cast<void*>(this), created);
    return 1;
}

void QxTask::m_Start() {
    m_pid = -1;
    m_threadState = ThreadState::Live;
    if (pthread_create(&m_thread, nullptr, m_Entry, this) != 0) m_threadState = ThreadState::None;
}

bool QxTask::WaitForCreate(unsigned long delay) {
    WaitForSingleObject(m_semId, delay);
    QxDebugPrint::Write(DLOG_INFO, "WaitForCreate", __LINE__, "QxTask::WaitForCreate - %p, delay:%lu",
                        static_cast<void*>(this), delay);
    return m_running;
}

int QxTask::WaitForSingleObject(int semId, unsigned long timeout) {
    const auto ms = static_cast<std::uint32_t>(timeout);
    sembuf take = {0, -1, SEM_UNDO};
    const timespec limit = {static_cast<time_t>(ms / 1000), static_cast<long>(ms % 1000) * 1000000};
    const int result = ms == kNoLimit ? semop(semId, &take, 1) : semtimedop(semId, &take, 1, &limit);
    if (result == 0) return kTaken;
    return errno == EAGAIN ? kTimedOut : kWaitFailed;
}

int QxTask::SetEvent(int semId) {
    semctl(semId, 0, SETVAL, 1);
    return 1;
}

void QxTask::m_ResetEvent() {
    if (m_QueueLength() > 0) SetEvent(m_semId);
}

std::size_t QxTask::m_QueueLength() {
    m_Lock();
    const std::size_t length = m_events.size();
    m_Unlock();
    return length;
}

int QxTask::SendEvent(QxEvent& event) {
    const auto log = [&] {
        QxDebugPrint::Write(DLOG_INFO, "SendEvent", __LINE__, "QxTask::SendEvent[%p] [%d]", static_cast<void*>(this),
                            static_cast<int>(event.id));
    };
    log();
    if (!m_running) {
        log();
        if (!WaitForCreate(500)) {
            log();
            return 0;
        }
    }
    m_Lock();
    m_events.push_back(event);
    m_Unlock();
    m_exit = false;
    return m_Wake();
}

// Also for a worker that could not wait on its semaphore.
int QxTask::m_Wake() {
    m_Lock();
    pthread_cond_broadcast(&m_woken);
    m_Unlock();
    return SetEvent(m_semId);
}

bool QxTask::m_RetrieveEvent(QxEvent& out) {
    QxDebugPrint::GetInstance()->Print("m_RetrieveEvent", __LINE__, Info, "m_RetrieveEvent..%d",
                                       static_cast<int>(m_QueueLength()));
    m_Lock();
    const bool found = !m_events.empty();
    if (found) {
        out = m_events.front();
        m_events.pop_front();
    }
    m_Unlock();
    return found;
}

void QxTask::Destroy() {
    QxDebugPrint::Write(DLOG_INFO, "Destroy", __LINE__, "Destroy");
    if (!m_running) return;
    m_Lock();
    m_events.clear();
    m_Unlock();
    m_exit = true;
    if (m_IsCaller()) {
        SetEvent(m_semId);
        return;
    }
    m_ThreadJoin();
    QxDebugPrint::Write(DLOG_INFO, "Destroy", __LINE__, "3. Destroyed - %p", static_cast<void*>(this));
}

void QxTask::Reap() {
    if (m_threadState == ThreadState::None || m_IsCaller()) return;
    m_exit = true;
    m_ThreadJoin();
}

// A worker that has ended calls nothing any more; the system may give its id to another thread, this one for instance.
bool QxTask::m_IsCaller() const {
    return m_threadState == ThreadState::Live && m_pid == KernelThreadId();
}

void QxTask::m_ThreadJoin() {
    m_Wake();
    void* result = nullptr;
    pthread_join(m_thread, &result);
    m_threadState = ThreadState::None;
    pthread_cond_destroy(&m_woken);
    pthread_mutex_destroy(&m_mutex);
    QxDebugPrint::Write(DLOG_INFO, "m_ThreadJoin", __LINE__, "2. m_ThreadJoin [result : %d] - %p",
                        static_cast<int>(reinterpret_cast<std::intptr_t>(result)), static_cast<void*>(this));
}

void* QxTask::m_Entry(void* self) {
    auto* const task = static_cast<QxTask*>(self);
    const int threadId = KernelThreadId();
    QxDebugPrint::Write(DLOG_ERROR, "_Process", __LINE__, "_Process %s", task->m_name);
    QxDebugPrint::Write(DLOG_INFO, "ThreadRun", __LINE__, "ThreadRun1 - %p, %ld", self, static_cast<long>(threadId));
    task->SetPid(threadId);
    QxDebugPrint::Write(DLOG_INFO, "ThreadRun", __LINE__, "ThreadRun2 - %p", self);
    if (task->m_NameThread()) {
        QxDebugPrint::Write(DLOG_INFO, "ThreadRun", __LINE__, "ThreadRun3 - %p", self);
        task->Loop();
    }
    task->m_threadState = ThreadState::Ended;
    return nullptr;
}

bool QxTask::m_NameThread() {
    if (m_name[0] == '\0' || prctl(PR_SET_NAME, m_name) == 0) return true;
    QxDebugPrint::Assert("0", "src/QxTask", 44);
    QxDebugPrint::GetInstance()->Print("ThreadRun", __LINE__, Fatal, "ASSERT!\n");
    return false;
}

void QxTask::Loop() {
    m_LogThread(DLOG_ERROR, "Loop", __LINE__, "Loop..");
    if (Guarded("t_Create", [this] { return t_Create(); }) == 0) return;
    m_running = true;
    SetEvent(m_semId);
    while (m_Idle() != 0) {
    }
    m_running = false;
    Guarded("t_Destroy", [this] { return t_Destroy(); });
}

int QxTask::m_Idle() {
    if (!m_running && !WaitForCreate(500)) {
        m_LogThread(DLOG_ERROR, "m_Idle", __LINE__, "m_Idle return false, Get Signal");
        return 0;
    }
    if (m_Wait() == kTaken) return m_HandleSignal();
    // The signal of a stop may be lost: the creator's own wait may take it.
    if (m_exit) return 0;
    return Guarded("t_process", [this] { return t_process(); });
}

// A wait that fails would make turns follow each other without end: it lasts as long as it would have.
int QxTask::m_Wait() {
    const timespec end = TimeIn(static_cast<std::uint32_t>(m_waitTime));
    const int result = WaitForSingleObject(m_semId, m_waitTime);
    if (result != kWaitFailed) return result;
    if (errno != EINTR) m_TellThatWaitsFail(errno);
    return m_Pause(end);
}

void QxTask::m_TellThatWaitsFail(int error) {
    if (m_toldFailure) return;
    m_toldFailure = true;
    QxDebugPrint::GetInstance()->Print(
        "m_Idle", __LINE__, Major,
        "[QxTask::m_Idle] The semaphore cannot be waited on, the clock takes its place, semId: %d, errno: %d",
        m_semId.load(), error);
}

// Waits like the semaphore, without it.
int QxTask::m_Pause(const timespec& end) {
    int result = 0;
    m_Lock();
    while (!m_exit && m_events.empty() && result != ETIMEDOUT) {
        result = m_waitTime == kNoLimit ? pthread_cond_wait(&m_woken, &m_mutex)
                                        : pthread_cond_timedwait(&m_woken, &m_mutex, &end);
    }
    m_Unlock();
    return result == ETIMEDOUT ? kTimedOut : kTaken;
}

int QxTask::m_HandleSignal() {
    m_LogThread(DLOG_ERROR, "m_Idle", __LINE__, "Get Signal");
    if (m_exit) return 0;
    QxEvent event;
    if (m_RetrieveEvent(event)) {
        Guarded("t_onEvent", [&] { return t_onEvent(event); });
        m_ResetEvent();
    }
    m_LogThread(DLOG_ERROR, "m_Idle", __LINE__, "m_Idle return true..");
    return 1;
}

void QxTask::m_LogThread(int priority, const char* function, int line, const char* text) const {
    QxDebugPrint::Write(priority, function, line, "%s thName : %s, semId : %d, thId : %ld", text, m_name,
                        m_semId.load(), static_cast<long>(m_pid));
}

int QxTask::t_Create() {
    m_LogThread(DLOG_ERROR, "t_Create", __LINE__, "t_Create_");
    return 1;
}

int QxTask::t_Destroy() {
    m_LogThread(DLOG_ERROR, "t_Destroy", __LINE__, "t_Destroy_");
    return 1;
}

int QxTask::t_process() {
    QxDebugPrint::GetInstance()->Print("t_process", __LINE__, Info, "t_process::Loop..");
    return 1;
}

int QxTask::t_onEvent(QxEvent) {
    QxDebugPrint::GetInstance()->Print("t_onEvent", __LINE__, Info, "t_process::event..");
    return 1;
}
