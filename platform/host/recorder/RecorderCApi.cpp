// The recorder's interface in C. Nothing is thrown through it.
#include <cstring>
#include <exception>
#include <string>

#include "QxCValues.h"
#include "QxRecorder.h"
#include "qx/recorder.h"
#include "qx/recorder_c.h"

using namespace qx::recorder::detail;
using qxhost::QxCValues;
using qxhost::QxRecorder;

namespace {

constexpr std::size_t kMaxThreadName = 64;

std::uint32_t NumberOf(const qx_site& site) {
    return __atomic_load_n(&site.number, __ATOMIC_ACQUIRE);
}

__attribute__((cold)) unsigned char* AskForMemory(qx_site& site, const char* package, const char* method,
                                                  const QxRecorder::Describe& describe) {
    Site known{site.file, site.line, {NumberOf(site)}};
    unsigned char* memory = QxRecorder::Instance().MemoryForEntry(known, package, method, describe);
    const std::uint32_t number = known.id.load(std::memory_order_relaxed);
    // Another thread may have had it numbered meanwhile, where this one found no memory.
    if (number != 0) __atomic_store_n(&site.number, number, __ATOMIC_RELEASE);
    return memory;
}

// The memory for a record's values, as C++ asks for it. `describe` has the size of a pointer, so that it is handed on
// without allocating.
template <class Describe>
unsigned char* Begin(qx_site& site, const char* package, const char* method, const Describe& describe) {
    const bool isAtHand = t_place.memory != nullptr && NumberOf(site) - 1 < kRefusedSite - 1;
    return isAtHand ? TakeMemory() : AskForMemory(site, package, method, describe);
}

}  // namespace

extern "C" {

bool qx_recorder_configure(const qx_recorder_options* options) {
    qx::recorder::Options wanted;
    if (options->page_size != 0) wanted.pageSize = options->page_size;
    if (options->page_count != 0) wanted.pageCount = options->page_count;
    if (options->metadata_size != 0) wanted.metadataSize = options->metadata_size;
    if (options->mode > QX_RECORDER_DISCARD) return false;
    if (options->mode == QX_RECORDER_DISCARD) wanted.mode = qx::recorder::Mode::Discard;
    return qx::recorder::Configure(wanted);
}

void qx_recorder_set_enabled(bool is_enabled) {
    qx::recorder::SetEnabled(is_enabled);
}

bool qx_recorder_is_enabled(void) {
    return qx::recorder::IsEnabled();
}

void qx_recorder_set_thread_name(const char* name) {
    try {
        qx::recorder::SetThreadName(std::string(name, ::strnlen(name, kMaxThreadName)));
    } catch (const std::exception&) {
        // Out of memory: the thread keeps the name that it had.
    }
}

bool qx_recorder_get_counters(qx_recorder_counters* counters) {
    *counters = {};
    try {
        const qx::recorder::Counters all = qx::recorder::GetCounters();
        *counters = {all.recorded, all.refused, all.overwritten, all.exits, all.exitsRefused, all.cut};
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

qx_call qx_recorder_enter(qx_site* site, const char* package, const char* method, const qx_value* values, uint32_t kind,
                          const qx_struct* layout) {
    const QxCValues marked(values, kind, layout);
    unsigned char* memory =
        Begin(*site, package, method, [&marked](Location& location) { marked.DescribeCall(location); });
    if (memory == nullptr) return {};
    Encoder encoder(memory);
    marked.EncodeArguments(encoder, kAtEntry);
    const Ticket ticket = EndEntry(NumberOf(*site), encoder.Result());
    return {ticket.ordinal, ticket.attachment, kind, layout, values};
}

void qx_recorder_leave(qx_call* call, const void* result) {
    const QxCValues marked(call->values, call->kind, call->layout);
    unsigned char* memory = BeginExit({call->ordinal, call->attachment});
    if (memory != nullptr) {
        Encoder encoder(memory);
        marked.EncodeArguments(encoder, kAtExit);
        if (result != nullptr) marked.EncodeResult(encoder, result);
        EndExit(call->ordinal, encoder.Result());
    }
    call->attachment = 0;
}

void qx_recorder_log(qx_site* site, const char* package, const char* method, const qx_value* values) {
    const QxCValues marked(values, QX_KIND_NONE, nullptr);
    unsigned char* memory =
        Begin(*site, package, method, [&marked](Location& location) { marked.DescribeLog(location); });
    if (memory == nullptr) return;
    Encoder encoder(memory);
    marked.EncodeLog(encoder);
    EndLog(NumberOf(*site), encoder.Result());
}
}
