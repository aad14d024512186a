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

// The store sets the thread's process, so it goes first.
void ProcessStore::AppendThread(HSIThread& thread) {
    QxObservedData::AppendThread(thread);
    if (m_header) m_makers[{thread.pid, thread.tid}] = *m_header;
}

void ProcessStore::clearCalls() {
    QxObservedData::clearCalls();
    m_kept.clear();
}

std::optional<std::uint32_t> ProcessStore::MakerOf(const HSCall& call) const {
    const auto maker = m_makers.find({call.pid, call.tid});
    return maker == m_makers.end() ? std::nullopt : std::make_optional(maker->second);
}

std::optional<std::uint32_t> ProcessStore::MakerOf(unsigned long long key, const HSCall& call) const {
    const auto kept = m_kept.find(key);
    return kept == m_kept.end() ? MakerOf(call) : std::make_optional(kept->second);
}

void ProcessStore::KeepMakers() {
    for (const auto& [key, call] : *GetCallIMap()) {
        const std::optional<std::uint32_t> maker = MakerOf(call);
        if (maker) m_kept.emplace(key, *maker);
    }
}

}  // namespace qxlt
