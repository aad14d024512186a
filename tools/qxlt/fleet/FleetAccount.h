// What has come of each device, and what has not: doubles, gaps in the numbers, and what devices say of themselves.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <list>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <variant>
#include <vector>

#include "FleetMessage.h"
#include "RunNumbers.h"

namespace qxlt {

// A run of a device as it is known.
struct FleetRun {
    std::string boot;
    std::string run;
    std::uint64_t taken;  // the highest number that the device has told of
    RunNumbers numbers;
    bool changed = true;  // since it was saved
};

struct FleetDevice {
    std::string name;
    std::optional<FleetStatus> status;  // the last one, without its drops
    std::list<FleetRun> runs;           // the one that was heard of last stands first
    std::uint64_t pastMissing = 0;      // of runs that are no longer here
    std::uint64_t pastDropped = 0;

    // Since the receiver was started.
    std::uint64_t received = 0;
    std::uint64_t doubled = 0;
    std::uint64_t late = 0;

    bool waits = false;  // some of its gaps are to be told, unless they close

    std::uint64_t Missing() const;
    std::uint64_t Dropped() const;
};

struct GapNews {
    RunName origin;
    RunNumbers::Kind kind;
    NumberRange range;
};

// The device began a run, or its state is another than before.
struct DeviceNews {
    FleetStatus status;  // without drops
    bool isFirst;        // nothing was known of the device
};

using FleetNews = std::variant<GapNews, DeviceNews>;

struct FleetTotals {
    std::uint64_t devices = 0;
    std::uint64_t received = 0;
    std::uint64_t doubled = 0;
    std::uint64_t late = 0;
    std::uint64_t missing = 0;
    std::uint64_t dropped = 0;
};

// Memory is bounded, whatever comes: the devices that were not heard of for longest are forgotten, and so are the
// oldest of many runs of one device.
class FleetAccount final {
public:
    using Time = RunNumbers::Time;

    static constexpr std::size_t kMostRuns = 16;  // of one device: who makes more makes room among his own

    struct Bounds {
        std::size_t devices = 262144;
        std::size_t gaps = 1048576;              // of all devices together
        std::chrono::milliseconds grace{10000};  // how long a number may be late before it is missing
    };

    // What was kept of a device that is not known here; nothing when there is none. May throw.
    using Load = std::function<std::optional<FleetDevice>(const std::string& device)>;

    explicit FleetAccount(Bounds bounds, Load load = nullptr) : m_bounds(bounds), m_load(std::move(load)) {}

    // Whether the event is to be taken, or is a double. Throws what loading throws, and nothing has changed then.
    RunNumbers::Arrival Take(const FleetEvent& event, Time now);

    // What is new with it. Throws likewise.
    std::vector<FleetNews> Take(const FleetStatus& status, Time now);

    // The gaps that have stood for as long as numbers may be late, and when there will be more.
    std::vector<FleetNews> TakeDue(Time now);
    std::optional<Time> NextDue() const;

    // The devices that changed since Saved. Valid until something is taken.
    std::vector<const FleetDevice*> Changed() const;

    // What has changed is kept, and what is too much is forgotten.
    void Saved();

    // Sorted by name.
    std::vector<const FleetDevice*> Devices() const;
    FleetTotals Totals() const;
    std::uint64_t Forgotten() const { return m_forgotten; }

private:
    struct Entry {
        FleetDevice device;
        std::list<std::string>::iterator order;
        std::size_t gaps = 0;  // as they are counted in m_gaps
    };

    Entry& Find(const std::string& device);
    static FleetRun& Add(FleetDevice& device, const std::string& boot, const std::string& run, std::uint64_t first);
    static void TakeNumbers(FleetDevice& device, const FleetStatus& status, bool isKnown, Time now);
    static void TakeDrops(FleetDevice& device, const FleetStatus& status, bool isKnown, Time now,
                          std::vector<FleetNews>& news);
    void Touched(Entry& entry, Time now);
    void Forget(const std::string& device);

    const Bounds m_bounds;
    const Load m_load;
    std::unordered_map<std::string, Entry> m_devices;
    std::list<std::string> m_order;  // of devices: the one that was heard of last stands first
    std::deque<std::pair<Time, std::string>> m_waiting;
    std::set<std::string> m_changed;
    std::size_t m_gaps = 0;
    std::uint64_t m_forgotten = 0;
    FleetTotals m_past;  // of those that were forgotten
};

}  // namespace qxlt
