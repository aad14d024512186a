// Keeps what led to an event, and what followed: a capture for each time that it fires.
#pragma once

#include <cstdint>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "CaptureFolder.h"
#include "CaptureWriter.h"
#include "CycleRing.h"
#include "IRunPart.h"

namespace qxlt {

// A capture has the cycle in which the event fired, those before it that the ring holds, and those that follow. As long
// as it is being written the event begins no other: that it fires again is in the same capture.
class KeptFirings final : public IRunPart {
public:
    struct Options {
        std::vector<std::string> events;  // names or patterns
        std::uint64_t before = 10;        // cycles
        std::uint64_t after = 5;          //
        std::uint64_t memory = 16000000;  // what the dumps of the cycles before may take
        CaptureFolder::Bounds bounds;
    };

    // Throws a Failure (cannot start) when the folder cannot be written.
    KeptFirings(const std::string& folder, Options options);

    void OnBegin(const ProcessNames& processes, const RunStart& start) override;
    void OnProcess(const LateProcess& process) override;
    void OnCycle(std::uint64_t number, bool primes) override { m_ring.Begin(number, primes); }
    void OnDump(const RunDump& dump) override { m_ring.Add(dump); }
    void OnEvent(const EventView& view) override { Note(view.event); }
    void OnCycleEnd() override;
    void OnEnd() override;
    std::vector<HealthFigure> Health() const override;
    bool Failed() const override { return m_failed; }

    // The event has fired in the cycle in progress.
    void Note(const std::string& event);

private:
    struct Open {
        std::string event;
        std::string path;
        std::unique_ptr<CaptureWriter> writer;
        std::uint64_t left;   // cycles that are to follow
        std::uint64_t first;  // cycle, and
        std::uint64_t last;   // the last that was written; 0: none was
    };

    bool IsOpen(const std::string& event) const;
    void Begin(const std::string& event);
    std::optional<Open> Make(const std::string& event);
    bool Write(Open& capture, const HeldCycle& cycle);
    void Finish(const Open& capture);
    void Stop(const std::string& problem);
    void TellShort();
    std::uint64_t UnkeptLately() const { return m_unkept - m_unkeptBefore; }

    const Options m_options;
    CaptureFolder m_folder;
    CycleRing m_ring;
    ProcessNames m_processes;
    RunStart m_start;
    std::vector<LateProcess> m_late;
    std::vector<std::string> m_fired;  // in this cycle, each once
    std::list<Open> m_open;
    std::uint64_t m_kept = 0;
    std::uint64_t m_unkept = 0;        // firings that were not kept
    std::uint64_t m_unkeptBefore = 0;  // of these, those before the last that was kept
    bool m_stopped = false;            // nothing could be written the last time
    bool m_shortTold = false;
    bool m_failed = false;
};

}  // namespace qxlt
