// What each process may make the store keep for good. Call sites, layouts and thread names outlive the dump that
// brought them, so the allowances of single dumps do not bound them.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "IQxData.h"

class QxDescriptionBudget final {
public:
    // About the bytes of memory that a record takes, counted alike on systems of all widths.
    static std::uint64_t Cost(const IQxData::_HSCallLocation& location);
    static std::uint64_t Cost(const std::string& name, const IQxData::_HSCompArgDesc& desc);
    static std::uint64_t Cost(const IQxData::HSIThread& thread);

    // Takes `cost` for a record of the process in place of one that took `replaced`, 0 for none. Past the limit nothing
    // is taken, one line is printed for each dump, and PERR_INVALID_SIZE is thrown.
    void Take(unsigned short pid, std::uint64_t cost, std::uint64_t replaced);
    // The same for a new record, printing and throwing nothing; false past the limit.
    bool TryTake(unsigned short pid, std::uint64_t cost);

    // The next refusal is printed again.
    void BeginDump() { m_isPrinted = false; }

    // Gives everything back.
    void Clear() { m_taken.clear(); }

private:
    std::map<unsigned short, std::uint64_t> m_taken;  // by process id
    bool m_isPrinted = false;
};
