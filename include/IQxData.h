// The trace data store that a tracker fills and a client reads, and the records that it holds. Everything that decoding
// produces ends up here: processes, threads, call locations, composite argument layouts, calls and the events they
// raised.
//
// No operation locks. While a tracker runs, its worker thread writes the store; another thread that reads it, or calls
// clear(), must order itself with the worker. Inside the client's callback, which runs on that worker, every operation
// may be called.
//
// Call locations, layouts and threads stay until clear(), 64 MiB of them for each process: past that, storing another
// one throws PERR_INVALID_SIZE, and an unknown one that is looked up is no longer stored.
//
// What an operation throws besides: std::bad_alloc, when memory runs out.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#ifndef QX_EXPORT
#define QX_EXPORT __attribute__((visibility("default")))
#endif

class QX_EXPORT IQxData {
public:
    // What the store and the decoders throw, by value: catch (IQxData::_PERR_TYPE error). A client meets the last two
    // from GetCall and GetThread, and PERR_INVALID_SIZE from what stores descriptions.
    enum QX_EXPORT _PERR_TYPE {
        PERR_INVALID_TAG = 0,      // a packet or an item of no known kind
        PERR_INVALID_SIZE = 1,     // a size that does not fit the bytes, or past a limit
        PERR_CALL_NOT_FOUND = 2,   // no call under that key
        PERR_THREAD_NOT_FOUND = 3  // no thread of that id
    };

    // One decoded argument: (name, value) pairs in the order in which they were decoded. A plain value is one pair with
    // an empty name; a composite value gives a pair for each of its members, and an empty list none. Neither does the
    // result of a call that ended without one. Values hold the traced bytes plus one each (modulo 256): taking one off
    // again gives what the process passed.
    typedef std::vector<std::pair<std::string, std::string>> HSICallArg;

    // One traced call or log record.
    struct HSCall {
        struct Args {
            std::vector<HSICallArg> in;   // values recorded at entry
            std::vector<HSICallArg> out;  // values recorded at exit
            std::vector<HSICallArg> ret;  // the return value, at most one
        };

        unsigned short pid = 0;           // the calling process, as registered with the store
        unsigned int locId = 0;           // the call location, see _HSCallLocation
        unsigned int extra = 0;           // always 0
        unsigned short tid = 0;           // the calling thread
        unsigned long long time = 0;      // entry time on the thread's time line
        unsigned long long exitTime = 0;  // exit time on the same time line, 0 until the call returned
        Args args;
    };

    // One traced call site. The size marks of `argSize` and `retSize`: 16382 is a composite value, laid out by the
    // _HSCompArgDesc of the type's name; 16383 a value preceded by its size; 0 no value.
    struct _HSCallLocation {
        struct Args {
            std::vector<std::string> argType;    // type name of each argument
            std::vector<unsigned int> argFlags;  // bit 0: recorded at entry, bit 1: recorded at exit
            std::vector<unsigned int> argSize;   // bytes of the recorded value, or a size mark
            std::string retType;
            unsigned int retSize = 0;  // bytes of the return value, or a size mark
        };

        unsigned int locId = 0;       // number within the process; 0 in the answer for an unknown location
        unsigned int srcCodeAux = 0;  // a word sent by the tracing framework, kept as it came
        std::string srcCodeFileRaw;   // source file
        Args args;
        std::string callerName;   // the traced method; scenarios match this name
        std::string packageName;  // the package that the method belongs to
    };

    // The layout of one composite argument type. A nameless or typeless member has no entry in its list, so the lists
    // may be shorter than `memberSizes`.
    struct _HSCompArgDesc {
        unsigned char isContainer = 0;  // 1: a counted run of values of this layout, 0: one value
        std::vector<std::string> memberNames;
        std::vector<unsigned int> memberSizes;  // bytes, or a size mark as in _HSCallLocation
        std::vector<std::string> memberTypes;
    };

    // The identity of a thread across processes.
    struct HSIThreadId {
        unsigned short pid = 0;
        unsigned short tid = 0;

        // Orders by pid, then by tid.
        bool operator<(const HSIThreadId& other) const { return pid != other.pid ? pid < other.pid : tid < other.tid; }
    };

    struct HSIThread {
        unsigned short pid = 0;
        unsigned short tid = 0;
        std::string name;
    };

    // One element of a loaded script. Owns its children; not copyable for that reason.
    struct QX_EXPORT _HSScriptPtr {
        std::string name;
        std::vector<std::pair<std::string, std::string>> attributes;  // (name, value) in document order
        _HSScriptPtr* parent = nullptr;                               // not owned; null for the first top element
        std::vector<_HSScriptPtr*> children;                          // owned, in document order; entries may be null

