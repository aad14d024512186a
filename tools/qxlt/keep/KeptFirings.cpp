#include "KeptFirings.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <utility>

#include "CallFilter.h"
#include "Failure.h"
#include "Messages.h"
#include "Text.h"

namespace qxlt {

KeptFirings::KeptFirings(const std::string& folder, Options options)
    : m_options(std::move(options)), m_folder(folder, m_options.bounds), m_ring(m_options.before, m_options.memory) {}

void KeptFirings::OnBegin(const ProcessNames& processes, const RunStart& start) {
    RequireKeptNames(processes);
    m_processes = processes;
    m_start = start;
}

// Those that are being written have it from this cycle on, later ones from the beginning.
void KeptFirings::OnProcess(const LateProcess& process) {
    m_late.push_back(process);
    for (const Open& capture : m_open) capture.writer->AddProcess(process);
}

void KeptFirings::Note(const std::string& event) {
    const bool isWanted = std::any_of(m_options.events.begin(), m_options.events.end(),
                                      [&event](const std::string& pattern) { return MatchesPattern(pattern, event); });
    if (isWanted && std::find(m_fired.begin(), m_fired.end(), event) == m_fired.end()) m_fired.push_back(event);
}

// What is being written goes on first: an event that fires in the last of its cycles is in the capture.
void KeptFirings::OnCycleEnd() {
    const std::vector<std::string> fired = std::exchange(m_fired, {});
    std::vector<std::string> fresh;
    std::copy_if(fired.begin(), fired.end(), std::back_inserter(fresh),
                 [this](const std::string& event) { return !IsOpen(event); });
    for (auto capture = m_open.begin(); capture != m_open.end();) {
        const bool goesOn = Write(*capture, m_ring.Cycles().back()) && --capture->left > 0;
        if (!goesOn) Finish(*capture);
        capture = goesOn ? std::next(capture) : m_open.erase(capture);
    }
    for (const std::string& event : fresh) Begin(event);
}

bool KeptFirings::IsOpen(const std::string& event) const {
    return std::any_of(m_open.begin(), m_open.end(), [&event](const Open& capture) { return capture.event == event; });
}

// A capture that does not hold the cycle of its event is none.
void KeptFirings::Begin(const std::string& event) {
    std::optional<Open> capture = Make(event);
    const bool isWhole = capture && std::all_of(m_ring.Cycles().begin(), m_ring.Cycles().end(),
                                                [&](const HeldCycle& cycle) { return Write(*capture, cycle); });
    if (!isWhole) {
        ++m_unkept;
        m_failed = true;
        if (capture) m_folder.Remove(capture->path);
        return;
    }
    if (std::exchange(m_stopped, false)) {
        PrintWarning("captures can be written again; " + Counted(UnkeptLately(), "event") + " not kept");
        m_unkeptBefore = m_unkept;
    }
    if (m_ring.IsShort()) TellShort();
    ++m_kept;
    if (capture->left == 0) return Finish(*capture);
    m_open.push_back(std::move(*capture));
}

std::optional<KeptFirings::Open> KeptFirings::Make(const std::string& event) {
    if (!m_folder.MakeRoomForOne()) {
        Stop("--keep-most " + std::to_string(m_options.bounds.captures) + ": all of them are being written");
        return std::nullopt;
    }
    const std::string path = m_folder.Make(event);
    if (path.empty()) {
        Stop(std::string("no new capture: ") + std::strerror(errno));
        return std::nullopt;
    }
    Open capture{event, path, nullptr, m_options.after, m_ring.Cycles().front().number, 0};
    try {
        capture.writer = std::make_unique<CaptureWriter>(path, [this](const std::string& problem) { Stop(problem); });
    } catch (const Failure& failure) {
        Stop(failure.what());
    }
    const KeptFor reason{event, m_ring.Cycles().back().number};
    if (capture.writer && capture.writer->TryBegin(m_processes, m_start, reason)) {
        for (const LateProcess& late : m_late) capture.writer->AddProcess(late);
        return capture;
    }
    m_folder.Remove(path);
    return std::nullopt;
}

bool KeptFirings::Write(Open& capture, const HeldCycle& cycle) {
    if (!m_folder.MakeRoomFor(cycle.size)) {
        Stop("--keep-size " + std::to_string(m_options.bounds.bytes) + ": cycle " + std::to_string(cycle.number) +
             " has no room beside what is being written");
        return false;
    }
    CaptureWriter& writer = *capture.writer;
    const std::uint64_t before = capture.last == 0 ? 0 : writer.Size();
    writer.BeginCycle(cycle.number);
    for (const HeldDump& dump : cycle.dumps) {
        writer.AddDump(dump.process, dump.bytes, dump.counts);
        writer.AddChanges(dump.process, dump.changes);
    }
    writer.EndCycle();
    if (writer.Failed()) return false;
    m_folder.Grow(capture.path, writer.Size() - before);
    capture.last = cycle.number;
    return true;
}

void KeptFirings::Finish(const Open& capture) {
    m_folder.Close(capture.path);
    if (capture.writer->Failed()) m_failed = true;
    PrintNote(capture.event + " is kept in " + capture.path + ", cycles " + std::to_string(capture.first) + " to " +
              std::to_string(capture.last));
}

// Until something could be written again it is told once.
void KeptFirings::Stop(const std::string& problem) {
    m_failed = true;
    if (!std::exchange(m_stopped, true)) {
        PrintError(problem + "; captures are left out until they can be written, tracking goes on");
    }
}

void KeptFirings::TellShort() {
    if (std::exchange(m_shortTold, true)) return;
    PrintWarning("cycle " + std::to_string(m_ring.Cycles().back().number) + ": the " +
                 Counted(m_options.before, "cycle") + " before take more than " + std::to_string(m_options.memory) +
                 " bytes; the oldest are left out. --keep-memory gives them more");
}

void KeptFirings::OnEnd() {
    for (const Open& capture : m_open) Finish(capture);
    m_open.clear();
    if (UnkeptLately() > 0) PrintWarning(Counted(UnkeptLately(), "event") + " not kept");
}

std::vector<HealthFigure> KeptFirings::Health() const {
    return {{"capturesKept", "qxlt_captures_kept_total", "Firings of which a capture was begun.", m_kept},
            {"firingsNotKept", "qxlt_firings_not_kept_total", "Firings of which none could be.", m_unkept}};
}

}  // namespace qxlt
