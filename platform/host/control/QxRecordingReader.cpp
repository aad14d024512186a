#include "QxRecordingReader.h"

#include "QxLossMath.h"
#include "QxRecordingClock.h"

namespace qxhost {

using namespace qxlayout;

namespace {

// What the open calls of one slot may take. A thread that has more goes deeper than any stack should, or passes
// megabytes.
constexpr std::size_t kMaxOpenCost = 4 << 20;

// Entry times may run a little ahead of the clock to stay apart; one that is further ahead is no time.
constexpr std::uint64_t kClockSlackNs = 1000000000;

}  // namespace

QxRecordingReader::QxRecordingReader(QxRecordingFile file, QxTidPool& tids, bool isFirst)
    : m_file(std::move(file)), m_tids(tids), m_isFirst(isFirst), m_kept(std::make_unique<State>()) {}

QxRecordingReader::~QxRecordingReader() {
    for (const auto& [serial, tid] : m_threads) m_tids.GiveBack(tid);
}

void QxRecordingReader::Read(QxCatalog& catalog, QxDumpBuilder& builder, std::uint64_t openCallLimitNs, bool isAlive) {
    const Target target{catalog, builder};
    builder.AddProcess(QxDumpBuilder::HeaderItem(m_file.Name().name, static_cast<std::uint32_t>(m_file.Name().pid)));
    m_isDrained = false;
    m_damage.clear();
    m_state = std::make_unique<State>(*m_kept);
    try {
        ReadSlots(openCallLimitNs, isAlive, target);
        m_isDrained = !isAlive;
    } catch (const QxDamage& damage) {
        m_damage = damage.what();
        EndAtDamage(target);
    }
}

void QxRecordingReader::ReadSlots(std::uint64_t openCallLimitNs, bool isAlive, const Target& target) {
    m_refused = m_file.ReadRefused();
    // Threads whose calls are still open may have given their place to others by now.
    for (const Slot& slot : *m_state) {
        if (!slot.open.empty()) NameThread(slot.ring.Thread(), target.builder);
    }
    QxRetries retries;
    for (std::size_t number = 0; number < kSlotCount; ++number) ReadSlot(number, retries, target);
    for (Slot& slot : *m_state) {
        if (isAlive)
            WriteOverdue(slot, openCallLimitNs, target);
        else
            WriteEnded(slot, target);
        slot.loss.held = slot.open.size();
        if (slot.ring.Thread() != 0) NameThread(slot.ring.Thread(), target.builder);
    }
}

// What lies beyond the damage is in no account, whatever the ring counts.
void QxRecordingReader::EndAtDamage(const Target& target) {
    for (Slot& slot : *m_state) {
        WriteEnded(slot, target);
        slot.loss.held = 0;
        Balance(slot.loss);
    }
}

void QxRecordingReader::ReadSlot(std::size_t number, QxRetries& retries, const Target& target) {
    Slot& slot = (*m_state)[number];
    const std::uint64_t before = slot.ring.Position();
    for (int tries = 1; !TryReadSlot(number, target); ++tries) {
        if (!retries.Take(tries, m_file.Geometry().RingSize())) break;
    }
    slot.isTouched = slot.ring.Position() != before;
    slot.loss.recorded = slot.ring.Entries() + slot.loss.refused;
    slot.loss.exits = slot.ring.Exits() + slot.loss.exitsRefused;
}

// False when the ring was overrun meanwhile.
bool QxRecordingReader::TryReadSlot(std::size_t number, const Target& target) {
    Slot& slot = (*m_state)[number];
    const QxRingView ring = m_file.Ring(number);
    const QxRingView::Slot words = ring.ReadSlot();
    // Read after the slot: a call site is recorded before its first call.
    m_metadata.Update(m_file);
    target.catalog.Take(m_metadata, m_view);
    QxRingReader::Batch batch;
    if (!slot.ring.Read(ring, words, batch)) return false;
    slot.loss.refused = words[kSlotRefused];
    slot.loss.exitsRefused = words[kSlotExitsRefused];
    TakeBatch(slot, batch, target);
    return true;
}

void QxRecordingReader::TakeBatch(Slot& slot, const QxRingReader::Batch& batch, const Target& target) {
    const bool isBeforeFirst = m_isFirst && !m_hasRead;
    (isBeforeFirst ? slot.loss.beforeFirst : slot.loss.overwritten) += batch.lostEntries;
    (isBeforeFirst ? slot.loss.exitsBeforeFirst : slot.loss.exitsOverwritten) += batch.lostExits;
    for (const QxRingReader::Item& item : batch.items) TakeItem(slot, item, target);
}

void QxRecordingReader::TakeItem(Slot& slot, const QxRingReader::Item& item, const Target& target) {
    using Kind = QxRingReader::Item::Kind;
    switch (item.kind) {
        case Kind::Entry:
            TakeEntry(slot, item, target);
            break;
        case Kind::Log:
            TakeLog(slot, item, target);
            break;
        case Kind::Exit:
            TakeExit(slot, item, target);
            break;
        case Kind::LostExit: {
            const auto call = slot.open.find(item.ordinal);
            if (call != slot.open.end()) WriteOpenCall(slot, call, target);
            break;
        }
        case Kind::Thread:
            // The thread before has ended, unless this one only got another name.
            if (!slot.open.empty() && slot.open.begin()->second.serial != SerialOf(item.thread)) {
                WriteEnded(slot, target);
            }
            NameThread(item.thread, target.builder);
    }
}

void QxRecordingReader::TakeEntry(Slot& slot, const QxRingReader::Item& item, const Target& target) {
    QxMetadata::CheckEntry(Location(item.location), item.payload, item.size);
    OpenCall& call = Open(slot, item.ordinal);
    call.time = item.time;
    call.location = item.location;
    call.serial = SerialOf(item.thread);
    call.values.assign(item.payload, item.size);
    slot.openCost += Cost(call);
    while (slot.openCost > kMaxOpenCost) WriteOpenCall(slot, slot.open.begin(), target);
}

void QxRecordingReader::TakeLog(Slot& slot, const QxRingReader::Item& item, const Target& target) {
    QxMetadata::CheckLog(Location(item.location), item.payload, item.size);
    const std::uint32_t number = DumpNumber(item.location);
    const std::uint16_t tid = Tid(SerialOf(item.thread));
    if (number == 0 || tid == 0) {
        ++slot.loss.dropped;
        return;
    }
    target.builder.Thread(tid).AddLog(number, item.time, std::string(item.payload, item.size));
    ++slot.loss.delivered;
}

void QxRecordingReader::TakeExit(Slot& slot, const QxRingReader::Item& item, const Target& target) {
    const auto found = slot.open.find(item.ordinal);
    if (found == slot.open.end()) {
        // A ring's entries are numbered from 1 on, and the oldest go first.
        const bool isBeforeFirst = item.ordinal <= slot.loss.beforeFirst;
        ++(isBeforeFirst ? slot.loss.exitsBeforeFirst : slot.loss.exitsDropped);
        return;
    }
    const OpenCall& call = found->second;
    const QxLocation& location = Location(call.location);
    const std::size_t resultAt = QxMetadata::CheckExit(location, item.payload, item.size);
    if (item.time < call.time) throw QxDamage("a call returns before it begins");
    const std::uint32_t number = DumpNumber(call.location);
    const std::uint16_t tid = Tid(call.serial);
    if (number == 0 || tid == 0) {
        ++slot.loss.dropped;
        ++slot.loss.exitsDropped;
    } else {
        const std::string exitValues = QxCatalog::ExitValues(location, std::string(item.payload, item.size), resultAt);
        target.builder.Thread(tid).AddCall(number, call.time, call.values, item.time, exitValues);
        ++slot.loss.delivered;
        ++slot.loss.exitsDelivered;
    }
    Remove(slot, found);
}

// What an open call takes, its place among the others included.
std::size_t QxRecordingReader::Cost(const OpenCall& call) {
    constexpr std::size_t kPlaceSize = 64;
    return kPlaceSize + sizeof(call) + call.values.size();
}

// Calls are mostly numbered upwards.
QxRecordingReader::OpenCall& QxRecordingReader::Open(Slot& slot, std::uint64_t ordinal) {
    if (m_spare.empty()) return slot.open[ordinal];
    m_spare.key() = ordinal;
    return slot.open.insert(slot.open.end(), std::move(m_spare))->second;
}

QxRecordingReader::OpenCalls::iterator QxRecordingReader::Remove(Slot& slot, OpenCalls::iterator call) {
    slot.openCost -= Cost(call->second);
    const auto next = std::next(call);
    m_spare = slot.open.extract(call);
    return next;
}

// Writes a call without its exit, and gives the one after it.
QxRecordingReader::OpenCalls::iterator QxRecordingReader::WriteOpenCall(Slot& slot, OpenCalls::iterator place,
                                                                        const Target& target) {
    const OpenCall& call = place->second;
    const std::uint32_t number = DumpNumber(call.location);
    const std::uint16_t tid = Tid(call.serial);
    if (number == 0 || tid == 0) {
        ++slot.loss.dropped;
    } else {
        target.builder.Thread(tid).AddOpenCall(number, call.time, call.values);
        ++slot.loss.delivered;
    }
    return Remove(slot, place);
}

void QxRecordingReader::WriteEnded(Slot& slot, const Target& target) {
    for (auto call = slot.open.begin(); call != slot.open.end();) call = WriteOpenCall(slot, call, target);
}

void QxRecordingReader::WriteOverdue(Slot& slot, std::uint64_t limitNs, const Target& target) {
    const std::uint64_t now = NowNs();
    for (auto call = slot.open.begin(); call != slot.open.end();) {
        const std::uint64_t time = call->second.time;
        const bool isOverdue = time > now + kClockSlackNs || (now > time && now - time > limitNs);
        call = isOverdue ? WriteOpenCall(slot, call, target) : std::next(call);
    }
}

const QxLocation& QxRecordingReader::Location(std::uint32_t number) const {
    if (number == 0 || number > m_metadata.Locations().size()) throw QxDamage("a call has no call site");
    return m_metadata.Locations()[number - 1];
}

std::uint32_t QxRecordingReader::DumpNumber(std::uint32_t location) const {
    return m_view.numbers[location - 1];
}

std::uint16_t QxRecordingReader::Tid(std::uint32_t serial) {
    std::uint16_t& tid = m_threads[serial];
    // A thread that got none tries again: numbers come back.
    if (tid == 0) tid = m_tids.Take();
    return tid;
}

void QxRecordingReader::NameThread(std::uint64_t thread, QxDumpBuilder& builder) {
    const std::uint16_t tid = Tid(SerialOf(thread));
    const std::string& name = m_metadata.Name(NameOf(thread));
    if (tid != 0) builder.NameThread(tid, name);
}

void QxRecordingReader::Commit() {
    for (std::size_t number = 0; number < kSlotCount; ++number) {
        const Slot& slot = (*m_state)[number];
        if (slot.isTouched) m_file.WriteConsumed(number, slot.ring.Position());
    }
    m_kept = std::move(m_state);
    m_hasRead = true;
    GiveBackTids();
}

void QxRecordingReader::Rollback() {
    m_state.reset();
    m_isDrained = false;
    m_damage.clear();
}

// Numbers stay with the threads that may still have calls to come.
void QxRecordingReader::GiveBackTids() {
    std::map<std::uint32_t, std::uint16_t> stay;
    const auto keep = [this, &stay](std::uint32_t serial) { stay.insert(m_threads.extract(serial)); };
    for (const Slot& slot : *m_kept) {
        keep(SerialOf(slot.ring.Thread()));
        for (const auto& [ordinal, call] : slot.open) keep(call.serial);
    }
    for (const auto& [serial, tid] : m_threads) m_tids.GiveBack(tid);
    m_threads = std::move(stay);
}

qx::host::Loss QxRecordingReader::GetLoss() const {
    qx::host::Loss sum;
    for (const Slot& slot : *m_kept) sum = Sum(sum, slot.loss);
    sum.recorded += m_refused;
    sum.refused += m_refused;
    return sum;
}

std::vector<qx::host::ThreadLoss> QxRecordingReader::GetThreadLoss() const {
    std::vector<qx::host::ThreadLoss> all;
    for (const Slot& slot : *m_kept) {
        const std::uint64_t thread = slot.ring.Thread();
        if (thread == 0 && slot.loss.recorded == 0) continue;
        const auto tid = m_threads.find(SerialOf(thread));
        all.push_back(
            {m_file.Name().pid, tid != m_threads.end() ? tid->second : 0u, m_metadata.Name(NameOf(thread)), slot.loss});
    }
    return all;
}

}  // namespace qxhost
