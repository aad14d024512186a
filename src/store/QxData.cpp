#include "QxData.h"

#include <iterator>
#include <utility>

#include "QxCursor.h"
#include "QxDebugPrint.h"
#include "QxFormat.h"
#include "QxFrame.h"

namespace {

using Share = QxDescriptionBudget::Share;

template <typename... Record>
Share ShareOf(unsigned short pid, const Record&... record) {
    return {pid, QxDescriptionBudget::Cost(record...)};
}

}  // namespace

QxData::QxData() {
    QxData::clear();
}

QxData::~QxData() {
    QxData::ExchangeScript(nullptr);
}

// A load that failed leaves the slot on the element that was open there, somewhere below the top element. Elements of
// another tree may come to lie where those of this one lay.
std::unique_ptr<IQxData::_HSScriptPtr> QxData::ExchangeScript(std::unique_ptr<_HSScriptPtr> top) {
    _HSScriptPtr* old = std::exchange(m_script, top.release());
    while (old != nullptr && old->parent != nullptr) old = old->parent;
    m_reported.clear();
    return std::unique_ptr<_HSScriptPtr>(old);
}

void QxData::clear() {
    m_processes.clear();
    for (std::string& field : m_header) field.clear();
    m_Events.clear();
    m_locations.clear();
    m_recent = nullptr;
    m_calls.clear();
    m_last = m_calls.end();
    m_spare.Clear();
    m_descriptors.clear();
    m_threads.clear();
    m_described.Clear();
    m_openCalls.clear();
    m_currentThread = 0;
    m_currentProcess.clear();
    m_threadTimes.clear();
    m_currentTime = nullptr;
    m_currentPid = 0;
}

void QxData::clearCalls() {
    m_Events.clear();
    m_last = m_calls.end();
    m_spare.Refill(m_calls);
    m_calls.clear();
}

void QxData::AppendHeader(unsigned short, std::string, std::string qxVersion, std::string swBuildString,
                          std::string swVersionModel, std::string extraField1, std::string extraField2) {
    m_header[0] = std::move(qxVersion);
    m_header[1] = std::move(swBuildString);
    m_header[2] = std::move(swVersionModel);
    m_header[3] = std::move(extraField1);
    m_header[4] = std::move(extraField2);
}

void QxData::AppendProcessName(unsigned short pid, std::string name) {
    m_processes.emplace(std::move(name), pid);
    UpdateCurrentPID();
}

void QxData::AppendCurrentProcess(std::string name) {
    m_currentProcess = std::move(name);
    UpdateCurrentPID();
    m_described.BeginDump();
}

void QxData::UpdateCurrentPID() {
    const auto found = m_processes.find(m_currentProcess);
    m_currentPid = found == m_processes.end() ? static_cast<unsigned short>(0) : found->second;
}

IQxData::_HSScript* QxData::GetScript(_HSScript** out) {
    return *out = &m_script;
}

void QxData::AppendCallLocation(_HSCallLocation& location) {
    const unsigned int key = LocationKey(location.locId, m_currentPid);
    const auto known = m_locations.find(key);
    const Share share = ShareOf(m_currentPid, location);
    m_described.Take(share, known == m_locations.end() ? Share() : known->second.share);
    QxLocation& stored = m_locations.insert_or_assign(known, key, QxLocation(location))->second;
    stored.share = share;
}

const QxLocation& QxData::FindLocation(unsigned int key, unsigned short pid) {
    const auto known = m_locations.find(key);
    if (known != m_locations.end()) return Recent(key, known->second);
    static const QxLocation& unknown = *new QxLocation;
    const Share share = ShareOf(pid, unknown.site);
    if (!m_described.TryTake(share)) return unknown;
    QxLocation& stored = m_locations[key];
    stored.share = share;
    return stored;
}

// Calls of one location come one after the other, and a call's exit after its entry.
const QxLocation& QxData::Recent(unsigned int key, const QxLocation& location) {
    m_recentKey = key;
    return *(m_recent = &location);
}

IQxData::_HSCallLocation QxData::GetCallLocation(unsigned int locId) {
    return Location(locId).site;
}

IQxData::_HSCallLocation QxData::GetCallLocationWithPID(unsigned int locId, unsigned short pid) {
    return Location(locId, pid).site;
}

void QxData::AppendCompArgDesc(std::string name, _HSCompArgDesc desc) {
    const auto known = m_descriptors.find(name);
    const Share share = ShareOf(m_currentPid, name, desc);
    m_described.Take(share, known == m_descriptors.end() ? Share() : known->second.share);
    m_descriptors.insert_or_assign(known, std::move(name), Layout{std::move(desc), share});
}

const IQxData::_HSCompArgDesc& QxData::CompArgDesc(const std::string& name) {
    const auto known = m_descriptors.find(name);
    if (known != m_descriptors.end()) return known->second.desc;
    static const _HSCompArgDesc& unknown = *new _HSCompArgDesc;
    const Share share = ShareOf(m_currentPid, name, unknown);
    if (!m_described.TryTake(share)) return unknown;
    return m_descriptors.try_emplace(name, Layout{{}, share}).first->second.desc;
}

void QxData::GetCompArgDesc(_HSCompArgDesc& out, std::string name) {
    out = CompArgDesc(name);
}

