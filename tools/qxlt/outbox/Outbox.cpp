#include "Outbox.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <system_error>
#include <utility>

#include "Failure.h"
#include "Messages.h"

namespace qxlt {

namespace {

namespace fs = std::filesystem;

constexpr std::uint64_t kMostBatchBytes = std::uint64_t{1024} * 1024;
constexpr std::uint64_t kBatchShare = 16;  // of the bound
constexpr std::uint64_t kLogBatches = 5;  // the log's share: one it is put away at, one more, and pages that fill badly
constexpr std::uint64_t kSparePages = 8;  // for what stands beside the messages
constexpr std::uint64_t kDroppedAtOnce = 64;  // where there are many
constexpr std::uint64_t kDroppedShare = 16;   // of those that wait: few that are large do not all go for one
constexpr std::size_t kRangesTold = 16;
constexpr std::size_t kRowBytes = 32;           // of a message, besides its texts
constexpr std::int64_t kEarliest = 1767225600;  // 2026: a clock that shows less was not set
constexpr char kAdvice[] = "; give --outbox another FILE";

std::string LockOf(const std::string& file) {
    return file + ".lock";
}

[[noreturn]] void Refuse(const std::string& file, const std::string& problem) {
    throw Failure(kCannotStart, file + ": " + problem + kAdvice);
}

void MakeFolder(const std::string& file) {
    std::error_code error;
    const fs::path folder = fs::path(file).parent_path();
    if (!folder.empty()) fs::create_directories(folder, error);
    if (error) Refuse(folder.string(), error.message());
}

// Only its owner reads what was traced.
int OpenPrivate(const std::string& file) {
    const int descriptor = open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (descriptor < 0) Refuse(file, std::strerror(errno));
    return descriptor;
}

// A lock beside the file, since the file itself may be set aside.
int TakeLock(const std::string& file) {
    MakeFolder(file);
    const int descriptor = OpenPrivate(LockOf(file));
    if (flock(descriptor, LOCK_EX | LOCK_NB) == 0) return descriptor;
    const bool isTaken = errno == EWOULDBLOCK;
    close(descriptor);
    Refuse(file, isTaken ? "another run has this outbox in use" : "it cannot be locked");
}

// Seconds since 1970; 0: the clock was not set.
std::int64_t Now() {
    const auto now = static_cast<std::int64_t>(std::time(nullptr));
    return now < kEarliest ? 0 : now;
}

// A page that one message does not fill may have no room for the next.
std::uint64_t PagesFor(const std::vector<Outbox::Message>& messages) {
    std::uint64_t bytes = 0;
    for (const Outbox::Message& message : messages) bytes += message.topic.size() + message.payload.size() + kRowBytes;
    return 2 * bytes / OutboxFile::kPageBytes + kSparePages;
}

}  // namespace

Outbox::Outbox(const OutboxSettings& settings)
    : m_settings(settings),
      m_batchBytes(std::min(kMostBatchBytes, settings.bytes / kBatchShare)),
      m_pages((settings.bytes - kLogBatches * m_batchBytes) / OutboxFile::kPageBytes),
      m_wasLockedBefore(access(LockOf(settings.file).c_str(), F_OK) == 0),
      m_lock(TakeLock(settings.file)) {
    try {
        Open();
    } catch (const SqliteError& error) {
        Refuse(settings.file, error.what());
    } catch (const ForeignFile& error) {
        Refuse(settings.file, error.what());
    }
    m_identity = m_file->Identity();
}

// A file that is no database is taken for a damaged outbox only where one was in use before.
void Outbox::Open() {
    try {
        OpenFile();
    } catch (const SqliteError& error) {
        if (!error.IsDamage()) throw;
        if (!m_wasLockedBefore) Refuse(m_settings.file, "it is no outbox");
        SetAside(error.what());
        OpenFile();
    }
}

void Outbox::OpenFile() {
    close(OpenPrivate(m_settings.file));
    m_file.reset();
    m_file.emplace(m_settings.file, m_pages, m_batchBytes / OutboxFile::kPageBytes);
    m_state.waiting = m_file->Messages();
    m_state.dropped = m_file->Dropped();
    m_state.position = std::max(m_state.position, m_file->LastPosition());
    m_state.ranges = m_file->DroppedRanges(kRangesTold);
    m_state.run = 0;
}

// With its log, which would be taken for the new file's.
void Outbox::SetAside(const std::string& problem) {
    m_file.reset();
    const std::string aside = m_settings.file + ".damaged";
    std::error_code error;
    fs::remove(aside + "-wal", error);
    fs::rename(m_settings.file + "-wal", aside + "-wal", error);
    fs::rename(m_settings.file, aside, error);
    if (error) Refuse(m_settings.file, "it is damaged, and cannot be renamed: " + error.message());
    PrintWarning(m_settings.file + ": the outbox is damaged (" + problem + "); it is kept as " + aside +
                 ", and a new one is begun");
}

void Outbox::Renew(const std::string& problem) {
    try {
        SetAside(problem);
        OpenFile();
    } catch (const std::exception& error) {
        PrintWarning(error.what());
        m_file.reset();
    }
}

// Returns what was wrong; then nothing was done.
template <typename Work>
std::string Outbox::Perform(bool isDurable, Work work) {
    const State before = m_state;
    try {
        if (!m_file) OpenFile();
        m_file->SetDurable(isDurable);
        SqliteTransaction transaction(m_file->Database());
        work();
        transaction.Commit();
        return std::string();
    } catch (const SqliteError& error) {
        m_state = before;
        if (error.IsDamage()) Renew(error.what());
        return error.what();
    } catch (const std::exception& error) {
        m_state = before;
        return error.what();
    }
}

std::string Outbox::Take(const std::vector<Message>& messages) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::string problem = Perform(true, [this, &messages] { Insert(messages); });
    // Once more with what a damaged file was replaced by, or with the room that the log gives back.
    if (problem.empty()) return problem;
    if (m_file) m_file->ShrinkLog();
    return Perform(true, [this, &messages] { Insert(messages); });
}

