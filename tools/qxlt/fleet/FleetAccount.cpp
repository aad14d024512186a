#include "FleetAccount.h"

#include <algorithm>
#include <limits>

namespace qxlt {

namespace {

using Arrival = RunNumbers::Arrival;

std::uint64_t Sum(std::uint64_t left, std::uint64_t right) {
    const std::uint64_t sum = left + right;
    return sum < left ? std::numeric_limits<std::uint64_t>::max() : sum;
}

void AddDevice(FleetTotals& totals, const FleetDevice& device) {
    ++totals.devices;
    totals.received += device.received;
    totals.doubled += device.doubled;
    totals.late += device.late;
    totals.missing = Sum(totals.missing, device.Missing());
    totals.dropped = Sum(totals.dropped, device.Dropped());
}

// Null: the device has no such run, or it is forgotten. What was found stands first afterwards.
FleetRun* FindRun(FleetDevice& device, const std::string& boot, const std::string& run) {
    const auto found = std::find_if(device.runs.begin(), device.runs.end(),
                                    [&](const FleetRun& known) { return known.run == run && known.boot == boot; });
    if (found == device.runs.end()) return nullptr;
    device.runs.splice(device.runs.begin(), device.runs, found);
    found->changed = true;
    return &*found;
}

// What waits is what was taken last, whichever runs took it.
std::uint64_t ExpectedOf(const FleetStatus& status) {
    return status.taken - std::min(status.taken, status.waiting);
}

std::size_t GapsOf(const FleetDevice& device) {
    std::size_t gaps = 0;
    for (const FleetRun& run : device.runs) gaps += run.numbers.GapCount();
    return gaps;
}

bool HasUntold(const FleetDevice& device) {
    return std::any_of(device.runs.begin(), device.runs.end(),
                       [](const FleetRun& run) { return run.numbers.HasUntold(); });
}

bool IsSameRun(const FleetStatus& left, const FleetStatus& right) {
    return left.origin.run == right.origin.run && left.origin.boot == right.origin.boot;
}

// A run that ends says so before the next one begins; the broker may say later than that that one is gone.
bool IsOutdated(const FleetStatus& known, const FleetStatus& status) {
    return status.state != DeviceState::Running && !IsSameRun(known, status);
}

}  // namespace

std::uint64_t FleetDevice::Missing() const {
    std::uint64_t missing = pastMissing;
    for (const FleetRun& run : runs) missing = Sum(missing, run.numbers.Missing());
    return missing;
}

std::uint64_t FleetDevice::Dropped() const {
    std::uint64_t dropped = pastDropped;
    for (const FleetRun& run : runs) dropped = Sum(dropped, run.numbers.Dropped());
    return dropped;
}

FleetAccount::Entry& FleetAccount::Find(const std::string& device) {
    const auto known = m_devices.find(device);
    if (known != m_devices.end()) {
        m_order.splice(m_order.begin(), m_order, known->second.order);
        return known->second;
    }
    std::optional<FleetDevice> kept = m_load ? m_load(device) : std::nullopt;
    if (!kept) kept.emplace().name = device;
    m_order.push_front(device);
    return m_devices.emplace(device, Entry{std::move(*kept), m_order.begin()}).first->second;
}

FleetRun& FleetAccount::Add(FleetDevice& device, const std::string& boot, const std::string& run, std::uint64_t first) {
    if (device.runs.size() == kMostRuns) {
        device.pastMissing = Sum(device.pastMissing, device.runs.back().numbers.Missing());
        device.pastDropped = Sum(device.pastDropped, device.runs.back().numbers.Dropped());
        device.runs.pop_back();
    }
    device.runs.push_front({boot, run, 0, RunNumbers(first)});
    return device.runs.front();
}

void FleetAccount::Touched(Entry& entry, Time now) {
    FleetDevice& device = entry.device;
    m_changed.insert(device.name);
    m_gaps -= entry.gaps;
    entry.gaps = GapsOf(device);
    m_gaps += entry.gaps;
    if (device.waits || !HasUntold(device)) return;
    device.waits = true;
    m_waiting.emplace_back(now, device.name);
}

// A run that is not known from its status was there before the receiver: what it sent before that is no matter here.
Arrival FleetAccount::Take(const FleetEvent& event, Time now) {
    Entry& entry = Find(event.origin.device);
    FleetDevice& device = entry.device;
    FleetRun* run = FindRun(device, event.origin.boot, event.origin.run);
    if (run == nullptr) run = &Add(device, event.origin.boot, event.origin.run, event.number);
    const Arrival arrival = run->numbers.Take(event.number, now);
    ++(arrival == Arrival::Double ? device.doubled : device.received);
    if (arrival == Arrival::Late) ++device.late;
    Touched(entry, now);
    return arrival;
}

// The run of a device that was known before began while somebody received: all of it is to come.
void FleetAccount::TakeNumbers(FleetDevice& device, const FleetStatus& status, bool isKnown, Time now) {
    const std::uint64_t expected = ExpectedOf(status);
    FleetRun* run = FindRun(device, status.origin.boot, status.origin.run);
    if (run == nullptr) run = &Add(device, status.origin.boot, status.origin.run, isKnown ? 1 : expected + 1);
    run->taken = std::max(run->taken, status.taken);
    run->numbers.Expect(expected, now);
    if (status.waiting > status.taken) return;  // some of earlier runs
    for (FleetRun& earlier : device.runs) {
        if (&earlier == run) continue;
        if (earlier.numbers.Expect(earlier.taken, now)) earlier.changed = true;
    }
}

// What was dropped before anything was known of the device is no matter here.
void FleetAccount::TakeDrops(FleetDevice& device, const FleetStatus& status, bool isKnown, Time now,
                             std::vector<FleetNews>& news) {
    for (const FleetDrop& drop : status.drops) {
        FleetRun* run = FindRun(device, drop.boot, drop.run);
        const bool isOwn = drop.run == status.origin.run && drop.boot == status.origin.boot;
        if (run == nullptr && isKnown) run = &Add(device, drop.boot, drop.run, isOwn ? 1 : drop.range.first);
        if (run == nullptr) continue;
        run->taken = std::max(run->taken, drop.range.last);
        for (const NumberRange& range : run->numbers.Drop(drop.range, now)) {
            news.push_back(GapNews{{device.name, drop.boot, drop.run}, RunNumbers::Kind::Dropped, range});
        }
    }
}

std::vector<FleetNews> FleetAccount::Take(const FleetStatus& status, Time now) {
    Entry& entry = Find(status.origin.device);
    FleetDevice& device = entry.device;
    std::vector<FleetNews> news;
    const bool isKnown = device.status.has_value() || !device.runs.empty();
    TakeDrops(device, status, isKnown, now, news);
    TakeNumbers(device, status, isKnown, now);
    if (!device.status || !IsOutdated(*device.status, status)) {
        const bool isNews =
            !device.status || device.status->state != status.state || !IsSameRun(*device.status, status);
        device.status = status;
        device.status->drops.clear();
        if (isNews) news.push_back(DeviceNews{*device.status, !isKnown});
    }
    Touched(entry, now);
    return news;
}

std::vector<FleetNews> FleetAccount::TakeDue(Time now) {
    std::vector<FleetNews> news;
    while (!m_waiting.empty() && m_waiting.front().first + m_bounds.grace <= now) {
        const std::string name = std::move(m_waiting.front().second);
        m_waiting.pop_front();
        const auto found = m_devices.find(name);
        if (found == m_devices.end()) continue;
        FleetDevice& device = found->second.device;
        for (FleetRun& run : device.runs) {
            for (const NumberRange& range : run.numbers.TellMissing(now - m_bounds.grace)) {
                news.push_back(GapNews{{name, run.boot, run.run}, RunNumbers::Kind::Missing, range});
                run.changed = true;
            }
        }
        device.waits = false;
        Touched(found->second, now);
    }
    return news;
}

std::optional<FleetAccount::Time> FleetAccount::NextDue() const {
    if (m_waiting.empty()) return std::nullopt;
    return m_waiting.front().first + m_bounds.grace;
}

std::vector<const FleetDevice*> FleetAccount::Changed() const {
    std::vector<const FleetDevice*> changed;
    for (const std::string& name : m_changed) changed.push_back(&m_devices.at(name).device);
    return changed;
}

void FleetAccount::Saved() {
    for (const std::string& name : m_changed) {
        FleetDevice& device = m_devices.at(name).device;
        for (FleetRun& run : device.runs) run.changed = false;
        if (device.status) device.status->health = {};  // it may be long, and is kept where it was saved
    }
    m_changed.clear();
    while (m_devices.size() > m_bounds.devices || (m_gaps > m_bounds.gaps && m_devices.size() > 1)) {
        Forget(m_order.back());
    }
}

void FleetAccount::Forget(const std::string& device) {
    const auto found = m_devices.find(device);
    AddDevice(m_past, found->second.device);
    m_gaps -= found->second.gaps;
    ++m_forgotten;
    m_devices.erase(found);
    m_order.pop_back();
}

std::vector<const FleetDevice*> FleetAccount::Devices() const {
    std::vector<const FleetDevice*> devices;
    devices.reserve(m_devices.size());
    for (const auto& [name, entry] : m_devices) devices.push_back(&entry.device);
    std::sort(devices.begin(), devices.end(),
              [](const FleetDevice* left, const FleetDevice* right) { return left->name < right->name; });
    return devices;
}

FleetTotals FleetAccount::Totals() const {
    FleetTotals totals = m_past;
    for (const auto& [name, entry] : m_devices) AddDevice(totals, entry.device);
    totals.devices = m_devices.size() + m_forgotten;
    return totals;
}

}  // namespace qxlt
