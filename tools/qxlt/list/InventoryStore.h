// A store that notes what a program records while dumps are decoded into it: threads, call sites, and for each of them
// the number of calls and one example. What the store refuses is not noted.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <tuple>
#include <unordered_map>

#include "Inventory.h"
#include "QxObservedData.h"

namespace qxlt {

class InventoryStore final : public QxObservedData {
public:
    void AppendHeader(unsigned short pid, std::string process, std::string qxVersion, std::string swBuildString,
                      std::string swVersionModel, std::string extraField1, std::string extraField2) override;
    void AppendCurrentProcess(std::string name) override;
    void AppendThread(HSIThread& thread) override;
    void AppendCallLocation(_HSCallLocation& location) override;
    void AppendCompArgDesc(std::string name, _HSCompArgDesc desc) override;

    // Counts those of the calls that the store holds that are to count, and drops all of them.
    void CountCalls(const std::function<bool(const HSCall&)>& counts = nullptr);

    // How many records of all kinds it has taken, calls only while they are held.
    std::uint64_t Records() { return m_records + GetCallIMap()->size(); }

    // The whole ids that headers told of the process with this id in the store, in their order.
    std::vector<std::uint32_t> ProcessIds(unsigned short pid) const;

    // What was noted. Calls that are still held do not count.
    std::vector<RecordedThread> Threads() const;
    std::vector<RecordedMethod> Methods(const std::vector<RecordedProcess>& processes) const;

private:
    // Process, package, name, number: the order in which methods are listed. A number that is given to another method
    // later makes another entry.
    using SiteKey = std::tuple<unsigned short, std::string, std::string, unsigned int>;

    // What calls of a site carried.
    struct Site {
        _HSCallLocation location;
        std::uint64_t calls = 0;
        std::size_t mostIn = 0;
        std::optional<HSCall> example;  // the beginnings of its values
        std::ptrdiff_t shown = 0;       // how many of those values show something
    };
    using Sites = std::map<SiteKey, Site>;
    using KnownSites = std::unordered_map<std::uint64_t, Site*>;  // by process and number, of the calls of one dump

    static SiteKey KeyOf(unsigned short pid, const _HSCallLocation& location);
    static void Count(const HSCall& call, Site& site);
    Site* SiteOf(const HSCall& call, KnownSites& known);
    RecordedMethod MethodOf(const SiteKey& key, const Site& site) const;
    void AddResult(RecordedMethod& method) const;
    RecordedValue ValueOf(const std::string& type, std::size_t argument, unsigned int size) const;

    std::map<std::string, _HSCompArgDesc> m_layouts;
    Sites m_sites;
    std::map<HSIThreadId, RecordedThread> m_threads;
    std::uint64_t m_records = 0;            // but for calls
    std::optional<std::uint32_t> m_header;  // the process of the dump's last header
    std::map<unsigned short, std::vector<std::uint32_t>> m_processIds;
};

}  // namespace qxlt
