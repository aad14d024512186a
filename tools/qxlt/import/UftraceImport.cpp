// What uftrace recorded, as its own dump command prints it.
#include <algorithm>
#include <filesystem>
#include <utility>

#include "CallSpool.h"
#include "ChildLines.h"
#include "Failure.h"
#include "Import.h"
#include "ImportSummary.h"
#include "ImportedCapture.h"
#include "Messages.h"
#include "OpenCalls.h"
#include "Progress.h"
#include "ReadFile.h"
#include "Text.h"
#include "UftraceTasks.h"
#include "UftraceText.h"

namespace qxlt {

namespace {

constexpr std::size_t kMostTaskBytes = 16 << 20;

// What is printed is changed by the options in this file, which lies with the recording: it is somebody else's.
void RequireNoOptions(const std::string& directory) {
    const std::string file = directory + "/default.opts";
    if (ReadFileIfThere(file).find_first_not_of(" \n") == std::string::npos) return;
    throw Failure(kCannotStart, file + ": holds options of uftrace, which change what it prints; empty the file");
}

// Whatever else is missing, this is in every recording.
std::string ReadTasks(const std::string& directory) {
    const std::string file = directory + "/task.txt";
    if (!std::filesystem::is_regular_file(file)) {
        throw Failure(kCannotStart, directory + ": holds no task.txt; name a directory that uftrace record wrote");
    }
    return ReadFile(file, kMostTaskBytes);
}

class UftraceImport final {
public:
    explicit UftraceImport(const ImportOptions& options)
        : m_options(options), m_tasks(ReadTasks(options.directory)), m_capture(options.capture) {}

    int Perform() {
        UftraceText text([this](const UftraceRecord& record) { Take(record); });
        const ChildEnd end =
            ReadChildLines({"uftrace", "dump", "-d", m_options.directory}, "install it (Debian's package is uftrace)",
                           UftraceText::kMostLine, [&text](std::string_view line) { text.Take(line); });
        text.Finish();
        EndThread();
        if (!end.isGood) {
            PrintError(m_options.directory + ": uftrace dump: " + Printable(end.error) +
                       "; what it printed before is kept");
        }
        if (m_lost > 0) PrintWarning(Counted(m_lost, "record") + " lost by uftrace; give it a larger --buffer");
        m_spool.Merge([this](const ImportedCapture::Packed& call) { m_capture.Add(call); });
        return FinishImport(m_capture, m_options.capture, std::nullopt, end.isGood);
    }

private:
    void Take(const UftraceRecord& record) {
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

    void BeginThread(std::uint64_t thread) {
        m_progress.Show("thread " + std::to_string(thread));
        const std::uint32_t process = m_tasks.ProcessOf(thread);
        m_package = m_tasks.NameOf(process);
        m_thread = m_capture.Thread(process, m_package, thread,
                                    process == thread ? m_package : "thread " + std::to_string(thread));
    }

    void EndThread() {
        m_open.EndAll();
        m_spool.EndThread();
        m_last = 0;
    }

    void Leave(const UftraceRecord& record) {
        ImportedCall::Exit exit;
        exit.time = record.time;
        if (!record.values.empty()) exit.result = record.values.front();
        if (!m_open.Leave(m_thread, record.method, std::move(exit))) m_capture.DropExit(m_thread);
    }

    // One that did not return ended, for all that is known, when its thread was heard of last.
    void PutAside(const ImportedCall& call) {
        const std::optional<ImportedCapture::Packed> packed = m_capture.Pack(m_thread, call);
        if (packed) m_spool.Add(call.exit ? call.exit->time : m_last, *packed);
    }

    const ImportOptions& m_options;
    const UftraceTasks m_tasks;
    ImportedCapture m_capture;
    CallSpool m_spool{m_options.capture};
    OpenCalls m_open{[this](std::uint16_t, const ImportedCall& call) { PutAside(call); }};
    Progress m_progress;
    std::uint16_t m_thread = 0;  // that is being read
    std::string m_package;
    std::uint64_t m_last = 0;  // time of that thread
    std::uint64_t m_lost = 0;
};

}  // namespace

int ImportUftrace(const ImportOptions& options) {
    RequireNoOptions(options.directory);
    return UftraceImport(options).Perform();
}

}  // namespace qxlt
