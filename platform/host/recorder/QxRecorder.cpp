#include "QxRecorder.h"

#include <dlog.h>
#include <pthread.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <exception>
#include <new>
#include <utility>

#include "QxRuntimeDir.h"
#include "QxSignalGuard.h"

// Constant-initialised: call sites may be passed before the recorder is made.
std::atomic<bool> qx::recorder::detail::qx_recorder_switch{true};
__thread qx::recorder::detail::Place qx::recorder::detail::t_place;

namespace qxhost {

using namespace qxlayout;
namespace detail = qx::recorder::detail;

namespace {

// What a thread knows of itself. Initial-exec: the dynamic model may allocate at a thread's first access.
struct ThreadState {
    unsigned char* memory;        // of its place, while it is inside
    unsigned depth;               // how often it entered the recorder; it holds the mutex when that is not 0
    bool isForked;                // it came out of a fork as the child, and has not left the recorder since
    pid_t insider;                // the process that the next one counts for
    std::uint64_t refusedInside;  // calls made within the recorder, not counted elsewhere yet
    bool hasFailed;               // no ring was to be had
    std::uint32_t slotsFreed;     // as it was then
    std::uint32_t callsSince;
    bool isNamed;
    char name[65];
};
__attribute__((tls_model("initial-exec"))) thread_local ThreadState t_state;

constexpr std::uint32_t kCallsBetweenAttempts = 4096;

pthread_key_t g_threadEnd;

std::string SystemThreadName() {
    char name[17] = {};
    return ::prctl(PR_GET_NAME, name) == 0 ? name : "";
}

// The attachment of a thread to a slot: its number and the slot's. Never 0, and in forked children other than in their
// parents. Requires the recorder's mutex.
std::uint32_t NextAttachment(std::size_t slot) {
    static std::uint32_t number = 0;
    if (++number >= UINT32_MAX / kSlotCount) number = 1;
    return number * static_cast<std::uint32_t>(kSlotCount) + static_cast<std::uint32_t>(slot);
}

}  // namespace

// Holds the recorder's mutex. What a program would notice is kept from it: a signal's handler that forks or traces runs
// afterwards, a request to cancel the thread is acted upon later (an exception of that kind may not leave a traced
// call), and errno stays as it was. A thread that is inside already does not get in.
class QxRecorder::Section {
public:
    explicit Section(QxRecorder& recorder) : m_recorder(IsInside() ? nullptr : &recorder) {
        ::pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_cancelState);
        if (m_recorder == nullptr) return;
        m_recorder->Enter();
        if (std::exchange(m_recorder->m_isLeft, false)) m_recorder->FreeRecording();
    }
    Section(const Section&) = delete;
    Section& operator=(const Section&) = delete;
    ~Section() {
        if (m_recorder != nullptr) m_recorder->Leave();
        ::pthread_setcancelstate(m_cancelState, nullptr);
        errno = m_errno;
    }

    explicit operator bool() const { return m_recorder != nullptr; }

private:
    const int m_errno = errno;
    const QxSignalGuard m_signals{QxSignalGuard::kInterrupting};
    QxRecorder* const m_recorder;
    int m_cancelState = 0;
};

QxRecorder& QxRecorder::Instance() {
    alignas(QxRecorder) static unsigned char memory[sizeof(QxRecorder)];
    static QxRecorder& recorder = *new (memory) QxRecorder;
    return recorder;
}

QxRecorder::QxRecorder()
    : m_dictionary([this](MetaKind kind, const std::string& content) { return Append(kind, content); }) {
    m_isUsable =
        ::pthread_key_create(&g_threadEnd, &QxRecorder::OnThreadEnd) == 0 &&
        ::pthread_atfork(&QxRecorder::BeforeFork, &QxRecorder::AfterForkInParent, &QxRecorder::AfterForkInChild) == 0;
}

// As early as possible: fork handlers that the program adds later find the recorder ready, in the child as well.
__attribute__((constructor)) static void MakeRecorder() {
    QxRecorder::Instance();
    if (QxOptions::ReadSwitch() == QxOptions::Switch::Off) qx::recorder::SetEnabled(false);
}

