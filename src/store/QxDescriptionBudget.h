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

    // What a process took for a record.
    struct Share {
        unsigned short pid = 0;
        std::uint64_t cost = 0;
    };

    // Takes a share for a record in place of another one, which may be another process's: numbers of threads and names
    // of types know no process. Past the limit nothing is taken, one line is printed for each dump, and
    // PERR_INVALID_SIZE is thrown.
    void Take(const Share& share, const Share& replaced);
    // The same for a new record, printing and throwing nothing; false past the limit.
    bool TryTake(const Share& share);

    // What all processes have taken.
    std::uint64_t Taken() const;

    // The next refusal is printed again.
    void BeginDump() { m_isPrinted = false; }

    // Gives everything back.
    void Clear() { m_taken.clear(); }

private:
    [[noreturn]] void Refuse(unsigned short pid);

    std::map<unsigned short, std::uint64_t> m_taken;  // by process id
    bool m_isPrinted = false;
};
