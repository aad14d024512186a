// Keeps the dumps of all cycles of a live run in a capture.
#pragma once

#include <string>

#include "CaptureWriter.h"
#include "IRunPart.h"

namespace qxlt {

class KeptDumps final : public IRunPart {
public:
    // Makes the directory; see CaptureWriter.
    explicit KeptDumps(const std::string& directory) : m_capture(directory) {}

    void OnBegin(const ProcessNames& processes, const RunStart& start) override { m_capture.Begin(processes, start); }
    void OnProcess(const LateProcess& process) override { m_capture.AddProcess(process); }
    void OnCycle(std::uint64_t number, bool /*primes*/) override { m_capture.BeginCycle(number); }
    void OnDump(const RunDump& dump) override {
        m_capture.AddDump(dump.process, dump.bytes, dump.counts);
        m_capture.AddChanges(dump.process, dump.changes);
    }
    void OnCycleEnd() override { m_capture.EndCycle(); }
    bool Failed() const override { return m_capture.Failed(); }

private:
    CaptureWriter m_capture;
};

}  // namespace qxlt