bool QxRecorder::IsInside() {
    return t_state.depth != 0;
}

void QxRecorder::Enter() {
    if (t_state.depth == 0) {
        m_mutex.lock();
        t_state.memory = std::exchange(detail::t_place.memory, nullptr);
    }
    ++t_state.depth;
}

void QxRecorder::Leave() {
    if (t_state.depth == 1) {
        if (std::exchange(t_state.isForked, false)) LeaveRecording();
        TakeRefusedInside();
        detail::t_place.memory = t_state.memory;
        m_mutex.unlock();
    }
    --t_state.depth;
}

bool QxRecorder::Configure(const Options& options) {
    const Section section(*this);
    const QxOptions wanted(options);
    if (!section || m_recording != nullptr || !wanted.IsValid()) return false;
    m_options = wanted;
    return true;
}

QxRing* QxRecorder::CurrentRing() {
    return static_cast<QxRing*>(detail::t_place.ring);
}

QxRing* QxRecorder::RingForRecord() {
    if (IsInside()) {
        CountRefusedInside();
        return nullptr;
    }
    if (CurrentRing() != nullptr) return CurrentRing();
    // A thread that got no ring tries again when one was given back, and now and then.
    const bool isWaiting = t_state.hasFailed && t_state.slotsFreed == m_slotsFreed.load(std::memory_order_relaxed) &&
                           ++t_state.callsSince < kCallsBetweenAttempts;
    if (!isWaiting) Attach();
    if (CurrentRing() == nullptr) CountRefused();
    return CurrentRing();
}

// In a forked child, what was counted before belongs to the parent.
void QxRecorder::CountRefusedInside() {
    const pid_t pid = ::getpid();
    if (std::exchange(t_state.insider, pid) != pid) t_state.refusedInside = 0;
    ++t_state.refusedInside;
}

void QxRecorder::TakeRefusedInside() {
    const std::uint64_t count = std::exchange(t_state.refusedInside, 0);
    if (count == 0 || t_state.insider != ::getpid()) return;
    m_refused.fetch_add(count, std::memory_order_relaxed);
    ShareRefused();
}

void QxRecorder::CountRefused() {
    m_refused.fetch_add(1, std::memory_order_relaxed);
    ShareRefused();
}

// Moves what was counted while there was no recording, or while it was being made, to where the control sees it.
void QxRecorder::ShareRefused() {
    SharedWord* shared = m_sharedRefused.load(std::memory_order_acquire);
    if (shared != nullptr) shared->fetch_add(m_refused.exchange(0, std::memory_order_relaxed));
}

void QxRecorder::Attach() {
    const Section section(*this);
    t_state.slotsFreed = m_slotsFreed.load(std::memory_order_relaxed);
    t_state.callsSince = 0;
    t_state.hasFailed = true;
    try {
        Slot* slot = EnsureRecording() ? FreeSlot() : nullptr;
        if (slot == nullptr) return;
        slot->threadName = t_state.isNamed ? t_state.name : SystemThreadName();
        const std::uint32_t name = m_dictionary.NumberName(slot->threadName);
        if (::pthread_setspecific(g_threadEnd, slot->ring.get()) != 0) return;
        slot->ring->Attach(m_nextSerial++, name, NextAttachment(slot->ring->Slot()));
        slot->isTaken = true;
        t_state.memory = slot->ring->Staging();
        detail::t_place = {nullptr, slot->ring.get(), slot->ring->Attachment()};
        t_state.hasFailed = false;
    } catch (const std::exception&) {
        // Out of memory, which the program may bear: its call is refused.
    }
}

