#include "UftraceCalls.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace qxlt {

void UftraceCalls::Add(const UftraceRecord& record) {
    m_last = std::max(m_last, record.time);
    switch (record.kind) {
        case UftraceRecord::Kind::Thread:
            EndThread();
            BeginThread(record.thread);
            break;
        case UftraceRecord::Kind::Entry:
            m_open.Enter(m_thread, {record.method, m_package, record.time, record.values, std::nullopt});
            break;
        case UftraceRecord::Kind::Exit:
            Leave(record);
            break;
        case UftraceRecord::Kind::Lost:
            m_lost += record.lost;
            break;
    }
}

void UftraceCalls::BeginThread(std::uint64_t thread) {
    m_progress.Show("thread " + std::to_string(thread));
    const std::uint32_t process = m_tasks.ProcessOf(thread);
    m_package = m_tasks.NameOf(process);
    m_thread = m_capture.Thread(process, m_package, thread,
                                process == thread ? m_package : "thread " + std::to_string(thread));
}

void UftraceCalls::EndThread() {
    m_open.EndAll();
    m_spool.EndThread();
    m_last = 0;
}

void UftraceCalls::Leave(const UftraceRecord& record) {
    ImportedCall::Exit exit;
    exit.time = record.time;
    if (!record.values.empty()) exit.result = record.values.front();
    if (!m_open.Leave(m_thread, record.method, std::move(exit))) m_capture.DropExit(m_thread);
}

// One that did not return ended, for all that is known, when its thread was heard of last.
void UftraceCalls::PutAside(const ImportedCall& call) {
    const std::optional<ImportedCapture::Packed> packed = m_capture.Pack(m_thread, call);
    if (packed) m_spool.Add(call.exit ? call.exit->time : m_last, *packed);
}

void UftraceCalls::Finish() {
    m_text.Finish();
    EndThread();
    m_spool.Merge([this](const ImportedCapture::Packed& call) { m_capture.Add(call); });
}

}  // namespace qxlt
