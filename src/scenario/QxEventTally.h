// Counts what becomes of each event, by its name.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>

#include "IQxEventObserver.h"

// One thread at a time.
class QxEventTally final : public IQxEventObserver {
public:
    // As much of a value is kept.
    static constexpr std::size_t kMaxValue = 256;

    struct Row {
        std::uint64_t seen = 0;     // evaluations
        std::uint64_t matched = 0;  // of these, with a value that the event asks for: it fired, or had done so before
        std::uint64_t fired = 0;
        std::uint64_t errors = 0;  // evaluations that threw
        std::string lastValue;     // of the one that fired last
        unsigned long long lastTime = 0;
    };
    using Rows = std::map<std::string, Row>;

    // Events of one name are one row. Elements of the script are known again until the next cycle only: by then another
    // script may have taken their places.
    void BeginCycle() { m_known.clear(); }

    // Gives the event a row before it is evaluated.
    void Expect(const std::string& event) { m_rows.try_emplace(event); }

    const Rows& All() const { return m_rows; }

    void OnEvent(const IQxData::_HSScriptPtr& event, unsigned long long key, const IQxData::HSCall& call,
                 QxOutcome outcome, const std::string& argument) override;
    void OnError(const IQxData::_HSScriptPtr& event, unsigned long long key, const IQxData::HSCall& call, QxStage stage,
                 const std::string& error) override;

private:
    Row& RowOf(const IQxData::_HSScriptPtr& event);

    Rows m_rows;
    std::unordered_map<const IQxData::_HSScriptPtr*, Row*> m_known;
};