bool QxRecorder::EnsureRecording() {
    if (m_recording != nullptr) return true;
    std::string error;
    if (!m_isUsable) {
        ReportOnce("no thread-specific key is left to notice the end of threads, calls are refused");
        return false;
    }
    const QxOptions options = m_options.WithEnvironment(error);
    if (!error.empty()) ReportOnce(error);
    if (QxOptions::ReadSwitch() == QxOptions::Switch::Unknown) {
        ReportOnce("QX_RECORDER is neither on nor off, recording is on");
    }
    error.clear();
    // What a forked child's parent described takes no room from the child.
    Geometry geometry = options.Geometry();
    geometry.metaSize = std::min(geometry.metaSize + m_dictionary.Size(), Geometry::kMaxMetaSize);
    std::unique_ptr<QxRecording> recording =
        QxRecording::Create(QxRuntimeDir::DefaultPath(), geometry, options.RefusesWhenFull(), error);
    if (recording == nullptr) {
        ReportOnce(error);
        return false;
    }
    m_options = options;
    m_isCounterTrusted = QxTickCounter::IsTrusted();
    m_recording = std::move(recording);
    m_dictionary.Repeat();
    m_sharedRefused.store(m_recording->Header() + kHeaderRefused, std::memory_order_release);
    ShareRefused();
    return true;
}

QxRecorder::Slot* QxRecorder::FreeSlot() {
    for (std::size_t number = 0; number < kSlotCount; ++number) {
        Slot& slot = m_slots[number];
        if (slot.isTaken) continue;
        return (slot.ring != nullptr || MakeRing(number)) ? &slot : nullptr;
    }
    return nullptr;
}

bool QxRecorder::MakeRing(std::size_t number) {
    std::string error;
    QxMapping pages = m_recording->MapRing(number, error);
    if (!pages) {
        ReportOnce(error);
        return false;
    }
    // Processes that start one after the other use different lanes first, so that calls of two of them that are traced
    // together rarely have the same time.
    const std::size_t lane = (number + 16 * static_cast<std::size_t>(::getpid())) % kSlotCount;
    Slot& slot = m_slots[number];
    slot.ring = std::make_unique<QxRing>(m_options.Geometry(), m_recording->SlotWords(number), pages.Words(0), number,
                                         static_cast<unsigned>(lane), m_options.RefusesWhenFull(),
                                         QxRingTraits::Clock(m_isCounterTrusted));
    slot.pages = std::move(pages);
    m_rings[number].store(slot.ring.get(), std::memory_order_release);
    return true;
}

void QxRecorder::OnThreadEnd(void* ring) {
    detail::t_place = {};
    Instance().Detach(static_cast<QxRing*>(ring));
}

void QxRecorder::Detach(QxRing* ring) {
    const Section section(*this);
    m_slots[ring->Slot()].isTaken = false;
    m_slotsFreed.fetch_add(1, std::memory_order_relaxed);
}

// No handler of a signal may come between taking the mutex and knowing of it: it may fork.
void QxRecorder::BeforeFork() {
    const QxSignalGuard guard(QxSignalGuard::kInterrupting);
    Instance().Enter();
}

void QxRecorder::AfterForkInParent() {
    const QxSignalGuard guard(QxSignalGuard::kInterrupting);
    Instance().Leave();
}

// A fork from within the recorder leaves it later.
void QxRecorder::AfterForkInChild() {
    const QxSignalGuard guard(QxSignalGuard::kInterrupting);
    t_state.isForked = true;
    Instance().Leave();
}

// The child's one thread is the one that forked; all rings and the recording are its parent's. They are freed later: a
// signal's handler may have forked, which frees nothing, and it may have come into a record that goes on here.
void QxRecorder::LeaveRecording() {
    detail::t_place = {};
    t_state.memory = nullptr;
    t_state.hasFailed = false;
    ::pthread_setspecific(g_threadEnd, nullptr);
    m_sharedRefused.store(nullptr, std::memory_order_relaxed);
    m_refused.store(0, std::memory_order_relaxed);
    for (std::atomic<QxRing*>& ring : m_rings) ring.store(nullptr, std::memory_order_relaxed);
    m_isLeft = true;
}

void QxRecorder::FreeRecording() {
    for (Slot& slot : m_slots) {
        slot.ring.reset();
        slot.pages = QxMapping();
        slot.isTaken = false;
    }
    m_recording.reset();
}

