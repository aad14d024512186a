#include "OutboxFile.h"

#include <algorithm>

namespace qxlt {

namespace {

constexpr std::int64_t kApplication = 0x51584F42;  // "QXOB", where the file command finds it
constexpr std::int64_t kVersion = 1;
constexpr std::int64_t kRangesKept = 64;

constexpr char kTables[] =
    "CREATE TABLE outbox(one INTEGER PRIMARY KEY CHECK(one = 1), identity TEXT NOT NULL, dropped INTEGER NOT NULL);"
    "CREATE TABLE run(id INTEGER PRIMARY KEY, name TEXT NOT NULL UNIQUE);"
    "CREATE TABLE message(position INTEGER PRIMARY KEY, run INTEGER NOT NULL, number INTEGER NOT NULL,"
    " taken INTEGER NOT NULL, topic TEXT NOT NULL, payload TEXT NOT NULL);"
    "CREATE TABLE dropped(id INTEGER PRIMARY KEY, run INTEGER NOT NULL, first INTEGER NOT NULL, last INTEGER NOT NULL);"
    "INSERT INTO outbox VALUES(1, lower(hex(randomblob(8))), 0);";

std::int64_t Signed(std::uint64_t number) {
    return static_cast<std::int64_t>(number);
}

// The file belongs to one process, and is locked by it: then the index of the log needs no memory that others share,
// which a full disk would end the process over. What is removed is not wiped: that writes its pages once more.
void Configure(SqliteFile& file, std::uint64_t pages, std::uint64_t logPages) {
    file.Run("PRAGMA locking_mode = EXCLUSIVE; PRAGMA journal_mode = WAL; PRAGMA temp_store = MEMORY");
    file.Run("PRAGMA cache_size = -1024; PRAGMA secure_delete = OFF; PRAGMA trusted_schema = OFF");
    file.Run("PRAGMA wal_autocheckpoint = " + std::to_string(logPages));
    file.Run("PRAGMA journal_size_limit = " + std::to_string(logPages * OutboxFile::kPageBytes));
    file.Run("PRAGMA max_page_count = " + std::to_string(pages));
}

void MakeTables(SqliteFile& file) {
    SqliteTransaction transaction(file);
    file.Run(kTables);
    file.Run("PRAGMA application_id = " + std::to_string(kApplication));
    file.Run("PRAGMA user_version = " + std::to_string(kVersion));
    transaction.Commit();
}

void RequireWhole(SqliteFile& file) {
    SqliteStatement check(file.Get(), "PRAGMA quick_check(1)");
    if (!check.Step() || check.Text(0) != "ok") throw SqliteError(SQLITE_CORRUPT, std::string(check.Text(0)));
}

// Before anything is written to it.
SqliteFile OpenOwn(const std::string& path, std::uint64_t pages, std::uint64_t logPages) {
    SqliteFile file(path);
    file.Run("PRAGMA locking_mode = EXCLUSIVE");
    const bool isNew = file.Number("PRAGMA schema_version") == 0;
    if (!isNew && file.Number("PRAGMA application_id") != kApplication) throw ForeignFile("it is no outbox");
    if (!isNew && file.Number("PRAGMA user_version") > kVersion) throw ForeignFile("a newer version of qxlt made it");
    file.Run("PRAGMA page_size = " + std::to_string(OutboxFile::kPageBytes));
    Configure(file, pages, logPages);
    if (isNew) {
        MakeTables(file);
    } else {
        RequireWhole(file);
        file.Run("DELETE FROM run WHERE id NOT IN (SELECT run FROM message) AND id NOT IN (SELECT run FROM dropped)");
    }
    return file;
}

}  // namespace

OutboxFile::OutboxFile(const std::string& path, std::uint64_t pages, std::uint64_t logPages)
    : m_file(OpenOwn(path, pages, logPages)),
      m_pageCount(Prepare("PRAGMA page_count")),
      m_freePages(Prepare("PRAGMA freelist_count")),
      m_add(Prepare("INSERT INTO message VALUES(?1, ?2, ?3, ?4, ?5, ?6)")),
      m_readAfter(Prepare("SELECT position, topic, payload FROM message WHERE position > ?1 ORDER BY position")),
      m_remove(Prepare("DELETE FROM message WHERE position = ?1")),
      m_oldest(Prepare("SELECT position, run, number, taken FROM message ORDER BY position LIMIT ?1")),
      m_removeUpTo(Prepare("DELETE FROM message WHERE position <= ?1")),
      m_lastDropped(Prepare("SELECT id, run, last FROM dropped ORDER BY id DESC LIMIT 1")),
      m_widenDropped(Prepare("UPDATE dropped SET last = ?2 WHERE id = ?1")),
      m_addDropped(Prepare("INSERT INTO dropped(run, first, last) VALUES(?1, ?2, ?3)")),
      m_forgetDropped(Prepare("DELETE FROM dropped WHERE id <= (SELECT max(id) FROM dropped) - ?1")),
      m_countDropped(Prepare("UPDATE outbox SET dropped = dropped + ?1")),
      m_readDropped(Prepare("SELECT run.name, first, last FROM dropped JOIN run ON run.id = dropped.run"
                            " ORDER BY dropped.id DESC LIMIT ?1")) {}

void OutboxFile::SetDurable(bool isDurable) {
    m_file.Run(isDurable ? "PRAGMA synchronous = FULL" : "PRAGMA synchronous = NORMAL");
}

std::uint64_t OutboxFile::PagesUsed() {
    m_pageCount.Step();
    const std::int64_t pages = m_pageCount.Number(0);
    m_pageCount.Reset();
    m_freePages.Step();
    const std::int64_t freePages = m_freePages.Number(0);
    m_freePages.Reset();
    return static_cast<std::uint64_t>(pages - freePages);
}

void OutboxFile::ShrinkLog() {
    sqlite3_wal_checkpoint_v2(m_file.Get(), nullptr, SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr);
}

std::string OutboxFile::Identity() {
    SqliteStatement identity = Prepare("SELECT identity FROM outbox");
    identity.Step();
    return std::string(identity.Text(0));
}

std::int64_t OutboxFile::AddRun(const std::string& name) {
    Prepare("INSERT OR IGNORE INTO run(name) VALUES(?1)").Bind(1, name).Run();
    SqliteStatement find = Prepare("SELECT id FROM run WHERE name = ?1");
    find.Bind(1, name).Step();
    return find.Number(0);
}

void OutboxFile::Add(const Entry& entry, std::string_view topic, std::string_view payload) {
    m_add.Bind(1, entry.position).Bind(2, entry.run).Bind(3, Signed(entry.number)).Bind(4, entry.taken);
    m_add.Bind(5, topic).Bind(6, payload).Run();
}

std::vector<OutboxMessage> OutboxFile::ReadAfter(std::int64_t position, std::size_t most, std::size_t mostBytes) {
    std::vector<OutboxMessage> messages;
    std::size_t bytes = 0;
    m_readAfter.Bind(1, position);
    while (messages.size() < most && bytes < mostBytes && m_readAfter.Step()) {
        messages.push_back({m_readAfter.Number(0), std::string(m_readAfter.Text(1)), std::string(m_readAfter.Text(2))});
        bytes += messages.back().payload.size();
    }
    m_readAfter.Reset();
    return messages;
}

bool OutboxFile::Remove(std::int64_t position) {
    m_remove.Bind(1, position).Run();
    return m_file.Changed() != 0;
}

std::vector<OutboxFile::Entry> OutboxFile::Oldest(std::uint64_t most) {
    std::vector<Entry> entries;
    m_oldest.Bind(1, static_cast<std::int64_t>(most));
    while (m_oldest.Step()) {
        entries.push_back({m_oldest.Number(0), m_oldest.Number(1), static_cast<std::uint64_t>(m_oldest.Number(2)),
                           m_oldest.Number(3)});
    }
    return entries;
}

void OutboxFile::RemoveUpTo(std::int64_t position) {
    m_removeUpTo.Bind(1, position).Run();
}

void OutboxFile::AddDropped(std::int64_t run, std::uint64_t first, std::uint64_t last) {
    const bool isAny = m_lastDropped.Step();
    const std::int64_t id = isAny ? m_lastDropped.Number(0) : 0;
    const bool continues = isAny && m_lastDropped.Number(1) == run && m_lastDropped.Number(2) == Signed(first) - 1;
    m_lastDropped.Reset();
    if (continues) {
        m_widenDropped.Bind(1, id).Bind(2, Signed(last)).Run();
    } else {
        m_addDropped.Bind(1, run).Bind(2, Signed(first)).Bind(3, Signed(last)).Run();
        m_forgetDropped.Bind(1, kRangesKept).Run();
    }
    m_countDropped.Bind(1, Signed(last - first + 1)).Run();
}

std::vector<DroppedRange> OutboxFile::DroppedRanges(std::size_t most) {
    std::vector<DroppedRange> ranges;
    m_readDropped.Bind(1, static_cast<std::int64_t>(most));
    while (m_readDropped.Step()) {
        ranges.push_back({std::string(m_readDropped.Text(0)), static_cast<std::uint64_t>(m_readDropped.Number(1)),
                          static_cast<std::uint64_t>(m_readDropped.Number(2))});
    }
    std::reverse(ranges.begin(), ranges.end());
    return ranges;
}

}  // namespace qxlt
