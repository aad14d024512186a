// Which events of a trace are the entry and the exit of a call, what call that is, and which of their fields are its
// values: by the names that events usually have, and ahead of these by what a map file says.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace qxlt {

// Names may hold one '*', which stands for any text and is the same in both of a pair.
struct EventRule {
    std::string entry;
    std::string exit;                    // empty: the entry is all there is
    std::string method;                  // empty: what the star stands for, without the provider
    std::string methodField;             // the field whose value is the method, in place of it
    std::optional<std::string> package;  // nothing: the provider
    // The names of the fields; nothing: the entry's are `in`; of the exit's one that is named like a result, or the
    // only one, is `ret`, and the others are `out`.
    std::optional<std::vector<std::string>> in;
    std::optional<std::vector<std::string>> out;
    std::optional<std::string> ret;
};

// The fields of an event, or of what is recorded with it, that tell who made a call: the first that there is.
struct MakerFields {
    std::vector<std::string> process = {"procname", "process"};
    std::vector<std::string> processId = {"vpid", "pid"};
    std::vector<std::string> threadId = {"vtid", "tid"};
    std::vector<std::string> thread = {"thread", "procname"};
};

// What the event of a name is.
struct EventMeaning {
    enum class Kind { Entry, Exit, Single };

    Kind kind = Kind::Single;
    std::string method;
    std::string package;
    const EventRule* rule = nullptr;  // nothing but its names; lives as long as the rules
};

class EventRules final {
public:
    // The names that events usually have.
    EventRules();

    // Puts what a map file says ahead of that. Throws a Failure (cannot start) that tells the place of what it is not.
    void Read(const std::string& file);

    // Whether the trace has an event of that name: one without its partner is a call by itself.
    using Exists = std::function<bool(const std::string& name)>;
    EventMeaning MeaningOf(const std::string& event, const Exists& exists) const;

    const MakerFields& Makers() const { return m_makers; }

private:
    std::vector<EventRule> m_rules;
    MakerFields m_makers;
};

}  // namespace qxlt
