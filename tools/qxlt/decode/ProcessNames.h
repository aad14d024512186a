// The processes that are watched, by name and by id.
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "IQxData.h"

namespace qxlt {

class ProcessNames final {
public:
    // Reads "NAME" or "NAME=PID"; without an id the process has id 0, as one that is not registered. An id that does
    // not fit 16 bits is cut, with a warning. Throws a Failure (cannot start) for an id that is no number.
    static std::pair<std::string, unsigned short> Parse(const std::string& text);

    // The first id of a name counts, as in the store.
    void Add(const std::string& name, unsigned short pid) { m_pids.emplace(name, pid); }

    // Registers all of them with a store.
    void Register(IQxData& store) const;

    // The name registered for the id: the first in the order of the names when there are several; empty when there is
    // none. Valid as long as these names.
    const std::string& NameOf(unsigned short pid) const;

    // By name, in the order in which a cycle goes through them.
    const std::map<std::string, unsigned short>& Pids() const { return m_pids; }

private:
    std::map<std::string, unsigned short> m_pids;
};

// What is said about a process id that is kept with 16 bits only.
void WarnOfCutId(const std::string& process, unsigned long pid);

}  // namespace qxlt
