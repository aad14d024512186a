// The tracker: watches the traced calls of other processes and calls the client back whenever one of them matches a
// scenario that the client loaded.
//
//     std::unique_ptr<IQxLogTracker> tracker = IQxLogTracker::Instance(Major);
//     tracker->ParseScript(script);           // names the processes, waits until they run
//     tracker->Run(onEvent, context, 1);      // events arrive on the tracker's own thread
//     ...
//     tracker->Stop();
//
// All operations are called from one client thread, or from the callback, and configuration (SetQxProcess, ParseScript)
// comes before Run. The tracker never throws for what a script or a dump contains. Several trackers may run in one
// process; they share the level of diagnostics, and what events remember from call to call by their names.
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "IQxData.h"

// How much the library prints to the platform log: a message passes when its level is at least 1 and at most the
// current one. The level is shared by the whole process; the last tracker that was created sets it.
enum EDebugLevel { Silent = 0, Fatal = 1, Major = 2, Warning = 3, Debug = 4, Info = 5 };

class QX_EXPORT IQxLogTracker {
public:
    // A fired event: its name, the value that fired it, a copy of the call, and the context given to Run. Called on the
    // tracker's worker thread, one event at a time, while a cycle is traced: the next cycle, and Stop on another
    // thread, wait for it, however long it takes. The result is ignored. An exception that leaves the callback is
    // printed at level Major and tracking goes on.
    //
    // The callback may call every operation of its tracker: Get; ParseScript, whose scenario counts from the next cycle
    // on (the cycle stands still while it waits for processes); Clear, after which the cycle's further calls match
    // nothing; Stop, which returns at once, the thread ends after this cycle; Run returns 0. It must not destroy it,
    // nor end its thread.
    typedef int (*Callback)(std::string name, std::string value, IQxData::HSCall call, void* context);

    // Stops a running tracker first, as Stop does. Not to be called from the callback.
    virtual ~IQxLogTracker() = default;

    // Watches the process of that command name. Returns 1, or 0 (and changes nothing) when no such process runs. A
    // process whose command name is a prefix of `name` counts as a match, since the system shortens long names.
    virtual int SetQxProcess(std::string& name) = 0;

    // Loads a scenario: `script` is the length in bytes and the XML text, owned by the caller and not needed
    // afterwards. Registers each process that an action's "process" attribute names, and waits without limit until each
    // of them runs. Returns non-zero, or 0 when the text is not well-formed.
    virtual int ParseScript(std::pair<int, char*>& script) = 0;

    // Starts tracking on a thread of the tracker's own, about one cycle a second. The first cycle only primes the
    // store; events come from the second one on. `callback` may be null; `context` is handed back as it is. `dumpPause`
    // is the pause after each process's dump: 1 means 10 ms, any other value 1 s. Returns 1, at once or after about 2
    // s; on a tracker that runs already it changes nothing and returns 0.
    virtual int Run(Callback callback, void* context, int dumpPause) = 0;

    // Lets the cycle in progress end, then ends the thread. Does nothing when the tracker does not run; may be followed
    // by another Run. From the callback it returns at once, and the thread ends after the cycle in progress. Returns 1.
    virtual int Stop() = 0;

    // The tracker's store. Never null.
    virtual std::shared_ptr<IQxData> Get() = 0;

    // Empties the store but for the loaded scripts. The process names that were registered go as well, so that calls
    // decoded afterwards carry process id 0.
    virtual void Clear() = 0;

    // A new tracker with a store of its own, owned by the caller. Sets the level of all diagnostics in the process.
    static std::unique_ptr<IQxLogTracker> Instance(EDebugLevel level);
};
