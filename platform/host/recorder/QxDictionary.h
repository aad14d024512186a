// What a process's recording describes, numbered: its call sites, the layouts of their values, and the names of its
// threads. What was described once is kept, since a forked child records it anew.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "QxLayout.h"
#include "qx/detail/site.h"

namespace qxhost {

// Not thread-safe. Whatever throws (no memory) leaves it as it was. An empty one has allocated nothing.
class QxDictionary {
public:
    // Takes a record that is new, or returns false when it has no room for it.
    using Sink = std::function<bool(qxlayout::MetaKind kind, const std::string& content)>;

    // Says what the values of a call site are.
    using Describe = std::function<void(qx::recorder::detail::Location& location)>;

    // A sink of the size of a pointer is kept without allocating.
    explicit QxDictionary(Sink sink) : m_sink(std::move(sink)) {}

    // Numbers a call site, and hands the sink what it needs to be read. 0 when there is no room for it.
    std::uint32_t NumberSite(const qx::recorder::detail::Site& site, const char* package, const char* method,
                             const Describe& describe);

    // Numbers a thread's name: the one without name, 0, when there is no room for it.
    std::uint32_t NumberName(const std::string& name);

    // Hands the sink all records once more, in the order in which they came.
    void Repeat() const;

    // The bytes that all records take in a recording.
    std::size_t Size() const { return m_size; }

private:
    using Record = std::pair<qxlayout::MetaKind, std::string>;

    // How many there are of a kind.
    struct Count {
        const std::size_t limit;
        std::uint32_t count = 0;
    };

    Count& CountOf(qxlayout::MetaKind kind);
    std::uint32_t Number(qxlayout::MetaKind kind, const std::string& content, std::size_t parts);

    const Sink m_sink;
    std::vector<Record> m_records;
    std::map<Record, std::uint32_t> m_numbers;
    Count m_locations{qxlayout::kMaxLocations};
    Count m_descriptors{qxlayout::kMaxDescriptors};
    Count m_names{qxlayout::kMaxNames};
    std::size_t m_parts = 0;  // arguments and members
    std::size_t m_size = 0;
};

}  // namespace qxhost
