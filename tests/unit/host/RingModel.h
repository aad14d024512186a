// A model of one writer and one reader on a small ring, in plain memory: what was written, store by store, and whether
// what a reader gives out is that.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "PlainRing.h"
#include "QxBasicRingImpl.h"
#include "QxRingReader.h"

namespace ringmodel {

using namespace qxlayout;
using qxhost::QxRingReader;
using Item = QxRingReader::Item;

// A word whose stores are noticed.
class ModelWord {
public:
    void store(Word value, std::memory_order) {
        m_value = value;
        if (s_afterStore) s_afterStore(*this);
    }
    Word load(std::memory_order) const { return m_value; }
    // What somebody else wrote: not noticed.
    void Set(Word value) { m_value = value; }

    static inline std::function<void(const ModelWord&)> s_afterStore;

private:
    Word m_value = 0;
};

struct ModelTraits {
    using SharedWord = ModelWord;
    static inline Word s_now;
    struct Clock {
        Word Now() const { return s_now; }
    };
};
using Memory = PlainRing<ModelWord>;
using ModelRing = qxhost::QxBasicRing<ModelTraits>;

constexpr unsigned kLane = 9;

// What came or should come out.
struct Record {
    Item::Kind kind;
    Word time;
    Word thread;
    Word ordinal;
    std::uint32_t location;
    std::string payload;

    bool operator==(const Record& other) const {
        return kind == other.kind && time == other.time && thread == other.thread && ordinal == other.ordinal &&
               location == other.location && payload == other.payload;
    }
    bool IsEntry() const { return kind == Item::Kind::Entry || kind == Item::Kind::Log; }
    bool IsExit() const { return kind == Item::Kind::Exit; }
};

// A writer, and what it wrote: `records[i]` ends at the position `ends[i]`, but for the one that is being written.
class Writer {
public:
    explicit Writer(Memory& memory, bool refuseWhenFull = false)
        : m_memory(memory),
          m_ring(memory.Geometry(), memory.Slot().data(), memory.Pages().data(), 0, kLane, refuseWhenFull) {
        ModelTraits::s_now = 100000;
    }

    void Attach(std::uint32_t serial, std::uint32_t name) {
        m_thread = static_cast<Word>(serial) << 32 | name;
        m_ring.Attach(serial, name, serial);
    }
    void Rename(std::uint32_t name) {
        m_thread = (m_thread >> 32) << 32 | name;
        m_ring.Rename(name);
    }
    void Pause(Word time) { ModelTraits::s_now += time; }

    // Return the ordinal, 0 when it was refused.
    Word Entry(std::size_t size) { return Append(kEntry, Item::Kind::Entry, size); }
    Word Log(std::size_t size) { return Append(kLog, Item::Kind::Log, size); }

    void Exit(Word ordinal, std::size_t size, bool isWhole = true) {
        if (ordinal == 0) return;
        Pause(1000);
        const std::string payload = Stage(size);
        records.push_back({Item::Kind::Exit, ModelTraits::s_now, m_thread, ordinal, 0, payload});
        m_ring.AppendExit(ordinal, size, isWhole);
        Settle();
        ends.push_back(Slot(kSlotCommitted));
    }

    // A ring without room, too, leaves a note that the exit is lost; it counts that before it writes the note.
    void Settle() {
        if (Slot(kSlotExitsRefused) == m_exitsRefused) return;
        m_exitsRefused = Slot(kSlotExitsRefused);
        MakeLost(records.back());
    }

    Word Slot(SlotWord word) const { return m_memory.Slot()[word].load(std::memory_order_relaxed); }

    std::vector<Record> records;
    std::vector<Word> ends;

private:
    // A note has no time and no thread of its own: it has those of the item before it.
    void MakeLost(Record& record) const {
        record.kind = Item::Kind::LostExit;
        record.payload.clear();
        record.time = records.size() < 2 ? 0 : records[records.size() - 2].time;
        record.thread = records.size() < 2 ? 0 : records[records.size() - 2].thread;
    }

    Word Append(Kind kind, Item::Kind itemKind, std::size_t size) {
        Pause(1000);
        const std::string payload = Stage(size);
        const Word time = ModelTraits::s_now / kSlotCount * kSlotCount + kLane;
        const std::uint32_t location = static_cast<std::uint32_t>(records.size() + 1);
        records.push_back({itemKind, time, m_thread, Slot(kSlotEntries) + 1, location, payload});
        const Word ordinal = m_ring.AppendEntry(kind, location, size);
        if (ordinal == 0)
            records.pop_back();
        else
            ends.push_back(Slot(kSlotCommitted));
        return ordinal;
    }

