// Reads one recording from dump to dump: pairs exits with their calls, holds back the calls that are still open, and
// keeps account of what was delivered and what was lost.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "QxCatalog.h"
#include "QxDumpBuilder.h"
#include "QxMetadata.h"
#include "QxRecordingFile.h"
#include "QxRetries.h"
#include "QxRingReader.h"
#include "QxTidPool.h"
#include "qx/control.h"

namespace qxhost {

class QxRecordingReader {
public:
    // `tids` must outlive the reader. With `isFirst`, what is no longer buffered counts as gone before the first dump
    // and otherwise as overwritten.
    QxRecordingReader(QxRecordingFile file, QxTidPool& tids, bool isFirst);
    QxRecordingReader(const QxRecordingReader&) = delete;
    QxRecordingReader& operator=(const QxRecordingReader&) = delete;
    ~QxRecordingReader();

    const QxRecordingFile& File() const { return m_file; }

    // Reads all that is new: what the calls need into the catalog, the calls into the builder. A call that has been
    // open for longer than the limit, the oldest ones of a thread that has too many, and every open call of a thread
    // or process that has ended, are written without exit. `isAlive` tells whether the process still ran just before:
    // what it records meanwhile is for the next dump. When the recording cannot be trusted any further, the reading
    // ends there: Damage says why, what came before is whole, open calls included, and once it is kept the reader is of
    // no more use.
    void Read(QxCatalog& catalog, QxDumpBuilder& builder, std::uint64_t openCallLimitNs, bool isAlive);

    // Ends a reading: keeps it, or takes it back so that the next one reads the same again. One that nobody ended,
    // since something was thrown, is taken back by the next Read. Commit requires a whole reading. Neither throws.
    void Commit();
    void Rollback();

    // What damage the reading came upon, empty for none.
    const std::string& Damage() const { return m_damage; }

    // Whether the process had ended when the reading began, so that nothing is left to read.
    bool IsDrained() const { return m_isDrained; }

    qx::host::Loss GetLoss() const;
    std::vector<qx::host::ThreadLoss> GetThreadLoss() const;

private:
    struct OpenCall {
        std::uint64_t time = 0;
        std::uint32_t location = 0;  // number in the recording
        std::uint32_t serial = 0;    // of the thread
        std::string values;
    };

    using OpenCalls = std::map<std::uint64_t, OpenCall>;  // by ordinal

    // What a reading changes, for one slot.
    struct Slot {
        QxRingReader ring;
        OpenCalls open;
        std::size_t openCost = 0;  // bytes that they take
        qx::host::Loss loss;
        bool isTouched = false;  // something was read in the last reading
    };
    using State = std::array<Slot, qxlayout::kSlotCount>;

    // What the items of one reading go to.
    struct Target {
        QxCatalog& catalog;
        QxDumpBuilder& builder;
    };

    void ReadSlots(std::uint64_t openCallLimitNs, bool isAlive, const Target& target);
    void ReadSlot(std::size_t number, QxRetries& retries, const Target& target);
    bool TryReadSlot(std::size_t number, const Target& target);
    void EndAtDamage(const Target& target);
    void TakeBatch(Slot& slot, const QxRingReader::Batch& batch, const Target& target);
    void TakeItem(Slot& slot, const QxRingReader::Item& item, const Target& target);
    void TakeEntry(Slot& slot, const QxRingReader::Item& item, const Target& target);
    void TakeLog(Slot& slot, const QxRingReader::Item& item, const Target& target);
    void TakeExit(Slot& slot, const QxRingReader::Item& item, const Target& target);
    static std::size_t Cost(const OpenCall& call);
    OpenCall& Open(Slot& slot, std::uint64_t ordinal);
    OpenCalls::iterator Remove(Slot& slot, OpenCalls::iterator call);
    OpenCalls::iterator WriteOpenCall(Slot& slot, OpenCalls::iterator call, const Target& target);
    void WriteEnded(Slot& slot, const Target& target);
    void WriteOverdue(Slot& slot, std::uint64_t limitNs, const Target& target);
    const QxLocation& Location(std::uint32_t number) const;
    std::uint32_t DumpNumber(std::uint32_t location) const;
    std::uint16_t Tid(std::uint32_t serial);
    void NameThread(std::uint64_t thread, QxDumpBuilder& builder);
    void GiveBackTids();

    QxRecordingFile m_file;
    QxTidPool& m_tids;
    const bool m_isFirst;
    bool m_hasRead = false;  // a reading was kept
    bool m_isDrained = false;
    std::string m_damage;
    QxMetadata m_metadata;
    QxCatalog::View m_view;
    std::map<std::uint32_t, std::uint16_t> m_threads;  // serial to tid, 0 while there is none
    std::uint64_t m_refused = 0;                       // calls of threads without a slot
    OpenCalls::node_type m_spare;                      // the call removed last, to be used again
    std::unique_ptr<State> m_state;                    // of the present reading
    std::unique_ptr<State> m_kept;                     // as the last reading that was kept left it
};

}  // namespace qxhost
