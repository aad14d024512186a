// The calls of a recording of uftrace: from the lines that are printed of it into a capture.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "CallSpool.h"
#include "ImportedCapture.h"
#include "OpenCalls.h"
#include "Progress.h"
#include "UftraceTasks.h"
#include "UftraceText.h"

namespace qxlt {

class UftraceCalls final {
public:
    // `tasks` is the text of the recording's task.txt. Calls are put aside in the directory, which the capture may be
    // made in; see CallSpool. The capture must outlive this.
    UftraceCalls(const std::string& tasks, const std::string& directory, ImportedCapture& capture)
        : m_tasks(tasks), m_capture(capture), m_spool(directory) {}
    UftraceCalls(const UftraceCalls&) = delete;
    UftraceCalls& operator=(const UftraceCalls&) = delete;

    // The next line, without its end.
    void Take(std::string_view line) { m_text.Take(line); }

    // After the last line: the calls go into the capture, in the order in which they ended.
    void Finish();

    // How many records uftrace says it lost.
    std::uint64_t Lost() const { return m_lost; }

private:
    void Add(const UftraceRecord& record);
    void BeginThread(std::uint64_t thread);
    void EndThread();
    void Leave(const UftraceRecord& record);
    void PutAside(const ImportedCall& call);

    const UftraceTasks m_tasks;
    ImportedCapture& m_capture;
    CallSpool m_spool;
    OpenCalls m_open{[this](std::uint16_t, const ImportedCall& call) { PutAside(call); }};
    UftraceText m_text{[this](const UftraceRecord& record) { Add(record); }};
    Progress m_progress;
    std::uint16_t m_thread = 0;  // that is being read
    std::string m_package;
    std::uint64_t m_last = 0;  // time of that thread
    std::uint64_t m_lost = 0;
};

}  // namespace qxlt
