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
    detail::g_isEnabled.store(isEnabled, std::memory_order_relaxed);
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

// Hands out the ring's staging memory, unless a record is being made already: then this one comes from a signal
// handler, and is refused.
bool Stage(QxRing* ring, Encoder& encoder) {
    if (ring->IsBusy()) return false;
    ring->SetBusy(true);
    encoder = Encoder(ring->Staging(), qxlayout::kMaxPayload);
    return true;
}

std::uint64_t Append(const Site& site, const Encoder& encoder, qxlayout::Kind kind) {
    QxRing* ring = QxRecorder::CurrentRing();
    // A signal's handler forked meanwhile, and this is the child.
    if (ring == nullptr) return 0;
    std::uint64_t ordinal = 0;
    if (encoder.Overflow()) {
        ring->CountRefused();
    } else {
        ordinal = ring->AppendEntry(kind, site.id.load(std::memory_order_relaxed), encoder.Size());
        if (encoder.Cut() && ordinal != 0) ring->CountCut();
    }
    ring->SetBusy(false);
    return ordinal;
}

}  // namespace

bool BeginEntry(Site& site, const char* package, const char* method, Describe describe, Encoder& encoder) noexcept {
    QxRecorder& recorder = QxRecorder::Instance();
    QxRing* ring = recorder.RingForRecord();
    if (ring == nullptr) return false;
    std::uint32_t id = site.id.load(std::memory_order_acquire);
    if (id == 0) {
        id = recorder.Register(site, package, method, describe);
        ring = recorder.RingForRecord();
        if (ring == nullptr) return false;
    }
    if (id == QxRecorder::kRefusedSite || !Stage(ring, encoder)) {
        ring->CountRefused();
        return false;
    }
    return true;
}

Ticket EndEntry(const Site& site, const Encoder& encoder) noexcept {
    const std::uint64_t ordinal = Append(site, encoder, qxlayout::kEntry);
    if (ordinal == 0) return {};
    return {ordinal, QxRecorder::CurrentRing()->Attachment()};
}

void EndLog(const Site& site, const Encoder& encoder) noexcept {
    Append(site, encoder, qxlayout::kLog);
}

bool BeginExit(const Ticket& ticket, Encoder& encoder) noexcept {
    if (ticket.attachment == 0) return false;
    QxRing* ring = QxRecorder::CurrentRing();
    if (ring != nullptr && ring->Attachment() == ticket.attachment) return Stage(ring, encoder);
    QxRecorder::Instance().EndElsewhere(ticket.attachment);
    return false;
}

void EndExit(const Ticket& ticket, const Encoder& encoder) noexcept {
    QxRing* ring = QxRecorder::CurrentRing();
    if (ring == nullptr) return;
    ring->AppendExit(ticket.ordinal, encoder.Size(), !encoder.Overflow());
    if (encoder.Cut() && !encoder.Overflow()) ring->CountCut();
    ring->SetBusy(false);
}

}  // namespace detail
}  // namespace recorder
}  // namespace qx
