// The scenario that --call and --where stand for: an action for each method that is asked for, with an event for each
// condition.
#pragma once

#include <set>
#include <string>
#include <utility>
#include <vector>

#include "WhereCondition.h"

namespace qxlt {

// Recorded methods: the package and the name of each.
using MethodNames = std::set<std::pair<std::string, std::string>>;

// As it was asked for on the command line.
struct CallChoice {
    std::vector<std::string> calls;   // methods, by name or pattern
    std::vector<std::string> wheres;  // conditions
};

class CallScript final {
public:
    // One that asks for nothing.
    CallScript() = default;

    // Throws a Failure (cannot start) for what no scenario can say, and for conditions without a method.
    explicit CallScript(const CallChoice& choice);

    // What was asked for, each once; an action for each stands in the script, in this order.
    const std::vector<std::string>& Calls() const { return m_calls; }

    // Each action has an event for each of these, in this order; without any it has one that fires for all calls.
    const std::vector<WhereCondition>& Conditions() const { return m_conditions; }

    // What the events tell apart are called by.
    std::string EventName(const std::string& call, const WhereCondition* condition) const;

    // The scenario's text; empty when nothing is asked for. A method that is written out is watched under its name. For
    // a pattern those of `methods` that match are, and a comment says so when there is none. The actions have
    // `processes` watched.
    std::string Text(const MethodNames& methods = {}, const std::vector<std::string>& processes = {}) const;

private:
    std::string Action(const std::string& call, const MethodNames& methods, const std::string& process) const;
    std::string Event(const std::string& call, const WhereCondition* condition) const;

    std::vector<std::string> m_calls;
    std::vector<WhereCondition> m_conditions;
};

// Whether more than the method of that very name may be meant: there is a wildcard in it, or a package before it.
bool IsCallPattern(const std::string& call);

}  // namespace qxlt
