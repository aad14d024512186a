// Why an event fired: what its scenario asks of the value, and what the value was before.
#pragma once

#include <map>
#include <string>

#include "IQxEventObserver.h"
#include "QxEventWords.h"
#include "ScriptPlaces.h"

namespace qxlt {

// Watches the evaluation. What events compare with is kept anew here, by their names, as the evaluation keeps it: by
// the time that it tells of a call it has forgotten the value before.
class FiringReasons final : public IQxEventObserver {
public:
    // The places of the events' scripts, which must outlive the watching.
    void Watch(const ScriptPlaces& places) { m_places = &places; }

    // Of the event that fired last: "volume.xml:4: condition > "80" holds; before, with "45", it did not". Fit for a
    // terminal.
    const std::string& Last() const { return m_last; }

    void OnEvent(const IQxData::_HSScriptPtr& event, unsigned long long key, const IQxData::HSCall& call,
                 QxOutcome outcome, const std::string& argument) override;

private:
    using Values = std::map<std::string, std::string>;

    static bool WasCompared(QxOutcome outcome);
    std::string Reason(const QxEventWords& words) const;
    std::string ChangeReason(const std::string& name) const;
    std::string EdgeReason(const QxEventWords& words) const;
    void Remember(const QxEventWords& words, QxOutcome outcome, const std::string& argument);

    const ScriptPlaces* m_places = nullptr;
    Values m_values;    // that CHANGED compares with
    Values m_compared;  // by D-CONDITIONAL events: the last value that their condition was consulted for
    std::string m_last;
};

}  // namespace qxlt
