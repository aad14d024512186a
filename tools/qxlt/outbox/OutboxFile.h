// The file of an outbox: its tables, and the statements on them, each prepared once. Whoever uses it knows what a
// transaction is; what the numbers mean is Outbox's.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "Sqlite.h"

namespace qxlt {

// A file that is somebody else's, or of a newer version of this system.
class ForeignFile : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct OutboxMessage {
    std::int64_t position;  // in the outbox; those that come later have greater ones
    std::string topic;      // below the prefix
    std::string payload;
};

struct DroppedRange {
    std::string run;  // BOOT:RUN
    std::uint64_t first;
    std::uint64_t last;
};

// All functions throw a SqliteError. One thread at a time.
class OutboxFile final {
public:
    static constexpr std::uint64_t kPageBytes = 4096;

    // A message without its texts.
    struct Entry {
        std::int64_t position;
        std::int64_t run;
        std::uint64_t number;
        std::int64_t taken;  // seconds since 1970; 0: the clock was not set
    };

    // Opens the file and checks all of it, or makes it. It never has more than `pages` pages; the log beside it is put
    // into the file whenever it has `logPages`. Throws a SqliteError, also for a damaged file, and a ForeignFile.
    OutboxFile(const std::string& path, std::uint64_t pages, std::uint64_t logPages);

    SqliteFile& Database() { return m_file; }

    // What the next transactions wait for: that they are on the disk, or only that none of them is there in part.
    void SetDurable(bool isDurable);

    std::uint64_t PagesUsed();

    // Gives the log's room back to the disk, as far as that goes now. Throws nothing: it may be for want of room.
    void ShrinkLog();

    // What tells this outbox from all others, made with the file.
    std::string Identity();

    std::uint64_t Messages() { return static_cast<std::uint64_t>(m_file.Number("SELECT count(*) FROM message")); }
    std::int64_t LastPosition() { return m_file.Number("SELECT max(position) FROM message"); }
    std::uint64_t Dropped() { return static_cast<std::uint64_t>(m_file.Number("SELECT dropped FROM outbox")); }

    // Returns the id of the run of that name, which is added if it is new.
    std::int64_t AddRun(const std::string& name);

    void Add(const Entry& entry, std::string_view topic, std::string_view payload);
    // The messages behind that position, in order: as many, or fewer when they have that many bytes before.
    std::vector<OutboxMessage> ReadAfter(std::int64_t position, std::size_t most, std::size_t mostBytes);
    // Returns whether it was there.
    bool Remove(std::int64_t position);
    std::vector<Entry> Oldest(std::uint64_t most);
    void RemoveUpTo(std::int64_t position);

    // Notes what was dropped. Of the ranges the latest are kept, of the number all.
    void AddDropped(std::int64_t run, std::uint64_t first, std::uint64_t last);
    // The latest ranges, oldest first.
    std::vector<DroppedRange> DroppedRanges(std::size_t most);

private:
    SqliteStatement Prepare(const char* text) { return {m_file.Get(), text}; }

    SqliteFile m_file;
    SqliteStatement m_pageCount;
    SqliteStatement m_freePages;
    SqliteStatement m_add;
    SqliteStatement m_readAfter;
    SqliteStatement m_remove;
    SqliteStatement m_oldest;
    SqliteStatement m_removeUpTo;
    SqliteStatement m_lastDropped;
    SqliteStatement m_widenDropped;
    SqliteStatement m_addDropped;
    SqliteStatement m_forgetDropped;
    SqliteStatement m_countDropped;
    SqliteStatement m_readDropped;
};

}  // namespace qxlt
