#include "TraceFilter.h"

#include <fnmatch.h>

#include <algorithm>

namespace qxlt {

namespace {

bool Matches(const std::string& pattern, const std::string& text) {
    return fnmatch(pattern.c_str(), text.c_str(), 0) == 0;
}

bool IsOfMethod(const std::string& pattern, const IQxData::_HSCallLocation& location) {
    return pattern.empty() || Matches(pattern, location.callerName) ||
           Matches(pattern, location.packageName + "." + location.callerName);
}

bool IsOfProcess(const std::vector<std::string>& patterns, const std::string& process) {
    return patterns.empty() || std::any_of(patterns.begin(), patterns.end(), [&process](const std::string& pattern) {
               return Matches(pattern, process);
           });
}

bool IsOfThread(const std::string& pattern, const CallView& call) {
    return pattern.empty() || Matches(pattern, std::string(call.thread)) || pattern == std::to_string(call.call.tid);
}

}  // namespace

bool TraceFilter::Passes(const CallView& call) const {
    if (longerThan > 0 && DurationOf(call.call).value_or(0) <= longerThan) return false;
    return IsOfMethod(method, call.location) && IsOfProcess(processes, call.process) && IsOfThread(thread, call);
}

}  // namespace qxlt
