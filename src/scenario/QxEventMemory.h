// What events remember between calls: the last value of each event, and the last result of each rising-edge condition.
// The memory is shared by all trackers of the process; each operation is one step that no other thread comes between.
#pragma once

#include <cstddef>
#include <map>
#include <string>

// By event name, for all scripts and trackers of the process. Several trackers' workers may use them: reading or
// writing them past QxEventMemory is for whoever knows that no tracker runs.
extern std::map<std::string, std::string>& m_EventValues;
extern std::map<std::string, bool>& m_DconditionValues;

class QxEventMemory final {
public:
    enum class Change { First, Same, Different };
    struct Value {
        Change change;
        std::size_t count;  // values remembered before this one
    };
    struct Result {
        bool known;
        bool previous;  // meaningful when known
    };

    // Remembers the value and says how it differs from the one before.
    static Value Exchange(const std::string& event, const std::string& value);

    // Remembers the value only if the event has none yet.
    static void Seed(const std::string& event, const std::string& value);

    // Remembers the result and gives the one before.
    static Result ExchangeResult(const std::string& event, bool result);

    // Forgets what is remembered under the name: the event begins anew. For rules that are changed while they run.
    static void Forget(const std::string& event);

    // Forgets everything: each event begins anew, as in a new process. The tracker itself never does.
    static void Clear();
};
