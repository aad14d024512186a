// The one trace data store: an IQxData that keeps everything in maps. Takes no locks; see IQxData.h for which thread
// may do what.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "IQxData.h"
#include "QxDescriptionBudget.h"
#include "QxLocation.h"
#include "QxSpareCalls.h"

class QxData : public IQxData {
public:
    // The key of a call is its time, times this, plus a number below it.
    static constexpr unsigned long long kKeysPerTime = 1000;

    QxData();
    QxData(const QxData&) = delete;
    QxData& operator=(const QxData&) = delete;
    ~QxData() override;

    void clear() override;
    void clearCalls() override;
    void AppendHeader(unsigned short pid, std::string process, std::string qxVersion, std::string swBuildString,
                      std::string swVersionModel, std::string extraField1, std::string extraField2) override;
    void AppendProcessName(unsigned short pid, std::string name) override;
    void AppendCurrentProcess(std::string name) override;
    _HSScript* GetScript(_HSScript** out) override;
    void AppendCallLocation(_HSCallLocation& location) override;
    _HSCallLocation GetCallLocation(unsigned int locId) override;
    _HSCallLocation GetCallLocationWithPID(unsigned int locId, unsigned short pid) override;
    void AppendCompArgDesc(std::string name, _HSCompArgDesc desc) override;
    void GetCompArgDesc(_HSCompArgDesc& out, std::string name) override;
    unsigned long long AppendBeforeCall(HSCall& call) override;
    void AppendAfterCall(unsigned long long key, HSCall& call) override;
    void GetCall(unsigned long long key, HSCall& out) override;
    std::map<unsigned long long, HSCall>* GetCallIMap() override;
    void AppendEvent(std::string name, std::string value, HSCall call) override;
    void AppendThread(HSIThread& thread) override;
    HSIThread GetThread(unsigned short tid) override;
    void ResetThreadTime() override;
    void SetThreadTime(unsigned long long time) override;
    unsigned long long GetThreadTime() override;
    void SetCurrentThread(unsigned short tid) override;
    unsigned short GetCurrentThread() override;
    void ResetLocationMarker() override;
    void SetLocationMarker(unsigned long long key) override;
    unsigned long long GetLocationMarker() override;
    unsigned short GetCurrentPID() override;

    // The same records without copies, for the library's own reading; valid until the store changes them. An unknown
    // location or descriptor is stored as an empty record, as in the operations above, while its process may still
    // describe anything.
    const QxLocation& Location(unsigned int locId, unsigned short pid) {
        const unsigned int key = LocationKey(locId, pid);
        return m_recent != nullptr && key == m_recentKey ? *m_recent : FindLocation(key, pid);
    }
    const QxLocation& Location(unsigned int locId) { return Location(locId, m_currentPid); }
    const _HSCompArgDesc& CompArgDesc(const std::string& name);
    // Throws PERR_CALL_NOT_FOUND.
    HSCall& Call(unsigned long long key);
    // A call to fill in; its list `in` may hold values to write over. AddNewCall stores it, as AppendBeforeCall does,
    // and comes before the next NewCall.
    HSCall& NewCall() {
        if (m_newCall.empty()) m_newCall = m_spare.Take();
        return m_newCall.mapped();
    }
    unsigned long long AddNewCall();
    // A list of arguments to fill, which may hold values to write over.
    std::vector<HSICallArg> TakeList() { return m_spare.TakeList(); }

    // Records that are no part of the store, to write over; and back again.
    std::vector<HSCall> TakeRecords() { return m_spare.TakeRecords(); }
    void KeepRecords(std::vector<HSCall> records) { m_spare.KeepRecords(std::move(records)); }

    // About the bytes of memory that stay taken from one cycle to the next: what processes have described, and calls
    // kept to be filled anew.
    std::uint64_t KeptBytes() const { return m_described.Taken() + m_spare.Cost(); }

    // Puts another script tree in the place of the loaded one, which is returned; either may be null. Not while a trace
    // pass runs or a script is being loaded.
    std::unique_ptr<_HSScriptPtr> ExchangeScript(std::unique_ptr<_HSScriptPtr> top);

    // Whether something is told of this element of the script tree for the first time.
    bool IsFirstReport(const _HSScriptPtr& element) { return m_reported.insert(&element).second; }

    // Reads a varint length and that many bytes into `out`; returns how many bytes both took. Requires: all of them are
    // there.
    static unsigned int Read(const char* buffer, std::string& out);

    // Reads a common header; returns the tag. The first form requires that all of it is there.
    static unsigned char ParseCommonHeader(const char* p, unsigned int& size, unsigned short& headerLength);
    // Reads at the front of `bytes` and removes what it read. Throws PERR_INVALID_SIZE.
    static unsigned char ParseCommonHeader(std::vector<char>& bytes, unsigned int& size, unsigned short& headerLength);

private:
    struct Layout {
        _HSCompArgDesc desc;
        QxDescriptionBudget::Share share;
    };

    // The key is unsigned 32-bit arithmetic: large location numbers wrap.
    static unsigned int LocationKey(unsigned int locId, unsigned short pid) { return locId + 10000u * pid; }
    const QxLocation& FindLocation(unsigned int key, unsigned short pid);
    const QxLocation& Recent(unsigned int key, const QxLocation& location);
    void UpdateCurrentPID();
    unsigned long long& ThreadTime();

    std::map<std::string, unsigned short> m_processes;
    std::string m_header[5];
    _HSScript m_script = nullptr;              // owned
    std::set<const _HSScriptPtr*> m_reported;  // elements below it that something was told of
    std::string m_currentProcess;
    unsigned short m_currentPid = 0;  // of m_currentProcess in m_processes, looked up once per change
    std::unordered_map<unsigned int, QxLocation> m_locations;
    unsigned int m_recentKey = 0;  // of the location that was asked for last
    const QxLocation* m_recent = nullptr;
    std::map<unsigned long long, HSCall> m_calls;
    std::map<unsigned long long, HSCall>::iterator m_last = m_calls.end();  // the call that was added last
    QxSpareCalls m_spare;
    QxSpareCalls::Map::node_type m_newCall;  // to fill in; empty when there is none
    std::map<std::string, Layout> m_descriptors;
    std::map<unsigned short, HSIThread> m_threads;
    QxDescriptionBudget m_described;  // what the three above hold
    std::map<unsigned short, unsigned long long> m_threadTimes;
    unsigned short m_currentThread = 0;
    unsigned long long* m_currentTime = nullptr;  // among those above; null until it is asked for
    std::deque<unsigned long long> m_openCalls;   // the newest at the back
    std::map<std::string, std::vector<std::pair<std::string, HSCall>>> m_Events;
};
