#include "ProcessStore.h"

#include <utility>

#include "DumpHeader.h"

namespace qxlt {

void ProcessStore::AppendHeader(unsigned short pid, std::string process, std::string qxVersion,
                                std::string swBuildString, std::string swVersionModel, std::string extraField1,
                                std::string extraField2) {
    m_header = WholeProcessId(qxVersion, extraField1);
    QxObservedData::AppendHeader(pid, std::move(process), std::move(qxVersion), std::move(swBuildString),
                                 std::move(swVersionModel), std::move(extraField1), std::move(extraField2));
}

void ProcessStore::AppendCurrentProcess(std::string name) {
    m_header.reset();
    QxObservedData::AppendCurrentProcess(std::move(name));
}

// The store sets the thread's process, so it goes first. Most threads come again with each dump as they were.
void ProcessStore::AppendThread(HSIThread& thread) {
    QxObservedData::AppendThread(thread);
    SharedMaker& maker = m_makers[{thread.pid, thread.tid}];
    const std::optional<std::uint32_t> process = m_header || !maker ? m_header : maker->process;
    if (maker && maker->process == process && maker->thread == thread.name) return;
    maker = std::make_shared<const CallMaker>(CallMaker{process, thread.name});
}

void ProcessStore::AppendCallLocation(_HSCallLocation& location) {
    m_types.Forget();
    if (m_sites) m_sites(location);
    QxObservedData::AppendCallLocation(location);
}

void ProcessStore::AppendCompArgDesc(std::string name, _HSCompArgDesc desc) {
    m_types.Forget();
    QxObservedData::AppendCompArgDesc(std::move(name), std::move(desc));
}

void ProcessStore::clear() {
    m_types.Forget();
    QxObservedData::clear();
}

void ProcessStore::clearCalls() {
    QxObservedData::clearCalls();
    m_kept.clear();
}

const ProcessStore::SharedMaker* ProcessStore::FindMaker(const HSCall& call) const {
    const auto maker = m_makers.find({call.pid, call.tid});
    return maker == m_makers.end() ? nullptr : &maker->second;
}

const CallMaker& ProcessStore::MakerOf(unsigned long long key, const HSCall& call) const {
    static const CallMaker unknown;
    if (!m_kept.empty()) {
        const auto kept = m_kept.find(key);
        if (kept != m_kept.end()) return *kept->second;
    }
    const SharedMaker* const maker = FindMaker(call);
    return maker == nullptr ? unknown : **maker;
}

void ProcessStore::KeepMakers() {
    for (const auto& [key, call] : *GetCallIMap()) {
        const SharedMaker* const maker = FindMaker(call);
        if (maker != nullptr) m_kept.emplace(key, *maker);
    }
}

}  // namespace qxlt