        _HSScriptPtr() = default;
        _HSScriptPtr(const _HSScriptPtr&) = delete;
        _HSScriptPtr& operator=(const _HSScriptPtr&) = delete;

        // Frees the whole tree below; depth does not matter, no stack is used for it.
        ~_HSScriptPtr();

        // Sets the name and appends one attribute for each (name, value) couple of `attrs`, an array that a null name
        // ends. Copies all texts.
        void Append(const char* elementName, const char** attrs);
    };

    // The slot that holds the root of the loaded scripts: null until a script is loaded, then the first script's top
    // element. The store owns what it points to.
    typedef _HSScriptPtr* _HSScript;

    virtual ~IQxData() = default;

    // Empties everything but the loaded scripts.
    virtual void clear() = 0;

    // Empties calls and events; everything else stays.
    virtual void clearCalls() = 0;

    // Keeps the last five texts as the header of the current dump.
    virtual void AppendHeader(unsigned short pid, std::string process, std::string qxVersion, std::string swBuildString,
                              std::string swVersionModel, std::string extraField1, std::string extraField2) = 0;

    // Registers a process name. The first registration of a name wins until clear().
    virtual void AppendProcessName(unsigned short pid, std::string name) = 0;

    // Makes a process current: locations, threads and calls that follow belong to it. A name that was never registered
    // counts as process id 0.
    virtual void AppendCurrentProcess(std::string name) = 0;

    // Stores the address of the script root slot in `*out` and returns it. Valid as long as the store.
    virtual _HSScript* GetScript(_HSScript** out) = 0;

    // Stores a copy under the location's number within the current process, in place of an earlier one. Throws
    // PERR_INVALID_SIZE.
    virtual void AppendCallLocation(_HSCallLocation& location) = 0;

    // The location of that number in the current process, or in the process `pid`. An unknown one is stored as an empty
    // record (locId 0) and returned.
    virtual _HSCallLocation GetCallLocation(unsigned int locId) = 0;
    virtual _HSCallLocation GetCallLocationWithPID(unsigned int locId, unsigned short pid) = 0;

    // Stores the layout of the type `name`, in place of an earlier one. Throws PERR_INVALID_SIZE.
    virtual void AppendCompArgDesc(std::string name, _HSCompArgDesc desc) = 0;

    // Copies the layout of the type `name` into `out`. An unknown one is stored as an empty record and copied.
    virtual void GetCompArgDesc(_HSCompArgDesc& out, std::string name) = 0;

    // Stores a copy of the call and returns its key: time * 1000 + (number of calls stored before it % 1000). A call
    // that already has that key is replaced.
    virtual unsigned long long AppendBeforeCall(HSCall& call) = 0;

    // Replaces the call under the key by a copy of `call`; does nothing when there is none.
    virtual void AppendAfterCall(unsigned long long key, HSCall& call) = 0;

    // Copies the call under the key into `out`. Throws PERR_CALL_NOT_FOUND when there is none.
    virtual void GetCall(unsigned long long key, HSCall& out) = 0;

    // The calls themselves, in key order. Never null, valid as long as the store.
    virtual std::map<unsigned long long, HSCall>* GetCallIMap() = 0;

    // Appends a fired event with the value and the call that fired it. No limit of its own: it is the tracker that, in
    // one pass, appends events of 256 MiB and 64 bytes for each byte of the dumps, and only raises those beyond.
    virtual void AppendEvent(std::string name, std::string value, HSCall call) = 0;

    // Stores the thread under its tid, in place of an earlier one of any process, and sets its pid (also in `thread`)
    // to the current process. Throws PERR_INVALID_SIZE.
    virtual void AppendThread(HSIThread& thread) = 0;

    // The thread of that id. Throws PERR_THREAD_NOT_FOUND when there is none.
    virtual HSIThread GetThread(unsigned short tid) = 0;

    // The time base of the current thread: the last time reached on its time line, 0 for a thread not seen before.
    virtual void ResetThreadTime() = 0;
    virtual void SetThreadTime(unsigned long long time) = 0;
    virtual unsigned long long GetThreadTime() = 0;

    virtual void SetCurrentThread(unsigned short tid) = 0;
    virtual unsigned short GetCurrentThread() = 0;

    // The stack of the keys of calls that have not returned yet. It keeps the newest 1,048,576. Get pops; it gives 0
    // when the stack is empty.
    virtual void ResetLocationMarker() = 0;
    virtual void SetLocationMarker(unsigned long long key) = 0;
    virtual unsigned long long GetLocationMarker() = 0;

    // The id registered for the current process's name, 0 when there is none.
    virtual unsigned short GetCurrentPID() = 0;

    // A new, empty store; each call makes another one. Never null.
    static std::shared_ptr<IQxData> Instance();
};
