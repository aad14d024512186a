// The tracker: the watched processes, the store, and a worker that runs tracking cycles, with a second between them.
//
// The set of processes and the script tree are used without locks: the client configures before Run, or from its
// callback.
#pragma once

#include <memory>
#include <set>
#include <string>
#include <utility>

#include "IQxCycleObserver.h"
#include "IQxLogTracker.h"
#include "QxTask.h"
#include "QxTrackerHealth.h"

class IQxEventObserver;

class QxLogTracker final : public IQxLogTracker, public QxTask {
public:
    // Sets the level of all diagnostics in the process.
    explicit QxLogTracker(EDebugLevel level);

    // With a store of the caller's, for tools that watch what comes into it.
    QxLogTracker(EDebugLevel level, std::shared_ptr<IQxData> store);
    ~QxLogTracker() override;

    int SetQxProcess(std::string& name) override;
    int ParseScript(std::pair<int, char*>& script) override;
    int Run(Callback callback, void* context, int dumpPause) override;
    int Stop() override;
    std::shared_ptr<IQxData> Get() override { return m_instance; }
    void Clear() override;

    // One tracking cycle: fetches a dump of each watched process, decodes all of them, and runs the scripts. On the
    // worker's thread. Always 1.
    int t_process() override;

    // The event 0x1001 runs a cycle at once; others are ignored. Always 1.
    int t_onEvent(QxEvent event) override;

    // The id of the first process in /proc whose command name is a prefix of `name`; 0 when there is none. The system
    // shortens command names to 15 bytes, so a longer name is found by its beginning.
    static unsigned long FindProcess(const char* name);

    // The same cut to 16 bits, which is what the store and the dumps carry.
    static unsigned short GetProcessID(const char* name);

    // Who watches the cycles' trace passes decide; see QxParser. Set before Run.
    void SetObserver(IQxEventObserver* observer) { m_observer = observer; }

    // Who watches the cycles themselves; nobody at first. Not owned. Set before Run.
    void SetCycleObserver(IQxCycleObserver* observer) { m_cycleObserver = observer != nullptr ? observer : &m_nobody; }

    // What is counted; any thread. Events are counted from the next Run on.
    const QxTrackerHealth& Health() const { return m_health; }
    void CountEvents() { m_health.CountEvents(); }

    // Another pause after each dump than Run was given. Not while the worker runs.
    void SetDumpPause(int dumpPause) { m_dumpPause = dumpPause; }

    // For who changes what is watched while the tracker runs. Only from the cycle observer's OnCycle, for the cycle
    // that begins then, or while the tracker does not run: no dump of the process is asked for any more; and the next
    // dump of it is one with the "first" flag, as all dumps of a first cycle are.
    void DropProcess(const std::string& name) { m_processes.erase(name); }
    void FetchAnew(const std::string& name) { m_anew.insert(name); }

private:
    static int m_CallBack(std::string name, std::string value, IQxData::HSCall call, void* context);

    void m_Reset();
    void m_RegisterProcesses(const IQxData::_HSScriptPtr& action);
    std::vector<std::vector<char>> m_FetchDumps();
    void m_Decode(QxCycle& cycle);
    void m_PauseAfterDump() const;

    std::set<std::string> m_processes;
    std::shared_ptr<IQxData> m_instance;
    Callback m_callback = nullptr;
    bool m_firstCycle = false;  // the worker's, from Run on
    void* m_context = nullptr;
    int m_unread = 0;  // set by Run, read by nobody; kept for the layout of the object
    int m_dumpPause = 0;
    IQxEventObserver* m_observer = nullptr;
    IQxCycleObserver m_nobody;
    IQxCycleObserver* m_cycleObserver = &m_nobody;
    QxTrackerHealth m_health;
    std::set<std::string> m_anew;  // processes whose next dump is a first one, whatever the cycle
};
