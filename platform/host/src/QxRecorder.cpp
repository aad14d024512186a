#include "QxRecorder.h"

#include <dlog.h>
#include <pthread.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "QxBytes.h"
#include "QxRuntimeDir.h"

namespace qxhost {

using namespace qxlayout;
namespace detail = qx::recorder::detail;

namespace {

// What a thread knows of itself. Initial-exec: the dynamic model may allocate at a thread's first access.
struct ThreadState {
    QxRing* ring;
    bool hasFailed;            // no ring was to be had
    std::uint32_t slotsFreed;  // as it was then
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

// Reads a number of the environment; keeps the default when there is none, and says so when it is out of range.
bool ReadNumber(const char* variable, std::size_t& value) {
    const char* text = std::getenv(variable);
    if (text == nullptr) return true;
    char* end = nullptr;
    errno = 0;
    const unsigned long long number = std::strtoull(text, &end, 10);
    if (end == text || *end != '\0' || errno != 0 || number > Geometry::kMaxRingSize) return false;
    value = static_cast<std::size_t>(number);
    return true;
}

Geometry GeometryOf(const qx::recorder::Options& options) {
    return {options.pageSize, options.pageCount, options.metadataSize};
}

// The environment's word is the last one, unless it makes no sense.
qx::recorder::Options WithEnvironment(const qx::recorder::Options& options, std::string& error) {
    qx::recorder::Options changed = options;
    const bool areNumbers =
        ReadNumber("QX_RING_PAGE_SIZE", changed.pageSize) && ReadNumber("QX_RING_PAGES", changed.pageCount);
    const char* mode = std::getenv("QX_RING_MODE");
    const std::string modeName = mode != nullptr ? mode : "";
    if (modeName == "discard") changed.mode = qx::recorder::Mode::Discard;
    if (modeName == "overwrite") changed.mode = qx::recorder::Mode::Overwrite;
    const bool isMode = modeName.empty() || modeName == "discard" || modeName == "overwrite";
    if (areNumbers && isMode && GeometryOf(changed).IsValid()) return changed;
    error = "QX_RING_PAGE_SIZE, QX_RING_PAGES or QX_RING_MODE is out of range, all three are ignored";
    return options;
}

std::string EncodeLocation(const detail::Site& site, const detail::Location& location, const char* package,
                           const char* method) {
    const char* slash = std::strrchr(site.file, '/');
    std::string out;
    AppendVarint(out, site.line);
    AppendText(out, slash != nullptr ? slash + 1 : site.file);
    AppendVarint(out, location.arguments.size());
    for (const detail::Argument& argument : location.arguments) {
        AppendVarint(out, argument.flags);
        AppendVarint(out, argument.type.size);
        AppendText(out, argument.type.name);
    }
    AppendVarint(out, location.result.size);
    AppendText(out, location.result.name);
    AppendText(out, method);
    AppendText(out, package);
    return out;
}

std::string EncodeDescriptor(const detail::Descriptor& descriptor) {
    std::string out;
    AppendText(out, descriptor.name);
    AppendVarint(out, descriptor.isContainer ? 1 : 0);
    AppendVarint(out, descriptor.members.size());
    for (const detail::Member& member : descriptor.members) {
        AppendVarint(out, member.type.size);
        AppendText(out, member.type.name);
        AppendText(out, member.name);
    }
    return out;
}

}  // namespace

QxRecorder& QxRecorder::Instance() {
    static QxRecorder& recorder = *new QxRecorder;
    return recorder;
}

QxRecorder::QxRecorder() : m_slots(kSlotCount) {
    ::pthread_key_create(&g_threadEnd, &QxRecorder::OnThreadEnd);
    ::pthread_atfork(&QxRecorder::BeforeFork, &QxRecorder::AfterForkInParent, &QxRecorder::AfterForkInChild);
}

bool QxRecorder::Configure(const Options& options) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_recording != nullptr || !GeometryOf(options).IsValid()) return false;
    m_options = options;
    return true;
}

QxRing* QxRecorder::CurrentRing() {
    return t_state.ring;
}

