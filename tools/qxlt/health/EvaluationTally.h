// Counts the calls that are evaluated, by process, and what becomes of the events.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "IQxEventObserver.h"
#include "QxEventTally.h"

namespace qxlt {

// One thread at a time.
class EvaluationTally final : public IQxEventObserver {
public:
    // These events are there from the beginning.
    explicit EvaluationTally(const std::vector<std::string>& events) { Expect(events); }
    EvaluationTally(const EvaluationTally&) = delete;
    EvaluationTally& operator=(const EvaluationTally&) = delete;

    // And these from now on.
    void Expect(const std::vector<std::string>& events) {
        for (const std::string& event : events) m_events.Expect(event);
    }

    void BeginCycle() { m_events.BeginCycle(); }

    const QxEventTally::Rows& Events() const { return m_events.All(); }
    // By the id that the store knows the process by.
    const std::map<unsigned short, std::uint64_t>& Calls() const { return m_calls; }

    void OnCall(unsigned long long /*key*/, const IQxData::HSCall& call, const std::string& /*callerName*/) override {
        if (m_last == nullptr || m_lastPid != call.pid) m_last = &m_calls[call.pid];
        m_lastPid = call.pid;
        ++*m_last;
    }
    void OnEvent(const IQxData::_HSScriptPtr& event, unsigned long long key, const IQxData::HSCall& call,
                 QxOutcome outcome, const std::string& argument) override {
        m_events.OnEvent(event, key, call, outcome, argument);
    }
    void OnError(const IQxData::_HSScriptPtr& event, unsigned long long key, const IQxData::HSCall& call, QxStage stage,
                 const std::string& error) override {
        m_events.OnError(event, key, call, stage, error);
    }

private:
    QxEventTally m_events;
    std::map<unsigned short, std::uint64_t> m_calls;
    unsigned short m_lastPid = 0;
    std::uint64_t* m_last = nullptr;  // that of m_lastPid
};

}  // namespace qxlt
