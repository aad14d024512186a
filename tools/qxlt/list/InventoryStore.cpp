#include "InventoryStore.h"

#include <algorithm>
#include <utility>

#include "DumpHeader.h"
#include "QxFormat.h"
#include "ResultType.h"
#include "TakeCalls.h"

namespace qxlt {

namespace {

// The values of a call that show something: an empty list does not.
std::ptrdiff_t Shown(const IQxData::HSCall& call) {
    const auto count = [](const std::vector<IQxData::HSICallArg>& list) {
        return std::count_if(list.begin(), list.end(), [](const IQxData::HSICallArg& value) { return !value.empty(); });
    };
    return count(call.args.in) + count(call.args.out) + count(call.args.ret);
}

// As much of a value as anyone looks at: a call may carry megabytes, and a program has thousands of call sites.
constexpr std::size_t kKeptBytes = 64;
constexpr std::size_t kKeptPairs = 16;

std::vector<IQxData::HSICallArg> Beginning(const std::vector<IQxData::HSICallArg>& values) {
    std::vector<IQxData::HSICallArg> kept;
    for (const IQxData::HSICallArg& value : values) {
        IQxData::HSICallArg& pairs = kept.emplace_back();
        for (const auto& [name, bytes] : value) {
            if (pairs.size() == kKeptPairs) break;
            pairs.emplace_back(name.substr(0, kKeptBytes), bytes.substr(0, kKeptBytes));
        }
    }
    return kept;
}

IQxData::HSCall Beginning(const IQxData::HSCall& call) {
    IQxData::HSCall kept;
    kept.pid = call.pid;
    kept.locId = call.locId;
    kept.extra = call.extra;
    kept.tid = call.tid;
    kept.time = call.time;
    kept.exitTime = call.exitTime;
    kept.args = {Beginning(call.args.in), Beginning(call.args.out), Beginning(call.args.ret)};
    return kept;
}

const std::string& NameOf(const std::vector<RecordedProcess>& processes, unsigned short pid) {
    static const std::string none;
    const auto found = std::find_if(processes.begin(), processes.end(),
                                    [pid](const RecordedProcess& process) { return process.pid == pid; });
    return found == processes.end() ? none : found->name;
}

}  // namespace

void InventoryStore::AppendHeader(unsigned short pid, std::string process, std::string qxVersion,
                                  std::string swBuildString, std::string swVersionModel, std::string extraField1,
                                  std::string extraField2) {
    m_header = WholeProcessId(qxVersion, extraField1);
    std::vector<std::uint32_t>& ids = m_processIds[GetCurrentPID()];
    if (m_header && std::find(ids.begin(), ids.end(), *m_header) == ids.end()) ids.push_back(*m_header);
    QxData::AppendHeader(pid, std::move(process), std::move(qxVersion), std::move(swBuildString),
                         std::move(swVersionModel), std::move(extraField1), std::move(extraField2));
    ++m_records;
}

void InventoryStore::AppendCurrentProcess(std::string name) {
    m_header.reset();
    QxData::AppendCurrentProcess(std::move(name));
}

void InventoryStore::AppendThread(HSIThread& thread) {
    QxData::AppendThread(thread);
    ++m_records;
    m_threads[{thread.pid, thread.tid}] = {thread, m_header};
}

InventoryStore::SiteKey InventoryStore::KeyOf(unsigned short pid, const _HSCallLocation& location) {
    return {pid, location.packageName, location.callerName, location.locId};
}

void InventoryStore::AppendCallLocation(_HSCallLocation& location) {
    QxData::AppendCallLocation(location);
    ++m_records;
    m_sites[KeyOf(GetCurrentPID(), location)].location = location;
}

void InventoryStore::AppendCompArgDesc(std::string name, _HSCompArgDesc desc) {
    QxData::AppendCompArgDesc(name, desc);
    ++m_records;
    m_layouts[std::move(name)] = std::move(desc);
}

// A call whose site was not described stands for no method; it has none. Names are looked up once for each location.
InventoryStore::Site* InventoryStore::SiteOf(const HSCall& call, KnownSites& known) {
    const auto [entry, isNew] = known.try_emplace(std::uint64_t{call.pid} << 32 | call.locId, nullptr);
    if (isNew) {
        const auto found = m_sites.find(KeyOf(call.pid, Location(call.locId, call.pid).site));
        if (found != m_sites.end()) entry->second = &found->second;
    }
    return entry->second;
}

void InventoryStore::CountCalls(const std::function<bool(const HSCall&)>& counts) {
    KnownSites known;
    TakeCalls(*this, [&](unsigned long long, const HSCall& call) {
        if (counts && !counts(call)) return;
        if (Site* const site = SiteOf(call, known)) Count(call, *site);
    });
}

void InventoryStore::Count(const HSCall& call, Site& site) {
    ++site.calls;
    site.mostIn = std::max(site.mostIn, call.args.in.size());
    const std::ptrdiff_t shown = Shown(call);
    if (site.example && shown <= site.shown) return;
    site.example = Beginning(call);
    site.shown = shown;
}

std::vector<std::uint32_t> InventoryStore::ProcessIds(unsigned short pid) const {
    const auto found = m_processIds.find(pid);
    return found == m_processIds.end() ? std::vector<std::uint32_t>() : found->second;
}

std::vector<RecordedThread> InventoryStore::Threads() const {
    std::vector<RecordedThread> threads;
    for (const auto& [id, thread] : m_threads) threads.push_back(thread);
    return threads;
}

std::vector<RecordedMethod> InventoryStore::Methods(const std::vector<RecordedProcess>& processes) const {
    std::vector<RecordedMethod> methods;
    for (const auto& [key, site] : m_sites) {
        methods.push_back(MethodOf(key, site));
        methods.back().process = NameOf(processes, methods.back().pid);
    }
    return methods;
}

// Calls that carry more at entry than their arguments' flags say are log records, which carry all arguments.
RecordedMethod InventoryStore::MethodOf(const SiteKey& key, const Site& site) const {
    RecordedMethod method;
    method.pid = std::get<0>(key);
    method.location = site.location;
    method.calls = site.calls;
    method.example = site.example;
    const _HSCallLocation::Args& args = site.location.args;
    std::vector<RecordedValue> all;
    const std::size_t count = std::min({args.argType.size(), args.argFlags.size(), args.argSize.size()});
    for (std::size_t i = 0; i < count; ++i) {
        if (args.argSize[i] == 0) continue;
        const RecordedValue value = ValueOf(args.argType[i], i, args.argSize[i]);
        all.push_back(value);
        if ((args.argFlags[i] & qxformat::kRecordedAtEntry) != 0) method.in.push_back(value);
        if ((args.argFlags[i] & qxformat::kRecordedAtExit) != 0) method.out.push_back(value);
    }
    if (site.mostIn > method.in.size()) method.in = std::move(all);
    if (args.retSize != 0) AddResult(method);
    return method;
}

// The result as the program has it, though its calls may carry it as a list of one.
void InventoryStore::AddResult(RecordedMethod& method) const {
    _HSCallLocation::Args& args = method.location.args;
    method.ret.push_back(ValueOf(args.retType, 0, args.retSize));
    RecordedValue& result = method.ret.front();
    result.type = ResultType(method.location);
    if (result.type == args.retType) return;
    args.retType = result.type;
    if (result.coreType == result.type) args.retSize = result.coreSize;
}

// A script reads the first pair that a composite yields: its first member's, or that of the first member inside it.
RecordedValue InventoryStore::ValueOf(const std::string& type, std::size_t argument, unsigned int size) const {
    RecordedValue value{type, argument, type, size};
    for (unsigned depth = 0; value.coreSize == qxformat::kComposite && depth < qxformat::kMaxCompositeDepth; ++depth) {
        const auto layout = m_layouts.find(value.coreType);
        if (layout == m_layouts.end() || layout->second.memberSizes.empty()) return value;
        value.coreSize = layout->second.memberSizes.front();
        value.coreType = layout->second.memberTypes.empty() ? std::string() : layout->second.memberTypes.front();
    }
    return value;
}

}  // namespace qxlt