    // No two payloads are alike.
    std::string Stage(std::size_t size) {
        std::string payload(size, '\0');
        for (std::size_t i = 0; i < size; ++i) payload[i] = static_cast<char>(records.size() * 16 + i + 1);
        std::memcpy(m_ring.Staging(), payload.data(), size);
        return payload;
    }

    Memory& m_memory;
    ModelRing m_ring;
    Word m_thread = 0;
    Word m_exitsRefused = 0;
};

// Holds what a reader gives out against the model, over all its readings.
class Checker {
public:
    explicit Checker(Writer& writer) : m_writer(writer) {}

    // Reads on. False when the reader was overrun; then nothing may have changed.
    bool Read(const Memory& memory) {
        const qxhost::QxRingView view = memory.View();
        const qxhost::QxRingView::Slot slot = view.ReadSlot();
        const Word before = m_reader.Position();
        QxRingReader::Batch batch;
        if (!m_reader.Read(view, slot, batch)) {
            EXPECT_TRUE(batch.items.empty());
            EXPECT_EQ(m_reader.Position(), before);
            ++overrun;
            return false;
        }
        EXPECT_EQ(m_reader.Position(), slot[kSlotCommitted]) << "it reads all that is complete";
        Take(batch);
        return true;
    }

    // All that was read or counted as lost is what lies before the reader's position.
    Word Position() const { return m_reader.Position(); }

    std::size_t delivered = 0;
    std::size_t lost = 0;
    std::size_t overrun = 0;

private:
    void Take(const QxRingReader::Batch& batch) {
        m_writer.Settle();
        const std::size_t end = RecordsBefore(m_reader.Position());
        std::vector<Record> items;
        for (const Item& item : batch.items) {
            if (item.kind == Item::Kind::Thread) continue;
            items.push_back({item.kind, item.time, item.thread, item.ordinal, item.location,
                             std::string(item.payload != nullptr ? item.payload : "", item.size)});
        }
        ASSERT_LE(m_next + items.size(), end) << "nothing comes twice, and nothing that was not written";
        const std::size_t first = end - items.size();
        CountLost(m_next, first, batch);
        for (std::size_t i = 0; i < items.size(); ++i) {
            EXPECT_TRUE(items[i] == m_writer.records[first + i]) << "item " << first + i << " came out as another";
        }
        delivered += items.size();
        lost += first - m_next;
        m_next = end;
    }

    void CountLost(std::size_t from, std::size_t to, const QxRingReader::Batch& batch) const {
        std::uint64_t entries = 0;
        std::uint64_t exits = 0;
        for (std::size_t i = from; i < to; ++i) {
            if (m_writer.records[i].IsEntry()) ++entries;
            if (m_writer.records[i].IsExit()) ++exits;
        }
        EXPECT_EQ(batch.lostEntries, entries);
        EXPECT_EQ(batch.lostExits, exits);
    }

    // The one that is being written counts when the position is behind all others.
    std::size_t RecordsBefore(Word position) const {
        std::size_t count = 0;
        while (count < m_writer.ends.size() && m_writer.ends[count] <= position) ++count;
        if (count == m_writer.ends.size() && position > (count == 0 ? 0 : m_writer.ends.back())) ++count;
        EXPECT_LE(count, m_writer.records.size());
        return count;
    }

    Writer& m_writer;
    QxRingReader m_reader;
    std::size_t m_next = 0;  // the first record that is neither delivered nor lost
};

// What a writer stores, one after the other, to be done again as far as a test wants.
class Replay {
public:
    Replay(const Geometry& geometry, const std::function<void(Writer&)>& write)
        : m_original(geometry), m_writer(m_original) {
        ModelWord::s_afterStore = [this](const ModelWord& word) { m_stores.push_back(StoreOf(word)); };
        write(m_writer);
        ModelWord::s_afterStore = nullptr;
    }

    Writer& Written() const { return m_writer; }
    std::size_t Count() const { return m_stores.size(); }

    // Does the stores from `from` on up to `to`.
    void Do(Memory& memory, std::size_t from, std::size_t to) const {
        for (; from < to; ++from) {
            const Store& store = m_stores[from];
            (store.isSlot ? memory.Slot() : memory.Pages())[store.place].Set(store.value);
        }
    }

private:
    struct Store {
        bool isSlot;
        std::size_t place;
        Word value;
    };

    Store StoreOf(const ModelWord& word) {
        const ModelWord* slot = m_original.Slot().data();
        const bool isSlot = &word >= slot && &word < slot + kSlotWords;
        const ModelWord* first = isSlot ? slot : m_original.Pages().data();
        return {isSlot, static_cast<std::size_t>(&word - first), word.load(std::memory_order_relaxed)};
    }

    Memory m_original;
    mutable Writer m_writer;
    std::vector<Store> m_stores;
};

}  // namespace ringmodel
