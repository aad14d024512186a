#include "MethodStatistics.h"

#include <fnmatch.h>

#include <algorithm>

namespace qxlt {

void MethodStatistics::Add(const CallView& call) {
    Method& method = MethodOf(call);
    method.interval.Add(call, IsError(call));
    if (m_choice.values && &method != &m_others) AddValues(call, method);
}

// Looked up by numbers first: putting a name together for each call would take longer than all else.
MethodStatistics::Method& MethodStatistics::MethodOf(const CallView& call) {
    const std::uint64_t number = std::uint64_t{call.call.pid} << 32U | call.call.locId;
    const auto known = m_sites.find(number);
    if (known != m_sites.end() && known->second->callerName == call.location.callerName &&
        known->second->packageName == call.location.packageName) {
        return *known->second;
    }
    if (m_sites.size() == kMostSites) m_sites.clear();
    return *(m_sites[number] = &FindMethod(call));
}

MethodStatistics::Method& MethodStatistics::FindMethod(const CallView& call) {
    const IQxData::_HSCallLocation& location = call.location;
    MethodKey key{call.process, location.packageName, location.callerName,
                  location.callerName.empty() ? call.call.locId : 0};
    const auto known = m_methods.find(key);
    if (known != m_methods.end()) return known->second;
    const std::size_t bytes = call.process.size() + location.packageName.size() + location.callerName.size();
    if (m_methods.size() == kMostMethods || bytes > m_nameBytesLeft) return m_others;
    m_nameBytesLeft -= bytes;
    Method& method = m_methods[std::move(key)];
    method.shown = MethodName(call);
    method.process = call.process;
    method.packageName = location.packageName;
    method.callerName = location.callerName;
    return method;
}

// A call that has not returned has no result yet.
bool MethodStatistics::IsError(const CallView& call) const {
    if (m_choice.errors.empty() || call.call.exitTime == 0) return false;
    const std::string result = ResultText(call);
    return !result.empty() && std::any_of(m_choice.errors.begin(), m_choice.errors.end(), [&](const std::string& glob) {
        return fnmatch(glob.c_str(), result.c_str(), 0) == 0;
    });
}

void MethodStatistics::AddValues(const CallView& call, Method& method) {
    for (const CallValue& value : ValuesOf(call)) {
        const Place place{value.moment, value.index};
        if (method.values.size() == kMostValues && method.values.count(place) == 0) continue;
        method.values[place].Add(ValueText(value), m_valueBytesLeft);
    }
}

void MethodStatistics::EndInterval() {
    const auto end = [](Method& method) {
        method.whole.Add(method.interval);
        method.interval = MethodNumbers();
    };
    for (auto& [key, method] : m_methods) end(method);
    end(m_others);
}

std::vector<MethodRow> MethodStatistics::Interval() const {
    return Rows(&Method::interval);
}

std::vector<MethodRow> MethodStatistics::Whole() const {
    return Rows(&Method::whole);
}

std::vector<MethodRow> MethodStatistics::Rows(MethodNumbers Method::*numbers) const {
    std::vector<MethodRow> rows;
    for (const auto& [key, method] : m_methods) rows.push_back(RowOf(method, method.*numbers));
    MethodRow others = RowOf(m_others, m_others.*numbers);
    others.method = "other methods";
    if (others.calls > 0) rows.push_back(std::move(others));
    return rows;
}

MethodRow MethodStatistics::RowOf(const Method& method, const MethodNumbers& numbers) {
    MethodRow row;
    row.method = method.shown;
    row.process = method.process;
    row.packageName = method.packageName;
    row.callerName = method.callerName;
    numbers.FillIn(row);
    for (const auto& [place, values] : method.values) {
        ValueRow& value = row.values.emplace_back();
        value.value = CallValue{place.first, place.second, nullptr, nullptr}.Name();
        values.FillIn(value);
    }
    return row;
}

}  // namespace qxlt