QxRing* QxRecorder::RingForRecord() {
    if (t_state.ring != nullptr) return t_state.ring;
    // A thread that got no ring tries again when one was given back, and now and then.
    const bool isWaiting = t_state.hasFailed && t_state.slotsFreed == m_slotsFreed.load(std::memory_order_relaxed) &&
                           ++t_state.callsSince < kCallsBetweenAttempts;
    QxRing* ring = isWaiting ? nullptr : Attach();
    if (ring == nullptr) CountRefused();
    return ring;
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

QxRing* QxRecorder::Attach() {
    static std::atomic<std::uint32_t> nextAttachment{1};
    const std::lock_guard<std::mutex> lock(m_mutex);
    t_state.slotsFreed = m_slotsFreed.load(std::memory_order_relaxed);
    t_state.callsSince = 0;
    Slot* slot = EnsureRecording() ? TakeSlot() : nullptr;
    t_state.hasFailed = slot == nullptr;
    if (slot == nullptr) return nullptr;
    slot->threadName = t_state.isNamed ? t_state.name : SystemThreadName();
    slot->ring->Attach(m_nextSerial++, NameNumber(slot->threadName), nextAttachment++);
    ::pthread_setspecific(g_threadEnd, slot->ring.get());
    t_state.ring = slot->ring.get();
    return t_state.ring;
}

bool QxRecorder::EnsureRecording() {
    if (m_recording != nullptr) return true;
    std::string error;
    const Options options = WithEnvironment(m_options, error);
    if (!error.empty()) ReportOnce(error);
    error.clear();
    m_recording = QxRecording::Create(QxRuntimeDir::DefaultPath(), GeometryOf(options),
                                      options.mode == qx::recorder::Mode::Discard, error);
    if (m_recording == nullptr) {
        ReportOnce(error);
        return false;
    }
    m_options = options;
    for (const auto& [kind, content] : m_metadata) m_recording->AppendMetadata(kind, content);
    m_sharedRefused.store(m_recording->Header() + kHeaderRefused, std::memory_order_release);
    ShareRefused();
    return true;
}

QxRecorder::Slot* QxRecorder::TakeSlot() {
    for (std::size_t number = 0; number < kSlotCount; ++number) {
        Slot& slot = m_slots[number];
        if (slot.isTaken) continue;
        if (slot.ring == nullptr) {
            std::string error;
            QxMapping pages = m_recording->MapRing(number, error);
            if (!pages) {
                ReportOnce(error);
                return nullptr;
            }
            // Processes that start one after the other use different lanes first, so that calls of two of them that
            // are traced together rarely have the same time.
            const std::size_t lane = (number + 16 * static_cast<std::size_t>(::getpid())) % kSlotCount;
            slot.ring = std::make_unique<QxRing>(GeometryOf(m_options), m_recording->SlotWords(number),
                                                 std::move(pages), number, static_cast<unsigned>(lane),
                                                 m_options.mode == qx::recorder::Mode::Discard);
        }
        slot.isTaken = true;
        return &slot;
    }
    return nullptr;
}

void QxRecorder::OnThreadEnd(void* ring) {
    t_state.ring = nullptr;
    Instance().Detach(static_cast<QxRing*>(ring));
}

void QxRecorder::Detach(QxRing* ring) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_slots[ring->Slot()].isTaken = false;
    m_slotsFreed.fetch_add(1, std::memory_order_relaxed);
}

void QxRecorder::BeforeFork() {
    Instance().m_mutex.lock();
}

void QxRecorder::AfterForkInParent() {
    Instance().m_mutex.unlock();
}

void QxRecorder::AfterForkInChild() {
    Instance().ForgetRecording();
    Instance().m_mutex.unlock();
}

// The child's one thread is the one that forked; all rings and the recording are its parent's.
void QxRecorder::ForgetRecording() {
    t_state.ring = nullptr;
    t_state.hasFailed = false;
    ::pthread_setspecific(g_threadEnd, nullptr);
    m_sharedRefused.store(nullptr, std::memory_order_relaxed);
    m_refused.store(0, std::memory_order_relaxed);
    m_slots = std::vector<Slot>(kSlotCount);
    m_recording.reset();
    m_nextSerial = 1;
}

void QxRecorder::ReportOnce(const std::string& error) {
    if (error == m_reported) return;
    m_reported = error;
    __dlog_print(LOG_ID_MAIN, DLOG_ERROR, "QXREC", "%s", error.c_str());
}

void QxRecorder::NameThread(const std::string& name) {
    const std::size_t size = name.copy(t_state.name, sizeof(t_state.name) - 1);
    t_state.name[size] = '\0';
    t_state.isNamed = true;
    if (t_state.ring == nullptr) return;
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_slots[t_state.ring->Slot()].threadName = t_state.name;
    t_state.ring->Rename(NameNumber(t_state.name));
}

std::uint32_t QxRecorder::NameNumber(const std::string& name) {
    std::uint32_t number = 0;
    return Intern(kMetaName, name, number) ? number : 0;
}

bool QxRecorder::Intern(MetaKind kind, const std::string& content, std::uint32_t& number) {
    const auto key = std::make_pair(kind, content);
    const auto found = m_numbers.find(key);
    if (found != m_numbers.end()) {
        number = found->second;
        return true;
    }
    std::uint32_t ownCount = 0;  // layouts have no number
    std::uint32_t& count = kind == kMetaLocation ? m_locationCount : kind == kMetaName ? m_nameCount : ownCount;
    if (kind == kMetaLocation && count >= kMaxLocations) return false;
    if (kind == kMetaName && count >= kMaxNames) return false;
    if (m_recording == nullptr || !m_recording->AppendMetadata(kind, content)) return false;
    number = ++count;
    m_metadata.push_back(key);
    m_numbers[key] = number;
    return true;
}

std::uint32_t QxRecorder::Register(detail::Site& site, const char* package, const char* method,
                                   detail::Describe describe) {
    detail::Location location;
    describe(location);
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::uint32_t number = 0;
    bool isRecorded = true;
    for (const detail::Descriptor& descriptor : location.descriptors) {
        isRecorded = isRecorded && Intern(kMetaDescriptor, EncodeDescriptor(descriptor), number);
    }
    isRecorded = isRecorded && Intern(kMetaLocation, EncodeLocation(site, location, package, method), number);
    if (!isRecorded) {
        ReportOnce("no room to describe a call site, its calls are refused");
        number = kRefusedSite;
    }
    site.id.store(number, std::memory_order_release);
    return number;
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
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<ThreadCounters> all;
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
