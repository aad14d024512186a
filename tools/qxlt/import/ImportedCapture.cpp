#include "ImportedCapture.h"

#include <algorithm>
#include <utility>

#include "QxData.h"
#include "Text.h"

namespace qxlt {

namespace {

constexpr std::size_t kMostThreads = UINT16_MAX;
constexpr std::size_t kMostProcesses = 1024;
constexpr std::uint64_t kTimeEnd = UINT64_MAX / QxData::kKeysPerTime;  // keys of calls have room for no more

std::vector<qx::host::ValueType> TypesOf(const std::vector<ImportedValue>& values) {
    std::vector<qx::host::ValueType> types;
    types.reserve(values.size());
    for (const ImportedValue& value : values) types.push_back(value.type);
    return types;
}

std::string BytesOfAll(const std::vector<ImportedValue>& values) {
    std::string bytes;
    for (const ImportedValue& value : values) bytes += value.bytes;
    return bytes;
}

qx::host::CallSite SiteOf(const ImportedCall& call) {
    qx::host::CallSite site;
    site.method = ImportedName(call.method);
    site.package = ImportedName(call.package);
    site.in = TypesOf(call.in);
    if (!call.exit) return site;
    site.out = TypesOf(call.exit->out);
    if (call.exit->result) site.result = call.exit->result->type;
    return site;
}

// What is known of a call when it begins.
std::string EntryOf(const ImportedCall& call) {
    std::string entry = call.package + '\0' + call.method;
    for (const ImportedValue& value : call.in) {
        entry += '\0' + value.type.name;
        for (const auto& member : value.type.members) entry += '\1' + member.name + '\1' + member.type;
    }
    return entry;
}

// Clocks of several processors may tell an end before its beginning.
qx::host::CallRecord RecordOf(std::uint32_t site, const ImportedCall& call) {
    qx::host::CallRecord record;
    record.site = site;
    record.time = call.time;
    record.in = BytesOfAll(call.in);
    if (!call.exit) return record;
    record.exit.emplace();
    record.exit->time = std::max(call.exit->time, call.time);
    record.exit->out = BytesOfAll(call.exit->out);
    if (call.exit->result) record.exit->result = call.exit->result->bytes;
    return record;
}

// A capture keeps names as JSON texts.
std::string ProcessName(std::uint32_t process, const std::string& name) {
    const std::string kept = ImportedName(ReplaceInvalid(name));
    return kept.empty() ? "process-" + std::to_string(process) : ReplaceInvalid(kept);
}

}  // namespace

ImportedCapture::Program* ImportedCapture::ProgramOf(std::uint32_t process, const std::string& name) {
    const auto known = m_names.find(process);
    if (known != m_names.end()) return known->second;
    if (m_names.size() >= kMostProcesses) return nullptr;
    const std::string kept = ProcessName(process, name);
    Program& program = m_programs[kept];
    program.name = kept;
    if (program.maker == nullptr) program.maker = std::make_unique<qx::host::DumpMaker>(kept);
    return m_names[process] = &program;
}

std::uint16_t ImportedCapture::Thread(std::uint32_t process, const std::string& processName, std::uint64_t thread,
                                      const std::string& threadName) {
    const auto known = m_numbers.find({process, thread});
    if (known != m_numbers.end()) return known->second;
    if (m_threads.size() >= kMostThreads) return 0;
    Program* const program = ProgramOf(process, processName);
    if (program == nullptr) return 0;
    const auto number = static_cast<std::uint16_t>(m_threads.size() + 1);
    m_threads.push_back({program, {process, number, ImportedName(threadName)}});
    return m_numbers[{process, thread}] = number;
}

// A call that did not return is one of a site whose other calls did.
std::uint32_t ImportedCapture::SiteFor(Program& program, const ImportedCall& call) {
    std::string entry = EntryOf(call);
    const auto known = program.sites.find(entry);
    if (!call.exit && known != program.sites.end()) return known->second;
    const std::uint32_t site = program.maker->Site(SiteOf(call));
    if (call.exit && site != 0) program.sites[std::move(entry)] = site;
    return site;
}

std::optional<ImportedCapture::Packed> ImportedCapture::Pack(std::uint16_t thread, const ImportedCall& call) {
    const bool fits = thread != 0 && call.time < kTimeEnd && (!call.exit || call.exit->time < kTimeEnd);
    const std::uint32_t site = fits ? SiteFor(*m_threads[thread - 1u].program, call) : 0;
    if (site != 0) return Packed{thread, RecordOf(site, call)};
    ++m_dropped;
    if (thread != 0) ++m_threads[thread - 1u].program->dropped;
    return std::nullopt;
}

void ImportedCapture::DropExit(std::uint16_t thread) {
    ++m_exitsDropped;
    if (thread != 0) ++m_threads[thread - 1u].program->exitsDropped;
}

void ImportedCapture::Add(const Packed& call) {
    const ThreadPlace& place = m_threads[call.thread - 1u];
    if (!place.program->maker->Add(place.thread, call.record)) {
        ++m_dropped;
        ++place.program->dropped;
        return;
    }
    if (!m_first || call.record.time < *m_first) m_first = call.record.time;
    ++m_calls;
    ++m_inCycle;
    ++place.program->delivered;
    m_bytesInCycle += call.record.in.size() + (call.record.exit ? call.record.exit->out.size() : 0);
    if (m_inCycle >= kCycleCalls || m_bytesInCycle >= kCycleBytes) EndCycle();
}

// The first cycle of a capture primes and raises nothing, as live, where a program's calls begin with a later one.
void ImportedCapture::EndCycle() {
    if (m_cycle == 1) {
        m_writer.BeginCycle(1);
        m_writer.EndCycle();
    }
    m_writer.BeginCycle(++m_cycle);
    for (auto& [name, program] : m_programs) {
        LossCounts counts;
        counts.recorded = program.delivered + program.dropped;
        counts.delivered = program.delivered;
        counts.dropped = std::exchange(program.dropped, 0);
        counts.exitsDropped = std::exchange(program.exitsDropped, 0);
        std::vector<char> dump;
        if (program.delivered > 0) {
            const std::string bytes = program.maker->Take();
            dump.assign(bytes.begin(), bytes.end());
        }
        m_writer.AddDump(name, dump, counts);
        program.delivered = 0;
    }
    m_writer.EndCycle();
    m_inCycle = 0;
    m_bytesInCycle = 0;
}

// Names have ids of 16 bits that no other name has: descriptions of call sites are told apart by them.
bool ImportedCapture::Finish(std::optional<std::int64_t> clockOffset) {
    const bool hasLoss = std::any_of(m_programs.begin(), m_programs.end(), [](const auto& program) {
        return program.second.dropped + program.second.exitsDropped > 0;
    });
    if (m_inCycle > 0 || m_cycle == 1 || hasLoss) EndCycle();
    ProcessNames processes;
    std::set<std::uint16_t> taken;
    for (const auto& [process, program] : m_names) {
        if (processes.Pids().count(program->name) != 0) continue;
        auto id = static_cast<std::uint16_t>(process);
        while (id == 0 || taken.count(id) != 0) ++id;
        taken.insert(id);
        processes.Add(program->name, id);
    }
    RunStart start;
    start.time = m_first;
    start.clock = clockOffset;
    m_writer.Begin(processes, start);
    return !m_writer.Failed();
}

}  // namespace qxlt
