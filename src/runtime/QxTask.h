// An object with a worker thread of its own and a small event queue. The thread waits on a semaphore with a time-out: a
// signal delivers one queued event to t_onEvent, a time-out runs t_process. Where the system gives no semaphore the
// worker keeps its pace all the same, and events and the end still reach it.
//
// Create, SendEvent and Destroy are called by the thread that owns the object, the hooks by the worker. The owner
// destroys the object only after Destroy and Reap.
#pragma once

#include <pthread.h>
#include <time.h>

#include <atomic>
#include <list>

#include "QxEvent.h"

class QxTask {
public:
    QxTask() = default;
    QxTask(const QxTask&) = delete;
    QxTask& operator=(const QxTask&) = delete;

    // Drops the events that are still queued. Neither stops nor joins the thread.
    virtual ~QxTask() = default;

    // Hooks, in the worker's thread. t_Create returning 0 ends the thread before its loop; t_process returning 0 ends
    // the loop. An exception that leaves one is printed at level Fatal and counts as 1.
    virtual int t_Create();
    virtual int t_process();
    virtual int t_onEvent(QxEvent event);
    virtual int t_Destroy();

    // Starts the worker under `name` (cut to 11 characters; may be null) with `waitTime` ms between turns, and waits up
    // to 2 s for it. The last argument is not used. Returns 1. Each call leaves one semaphore set behind for the life
    // of the system: sets are never removed.
    int Create(const char* name, int waitTime, unsigned long unused);

    // Queues a copy of the event and wakes the worker. Returns 1, or 0 when no worker took up its loop within 500 ms
    // (the event is dropped then).
    int SendEvent(QxEvent& event);

    // Ends the worker after the turn in progress and joins it. On the worker itself it only asks for the end; the owner
    // joins later. Does nothing when the loop is not running.
    void Destroy();

    // Joins a worker that Destroy left: one that ended its loop by itself, or that has not reached it yet. Does nothing
    // on the worker itself.
    void Reap();

    // Whether a worker exists whose thread function has not ended.
    bool HasThread() const { return m_threadState == ThreadState::Live; }

    // Whether the worker is in its loop.
    bool IsRunning() const { return m_running; }

    // The worker's kernel thread id, -1 before it started.
    int Pid() const { return m_pid; }
    void SetPid(int pid) { m_pid = pid; }
    const char* Name() const { return m_name; }

protected:
    // Takes the semaphore. `timeout` is in ms and counts as 32 bits; 0xFFFFFFFE waits without limit. Returns 0 when it
    // was taken, 258 on time-out, -1 on any other error, an interruption included.
    int WaitForSingleObject(int semId, unsigned long timeout);

    // Sets the semaphore, a flag rather than a counter: signals before a wait collapse into one. Returns 1.
    int SetEvent(int semId);

    // Waits up to `delay` ms for a signal and returns whether the worker is in its loop.
    bool WaitForCreate(unsigned long delay);

    // Takes the oldest queued event; false (and `out` unchanged) when there is none.
    bool m_RetrieveEvent(QxEvent& out);

    void m_ResetEvent();
    int m_Idle();

private:
    enum class ThreadState { None, Live, Ended };

    static void* m_Entry(void* task);
    bool m_NameThread();
    void m_Start();
    void Loop();
    int m_Wait();
    int m_Pause(const timespec& end);
    void m_TellThatWaitsFail(int error);
    int m_HandleSignal();
    int m_Wake();
    bool m_IsCaller() const;
    void m_LogThread(int priority, const char* function, int line, const char* text) const;
    void m_ThreadJoin();
    std::size_t m_QueueLength();
    void m_Lock() { pthread_mutex_lock(&m_mutex); }
    void m_Unlock() { pthread_mutex_unlock(&m_mutex); }

    unsigned long m_waitTime = 0;        // ms; set before the worker starts
    bool m_toldFailure = false;          // the worker's: that its waits fail has been printed
    std::atomic<bool> m_running{false};  // set and cleared by the worker
    std::atomic<bool> m_exit{false};
    std::atomic<int> m_pid{-1};
    char m_name[12] = "";         // set before the worker starts
    std::list<QxEvent> m_events;  // guarded by m_mutex
    pthread_t m_thread{};         // the owner's
    std::atomic<int> m_semId{-1};
    pthread_mutex_t m_mutex = PTHREAD_MUTEX_INITIALIZER;
    pthread_cond_t m_woken = PTHREAD_COND_INITIALIZER;  // of m_mutex: an event came, or the end is asked for
    std::atomic<ThreadState> m_threadState{ThreadState::None};
};