unsigned long long QxData::AddNewCall() {
    // The low digits keep calls of one time apart; a key that is taken all the same loses its call.
    const unsigned long long key = m_newCall.mapped().time * kKeysPerTime + m_calls.size() % kKeysPerTime;
    m_newCall.key() = key;
    // Calls of one thread come one after the other and in order: a call's place is behind all others, or behind the one
    // before. Where the key is taken nothing is inserted.
    const bool isNewest = m_last == m_calls.end() || std::prev(m_calls.end())->first < key;
    m_last = m_calls.insert(isNewest ? m_calls.end() : std::next(m_last), std::move(m_newCall));
    if (!m_newCall.empty()) {
        m_last->second = std::move(m_newCall.mapped());
        m_newCall = {};
    }
    return key;
}

unsigned long long QxData::AppendBeforeCall(HSCall& call) {
    HSCall copy(call);  // what may throw comes before what is filled in
    NewCall() = std::move(copy);
    const unsigned long long key = AddNewCall();
    m_last = m_calls.end();  // a client may have the map already
    return key;
}

void QxData::AppendAfterCall(unsigned long long key, HSCall& call) {
    const auto found = m_calls.find(key);
    if (found != m_calls.end()) found->second = call;
}

// A call that calls no other returns before another one is added.
IQxData::HSCall& QxData::Call(unsigned long long key) {
    const bool isLast = m_last != m_calls.end() && m_last->first == key;
    const auto found = isLast ? m_last : m_calls.find(key);
    if (found == m_calls.end()) throw PERR_CALL_NOT_FOUND;
    return found->second;
}

void QxData::GetCall(unsigned long long key, HSCall& out) {
    out = Call(key);
}

std::map<unsigned long long, IQxData::HSCall>* QxData::GetCallIMap() {
    // Whoever has the map may take calls out of it.
    m_last = m_calls.end();
    return &m_calls;
}

void QxData::AppendEvent(std::string name, std::string value, HSCall call) {
    const auto entry = m_Events.try_emplace(std::move(name)).first;
    try {
        entry->second.emplace_back(std::move(value), std::move(call));
    } catch (...) {
        // A name without firings is no event.
        if (entry->second.empty()) m_Events.erase(entry);
        throw;
    }
}

void QxData::AppendThread(HSIThread& thread) {
    thread.pid = m_currentPid;
    const auto known = m_threads.find(thread.tid);
    m_described.Take(ShareOf(m_currentPid, thread),
                     known == m_threads.end() ? Share() : ShareOf(known->second.pid, known->second));
    m_threads.insert_or_assign(known, thread.tid, thread);
}

IQxData::HSIThread QxData::GetThread(unsigned short tid) {
    const auto found = m_threads.find(tid);
    if (found == m_threads.end()) throw PERR_THREAD_NOT_FOUND;
    return found->second;
}

void QxData::ResetThreadTime() {
    SetThreadTime(0);
}

void QxData::SetThreadTime(unsigned long long time) {
    ThreadTime() = time;
}

unsigned long long QxData::GetThreadTime() {
    return ThreadTime();
}

// Looked up once for each change of the thread.
unsigned long long& QxData::ThreadTime() {
    if (m_currentTime == nullptr) m_currentTime = &m_threadTimes[m_currentThread];
    return *m_currentTime;
}

void QxData::SetCurrentThread(unsigned short tid) {
    m_currentThread = tid;
    m_currentTime = nullptr;
}

unsigned short QxData::GetCurrentThread() {
    return m_currentThread;
}

void QxData::ResetLocationMarker() {
    m_openCalls.clear();
}

void QxData::SetLocationMarker(unsigned long long key) {
    m_openCalls.push_back(key);
    if (m_openCalls.size() > qxformat::kMaxOpenCalls) m_openCalls.pop_front();
}

unsigned long long QxData::GetLocationMarker() {
    if (m_openCalls.empty()) return 0;
    const unsigned long long key = m_openCalls.back();
    m_openCalls.pop_back();
    return key;
}

unsigned short QxData::GetCurrentPID() {
    return m_currentPid;
}

unsigned int QxData::Read(const char* buffer, std::string& out) {
    QxCursor cursor(buffer, QxCursor::kTrusted, "QxData::Read", *QxDebugPrint::GetInstance());
    const std::uint32_t length = cursor.Varint();
    const std::size_t lengthBytes = cursor.Offset();
    out.assign(cursor.Bytes(length), length);
    return length + static_cast<unsigned int>(lengthBytes);
}

unsigned char QxData::ParseCommonHeader(const char* p, unsigned int& size, unsigned short& headerLength) {
    QxCursor cursor(p, QxCursor::kTrusted, "QxData::ParseCommonHeader", *QxDebugPrint::GetInstance());
    const QxFrame header = QxFrame::Read(cursor);
    size = header.size;
    headerLength = header.length;
    return header.tag;
}

unsigned char QxData::ParseCommonHeader(std::vector<char>& bytes, unsigned int& size, unsigned short& headerLength) {
    QxCursor cursor(bytes.data(), bytes.size(), "QxData::ParseCommonHeader", *QxDebugPrint::GetInstance());
    const QxFrame header = QxFrame::Read(cursor);
    bytes.erase(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(cursor.Offset()));
    size = header.size;
    headerLength = header.length;
    return header.tag;
}
