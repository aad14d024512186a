// The recorder of the calling process: hands rings to threads, has call sites and thread names numbered, and makes the
// recording when the first thread records. One object serves the whole process.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "QxDictionary.h"
#include "QxLayout.h"
#include "QxMapping.h"
#include "QxOptions.h"
#include "QxRecording.h"
#include "QxRing.h"
#include "qx/recorder.h"

namespace qxhost {

class QxRecorder {
public:
    using Counters = qx::recorder::Counters;
    using Options = qx::recorder::Options;
    using ThreadCounters = qx::recorder::ThreadCounters;
    using Describe = QxDictionary::Describe;

    // The process's recorder. Never destroyed: threads may record while the process ends. Making it allocates nothing,
    // since the program's allocation may be traced.
    static QxRecorder& Instance();

    bool Configure(const Options& options);
    Counters GetCounters();
    std::vector<ThreadCounters> GetThreadCounters();

    // The calling thread's ring, null (and counted as a refused call) when it gets none: also when the call comes from
    // within the recorder (of an allocation, a fork handler or a handler of a fault), which is not re-entrant.
    QxRing* RingForRecord();
    // The calling thread's ring if it has one.
    static QxRing* CurrentRing();

    // Tells the ring of an attachment that a call of it ended on another thread, where no exit is recorded.
    void EndElsewhere(std::uint32_t attachment);

    void NameThread(const std::string& name);

    // The memory for the values of an entry or log item, whose call site is numbered first where it is not yet, and has
    // its number kept in it. Null when the record is refused (and counted).
    unsigned char* MemoryForEntry(qx::recorder::detail::Site& site, const char* package, const char* method,
                                  const Describe& describe);

private:
    class Section;

    // A ring and who has it.
    struct Slot {
        QxMapping pages;
        std::unique_ptr<QxRing> ring;  // writes into the pages
        bool isTaken = false;
        std::string threadName;
    };

    QxRecorder();

    // A thread may enter repeatedly, and leaves as often.
    void Enter();
    void Leave();
    static bool IsInside();
    static void OnThreadEnd(void* ring);
    static void BeforeFork();
    static void AfterForkInParent();
    static void AfterForkInChild();

    // Numbers a call site and keeps the number in it. Returns the number, or qx::recorder::detail::kRefusedSite. The
    // ring that the thread had may be gone afterwards.
    std::uint32_t Register(qx::recorder::detail::Site& site, const char* package, const char* method,
                           const Describe& describe);
    void Attach();
    bool EnsureRecording();
    Slot* FreeSlot();
    bool MakeRing(std::size_t number);
    void Detach(QxRing* ring);
    void LeaveRecording();
    void FreeRecording();
    void CountRefused();
    static void CountRefusedInside();
    void TakeRefusedInside();
    void ShareRefused();
    void ReportOnce(const std::string& error);
    bool Append(qxlayout::MetaKind kind, const std::string& content);

    std::mutex m_mutex;               // guards all below but the atomics; taken by Enter
    bool m_isLeft = false;            // whether rings and recording are those of a parent, to be freed
    bool m_isUsable = false;          // whether the end of a thread and a fork will be noticed; constant
    bool m_isCounterTrusted = false;  // whether rings take their time from it
    QxOptions m_options;
    std::unique_ptr<QxRecording> m_recording;
    std::string m_reported;
    std::array<Slot, qxlayout::kSlotCount> m_slots;
    std::uint32_t m_nextSerial = 1;
    QxDictionary m_dictionary;

    std::array<std::atomic<QxRing*>, qxlayout::kSlotCount> m_rings{};  // those of the slots
    std::atomic<std::uint64_t> m_refused{0};     // calls of threads without a ring, not in the recording's count yet
    std::atomic<std::uint32_t> m_slotsFreed{0};  // changes when a refused thread may try again
    std::atomic<qxlayout::SharedWord*> m_sharedRefused{nullptr};  // the recording's count, once there is one
};

}  // namespace qxhost
