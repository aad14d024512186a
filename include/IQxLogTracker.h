// The tracker: watches the traced calls of other processes and calls the client back whenever one of them matches a
// scenario that the client loaded.
//
//     std::unique_ptr<IQxLogTracker> tracker = IQxLogTracker::Instance(Major);
//     tracker->ParseScript(script);           // one script; names the processes, waits until they run
//     tracker->Run(onEvent, context, 1);      // events arrive on the tracker's own thread
//     ...
//     tracker->Stop();
//
// All operations are called from one client thread, or from the callback, and configuration (SetQxProcess, ParseScript)
// comes before Run: nothing is locked, and while the tracker runs its worker uses the processes, the scripts and the
// store. Several trackers may run in one process; they share the level of diagnostics, and what events remember from
// call to call by their names.
//
// Exceptions. The tracker never throws for what a script or a dump contains. Its operations throw std::bad_alloc when
// memory runs out; those of the store, see IQxData.h, throw IQxData::_PERR_TYPE besides, an enumeration that is thrown
// by value and that a client can catch.
//
// Process ids are cut to 16 bits, in the store and in the calls. A process whose id is a multiple of 65,536 is never
// found: SetQxProcess gives 0 for it, and a ParseScript that waits for it waits for ever. Start such a process again.
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "IQxData.h"

// How much the library prints to the platform log: a message passes when its level is at least 1 and at most the
// current one. The level is shared by the whole process; the last tracker that was created sets it.
//
//     Fatal    what ended a turn of the worker, a thread that cannot be named, and some kinds of damaged items
//     Major    dumps that are damaged or cannot be read, scripts and events in error, callbacks that throw, limits
//     Warning  a clock that gives no time
//     Debug    nothing besides
//     Info     each decision of each cycle; much
//
// Written whatever the level, at Silent too: the lines of the worker about its own life and each signal that it gets
// (from "Create.." to "Destroyed"), and "Exception!!!" for each dump whose threads' streams are damaged.
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
    //
    // A name keeps the id of its first registration: calling this again, also after the process was started anew, does
    // not change what calls carry. To have the new id: Stop, Clear, register all names again, Run.
    virtual int SetQxProcess(std::string& name) = 0;

    // Loads a scenario: `script` is the length in bytes and the XML text, owned by the caller and not needed
    // afterwards. Registers each process that an action's "process" attribute names, and waits without limit until each
    // of them runs. Returns non-zero, or 0 when the text is not well-formed.
    //
    // Load one script. A second one loads and returns non-zero, and its events never fire: it is hung below the first
    // one's top element, where its actions stand one level too deep, and its processes are not registered. Put the
    // actions of all scripts below one top element; the tool `qxlt` does so with the scripts that it is given.
    //
    // After a failure the tracker is of no more use, unless the text was empty or all its elements were closed: what
    // was read of it stays, and from then on the element that was open where reading stopped is taken for the top one.
    // The events of a script that was loaded before no longer fire, and those of a later one never do. Destroy the
    // tracker and load the mended script into a new one.
    virtual int ParseScript(std::pair<int, char*>& script) = 0;

    // Starts tracking on a thread of the tracker's own. The first cycle only primes the store; events come from the
    // second one on. `callback` may be null; `context` is handed back as it is. `dumpPause` is the pause after each
    // process's dump: 1 means 10 ms, any other value 1 s. A cycle begins one second after the one before has ended:
    // with the long pause one process has a cycle every two seconds, and three have one every four. Returns 1, at once
    // or after about 2 s; on a tracker that runs already it changes nothing and returns 0. The 1 does not say that a
    // thread was made: where the system gives none there are no events, and the log has no line "Loop..". Calling Run
    // again then tries again. Without a semaphore the thread runs all the same.
    virtual int Run(Callback callback, void* context, int dumpPause) = 0;

    // Lets the cycle in progress end, then ends the thread. Does nothing when the tracker does not run; may be followed
    // by another Run. From the callback it returns at once, and the thread ends after the cycle in progress. Returns 1.
    virtual int Stop() = 0;

    // The tracker's store. Never null, and valid beyond the tracker. While the tracker runs, its worker writes the
    // store: read it from the callback, or after Stop.
    virtual std::shared_ptr<IQxData> Get() = 0;

    // Empties the store but for the loaded scripts. The process names that were registered go as well, so that calls
    // decoded afterwards carry process id 0 until the names are registered again. Only from the callback, or while the
    // tracker does not run: the store has no lock, and on any other thread this races with the worker.
    virtual void Clear() = 0;

    // A new tracker with a store of its own, owned by the caller. Sets the level of all diagnostics in the process.
    static std::unique_ptr<IQxLogTracker> Instance(EDebugLevel level);
};
