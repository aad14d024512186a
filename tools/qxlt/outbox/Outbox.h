// Where messages wait on the disk until the broker has them: what was taken is lost neither by a reboot nor by a kill
// at any moment. It is bounded; when it is full, or messages get too old, the oldest go first, and are counted.
#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "Descriptor.h"
#include "OutboxFile.h"

namespace qxlt {

struct OutboxSettings {
    std::string file;
    std::uint64_t bytes;  // of the file and the log beside it. Requires: kLeastBytes or more
    double seconds;       // messages that are older go
    std::string run;      // BOOT:RUN, which the messages that are taken belong to
};

struct OutboxCounts {
    std::uint64_t taken;  // by this run: the number that was given last
    std::uint64_t waiting;
    std::uint64_t dropped;                    // since the file was made
    std::vector<DroppedRange> droppedRanges;  // the latest of them, oldest first
};

// Any thread may call the functions; none waits for more than the disk.
class Outbox final {
public:
    static constexpr std::uint64_t kLeastBytes = 4000000;

    struct Message {
        std::string topic;
        std::string payload;
    };

    // Opens the file, or makes it, with the folders above it. A damaged one is set aside, told of, and a new one is
    // begun. Throws a Failure (cannot start) for one that another run has in use, that is no outbox, and the like.
    explicit Outbox(const OutboxSettings& settings);
    Outbox(const Outbox&) = delete;
    Outbox& operator=(const Outbox&) = delete;
    ~Outbox() = default;

    // What tells this outbox from all others.
    const std::string& Identity() const { return m_identity; }

    // How many bytes of messages are best taken at once, at most.
    std::size_t BatchBytes() const { return static_cast<std::size_t>(m_batchBytes); }

    // Takes all of the messages or none of them. They get the numbers behind Taken(), in order, and are on the disk
    // when it returns. Returns what was wrong; empty: nothing, and they were taken.
    std::string Take(const std::vector<Message>& messages);

    // The number that was given last.
    std::uint64_t Taken() const;

    // The messages behind that position, in order; none also where the file cannot be read.
    std::vector<OutboxMessage> ReadAfter(std::int64_t position, std::size_t most, std::size_t mostBytes);

    // Removes what the broker has. Returns false when that failed: then all of them are there still. A reboot may bring
    // back those that were removed last; they are sent once more, and receivers know them by their ids.
    bool Remove(const std::vector<std::int64_t>& positions);

    // Drops what has become too old.
    void Expire();

    OutboxCounts Count() const;

private:
    struct State {
        std::uint64_t taken = 0;
        std::uint64_t waiting = 0;
        std::uint64_t dropped = 0;
        std::int64_t position = 0;  // the last one that was given
        std::int64_t run = 0;       // its id in the file; 0: it has none yet
        std::vector<DroppedRange> ranges;
    };

    void Open();
    void OpenFile();
    void SetAside(const std::string& problem);
    void Renew(const std::string& problem);
    template <typename Work>
    std::string Perform(bool isDurable, Work work);
    void Insert(const std::vector<Message>& messages);
    void MakeRoom(std::uint64_t pages);
    void DropOld();
    void DropOldest(const std::vector<OutboxFile::Entry>& entries);

    const OutboxSettings m_settings;
    const std::uint64_t m_batchBytes;
    const std::uint64_t m_pages;
    const bool m_wasLockedBefore;  // the file is known to be an outbox, damaged or not
    const Descriptor m_lock;       // before the file is opened, until it is closed
    std::string m_identity;

    mutable std::mutex m_mutex;  // guards what follows
    std::optional<OutboxFile> m_file;
    State m_state;
};

}  // namespace qxlt
