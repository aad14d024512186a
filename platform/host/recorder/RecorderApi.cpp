#include "qx/recorder.h"

#include "QxRecorder.h"

using qxhost::QxRecorder;
using qxhost::QxRing;

namespace qx {
namespace recorder {

bool Configure(const Options& options) {
    return QxRecorder::Instance().Configure(options);
}

void SetEnabled(bool isEnabled) noexcept {
    detail::qx_recorder_switch.store(isEnabled, std::memory_order_relaxed);
}

bool IsEnabled() noexcept {
    return detail::IsEnabled();
}

void SetThreadName(const std::string& name) {
    QxRecorder::Instance().NameThread(name);
}

Counters GetCounters() {
    return QxRecorder::Instance().GetCounters();
}

std::vector<ThreadCounters> GetThreadCounters() {
    return QxRecorder::Instance().GetThreadCounters();
}

namespace detail {

namespace {

QxRing* CurrentRing() {
    return static_cast<QxRing*>(t_place.ring);
}

// Ends a record: the memory is free for the next one, unless the ring is no longer the thread's, in the child of a fork
// that a signal's handler made.
void HandBack(QxRing* ring) {
    std::atomic_signal_fence(std::memory_order_seq_cst);
    if (t_place.ring == ring) t_place.memory = ring->Staging();
}

// How many entries the ring took, this one included, or 0 when it did not take it.
std::uint64_t Append(QxRing& ring, std::uint32_t site, Written values, qxlayout::Kind kind) {
    if (values.isOverflow) {
        ring.CountRefused();
        return 0;
    }
    const std::uint64_t ordinal = ring.AppendEntry(kind, site, values.size);
    if (values.isCut && ordinal != 0) ring.CountCut();
    return ordinal;
}

}  // namespace

unsigned char* AskForEntry(Site& site, const char* package, const char* method, Describe describe) noexcept {
    return QxRecorder::Instance().MemoryForEntry(site, package, method, describe);
}

// A signal's handler may have forked while the record was prepared: in the child there is no ring.
Ticket EndEntry(std::uint32_t site, Written values) noexcept {
    QxRing* ring = CurrentRing();
    if (ring == nullptr) return {};
    const std::uint64_t ordinal = Append(*ring, site, values, qxlayout::kEntry);
    HandBack(ring);
    if (ordinal == 0) return {};
    return {ordinal, ring->Attachment()};
}

void EndLog(std::uint32_t site, Written values) noexcept {
    QxRing* ring = CurrentRing();
    if (ring == nullptr) return;
    Append(*ring, site, values, qxlayout::kLog);
    HandBack(ring);
}

unsigned char* AskForExit(const Ticket& ticket) noexcept {
    if (t_place.attachment == ticket.attachment) return TakeMemory();
    QxRecorder::Instance().EndElsewhere(ticket.attachment);
    return nullptr;
}

void EndExit(std::uint64_t ordinal, Written values) noexcept {
    QxRing* ring = CurrentRing();
    if (ring == nullptr) return;
    ring->AppendExit(ordinal, values.size, !values.isOverflow);
    if (values.isCut && !values.isOverflow) ring->CountCut();
    HandBack(ring);
}

}  // namespace detail
}  // namespace recorder
}  // namespace qx