void Outbox::Insert(const std::vector<Message>& messages) {
    if (m_state.run == 0) m_state.run = m_file->AddRun(m_settings.run);
    MakeRoom(PagesFor(messages));
    const std::int64_t now = Now();
    for (const Message& message : messages) {
        m_file->Add({++m_state.position, m_state.run, ++m_state.taken, now}, message.topic, message.payload);
    }
    m_state.waiting += messages.size();
}

void Outbox::MakeRoom(std::uint64_t pages) {
    while (m_state.waiting != 0 && m_file->PagesUsed() + pages > m_pages) {
        const std::uint64_t some = std::clamp<std::uint64_t>(m_state.waiting / kDroppedShare, 1, kDroppedAtOnce);
        const std::vector<OutboxFile::Entry> oldest = m_file->Oldest(some);
        if (oldest.empty()) break;
        DropOldest(oldest);
    }
}

void Outbox::DropOldest(const std::vector<OutboxFile::Entry>& entries) {
    for (auto first = entries.begin(); first != entries.end();) {
        auto last = first;
        while (last + 1 != entries.end() && (last + 1)->run == first->run && (last + 1)->number == last->number + 1)
            ++last;
        m_file->AddDropped(first->run, first->number, last->number);
        first = last + 1;
    }
    m_file->RemoveUpTo(entries.back().position);
    m_state.waiting -= entries.size();
    m_state.dropped += entries.size();
    m_state.ranges = m_file->DroppedRanges(kRangesTold);
}

void Outbox::Expire() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_state.waiting != 0) Perform(false, [this] { DropOld(); });
}

// What was taken while the clock was not set has no age.
void Outbox::DropOld() {
    const double oldest = static_cast<double>(Now()) - m_settings.seconds;
    for (;;) {
        std::vector<OutboxFile::Entry> entries = m_file->Oldest(kDroppedAtOnce);
        const auto isOld = [oldest](const OutboxFile::Entry& entry) {
            return entry.taken != 0 && static_cast<double>(entry.taken) < oldest;
        };
        entries.erase(std::find_if_not(entries.begin(), entries.end(), isOld), entries.end());
        if (entries.empty()) return;
        DropOldest(entries);
    }
}

std::uint64_t Outbox::Taken() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_state.taken;
}

std::vector<OutboxMessage> Outbox::ReadAfter(std::int64_t position, std::size_t most, std::size_t mostBytes) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_state.waiting == 0 || !m_file) return {};
    try {
        return m_file->ReadAfter(position, most, mostBytes);
    } catch (const SqliteError& error) {
        if (error.IsDamage()) Renew(error.what());
        return {};
    }
}

bool Outbox::Remove(const std::vector<std::int64_t>& positions) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const std::string problem = Perform(false, [this, &positions] {
        for (const std::int64_t position : positions) {
            if (m_file->Remove(position)) --m_state.waiting;
        }
    });
    return problem.empty();
}

OutboxCounts Outbox::Count() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return {m_state.taken, m_state.waiting, m_state.dropped, m_state.ranges};
}

}  // namespace qxlt
