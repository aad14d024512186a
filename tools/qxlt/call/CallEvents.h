// Keeps the scenario that --call stands for up with what is recorded: a pattern's methods become known while the run
// goes on.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "CallScript.h"
#include "CallView.h"
#include "IQxData.h"

namespace qxlt {

class CallEvents final {
public:
    // Takes a line for the user.
    using Tell = std::function<void(const std::string& text)>;

    // `root` is the loaded scripts' top element, whose last actions are those of `script`. Both must outlive this.
    CallEvents(const CallScript& script, IQxData::_HSScriptPtr& root, Tell tell);

    // Other scripts have taken the place of those that were loaded, with the same last actions. What the old ones held
    // is still there, and no longer needed afterwards.
    void MoveTo(IQxData::_HSScriptPtr& root);

    // A method is recorded: from now on its calls are evaluated if it is meant. Not while a trace pass runs.
    void AddMethod(const IQxData::_HSCallLocation& location);

    // Whether the event is to be left out for the call, whatever comes of it: its condition is about values of another
    // kind than calls from there hold, and would compare what has no meaning. Nothing: Look is to find out.
    std::optional<bool> LeavesOut(const IQxData::_HSScriptPtr& event, const IQxData::HSCall& call) const;

    // The same for the first call from a location. Tells of this and of other misfits.
    bool Look(const IQxData::_HSScriptPtr& event, const CallView& call);

    // Tells of methods that were asked for and are not recorded so far, with what may have been meant.
    void TellMissing() const;

private:
    static constexpr std::size_t kMostMethods = 10000;  // names kept; a hostile dump has any number of them

    bool IsMisfit(const IQxData::_HSScriptPtr& event, const CallView& call) const;
    void TakeActions(IQxData::_HSScriptPtr& root);
    void AddTo(std::size_t action, const MethodNames::value_type& named);

    const CallScript& m_script;
    const Tell m_tell;
    std::vector<IQxData::_HSScriptPtr*> m_actions;  // of the scripts' calls, in their order
    std::vector<std::set<std::string>> m_added;     // to each of these
    std::unordered_map<const IQxData::_HSScriptPtr*, const WhereCondition*> m_conditions;  // by event
    std::map<std::pair<const IQxData::_HSScriptPtr*, std::uint64_t>, bool> m_leftOut;      // by event and location
    MethodNames m_methods;                                                                 // recorded so far
};

}  // namespace qxlt