void QxRecorder::ReportOnce(const std::string& error) {
    if (error == m_reported) return;
    m_reported = error;
    __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QXREC", "%s", error.c_str());
}

void QxRecorder::EndElsewhere(std::uint32_t attachment) {
    QxRing* ring = m_rings[attachment % kSlotCount].load(std::memory_order_acquire);
    if (ring != nullptr) ring->CountEndedElsewhere(attachment);
}

void QxRecorder::NameThread(const std::string& name) {
    const std::size_t size = name.copy(t_state.name, sizeof(t_state.name) - 1);
    t_state.name[size] = '\0';
    t_state.isNamed = true;
    const Section section(*this);
    if (!section || CurrentRing() == nullptr) return;
    CurrentRing()->Rename(m_dictionary.NumberName(t_state.name));
    m_slots[CurrentRing()->Slot()].threadName = t_state.name;
}

// A child that was forked within the recorder has still its parent's recording, where it writes nothing: it records all
// metadata anew.
bool QxRecorder::Append(MetaKind kind, const std::string& content) {
    return t_state.isForked || (m_recording != nullptr && m_recording->AppendMetadata(kind, content));
}

unsigned char* QxRecorder::MemoryForEntry(detail::Site& site, const char* package, const char* method,
                                          const Describe& describe) {
    QxRing* ring = RingForRecord();
    if (ring == nullptr) return nullptr;
    std::uint32_t id = site.id.load(std::memory_order_acquire);
    if (id == 0) {
        id = Register(site, package, method, describe);
        ring = RingForRecord();
        if (ring == nullptr) return nullptr;
    }
    if (id == detail::kRefusedSite || detail::t_place.memory == nullptr) {
        ring->CountRefused();
        return nullptr;
    }
    return detail::TakeMemory();
}

std::uint32_t QxRecorder::Register(detail::Site& site, const char* package, const char* method,
                                   const Describe& describe) {
    const Section section(*this);
    try {
        std::uint32_t number = m_dictionary.NumberSite(site, package, method, describe);
        if (number == 0) {
            ReportOnce("no room to describe a call site, its calls are refused");
            number = detail::kRefusedSite;
        }
        site.id.store(number, std::memory_order_release);
        return number;
    } catch (const std::exception&) {
        return detail::kRefusedSite;  // out of memory: the next call tries again
    }
}

QxRecorder::Counters QxRecorder::GetCounters() {
    Counters sum;
    for (const ThreadCounters& thread : GetThreadCounters()) {
        sum.recorded += thread.counters.recorded;
        sum.refused += thread.counters.refused;
        sum.overwritten += thread.counters.overwritten;
        sum.exits += thread.counters.exits;
        sum.exitsRefused += thread.counters.exitsRefused;
        sum.cut += thread.counters.cut;
    }
    ShareRefused();
    const SharedWord* shared = m_sharedRefused.load(std::memory_order_acquire);
    const std::uint64_t refused = shared != nullptr ? shared->load() : m_refused.load();
    sum.recorded += refused;
    sum.refused += refused;
    return sum;
}

std::vector<QxRecorder::ThreadCounters> QxRecorder::GetThreadCounters() {
    std::vector<ThreadCounters> all;
    const Section section(*this);
    if (!section) return all;
    for (std::size_t number = 0; number < kSlotCount; ++number) {
        const Slot& slot = m_slots[number];
        if (slot.ring == nullptr) continue;
        const SharedWord* words = m_recording->SlotWords(number);
        const auto load = [words](SlotWord word) { return words[word].load(std::memory_order_relaxed); };
        Counters counters;
        counters.refused = load(kSlotRefused);
        counters.recorded = load(kSlotEntries) + counters.refused;
        counters.overwritten = load(kSlotOverwritten);
        counters.exitsRefused = load(kSlotExitsRefused);
        counters.exits = load(kSlotExits) + counters.exitsRefused;
        counters.cut = load(kSlotCut);
        all.push_back({number, slot.isTaken, slot.threadName, counters});
    }
    return all;
}

}  // namespace qxhost
