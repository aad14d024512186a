// The numbers of all methods: of an interval, and of all intervals that have ended. Memory is bounded whatever dumps
// bring: so many methods have numbers of their own, and those that come later share a row.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <tuple>
#include <unordered_map>
#include <utility>
#include <vector>

#include "CallValues.h"
#include "CallView.h"
#include "DistinctValues.h"
#include "MethodNumbers.h"
#include "MethodRow.h"

namespace qxlt {

// What is counted besides calls and their durations.
struct StatisticsChoice {
    std::vector<std::string> errors;  // patterns, as of a shell, of the results that are errors
    bool values = false;              // which values calls carry
};

class MethodStatistics final {
public:
    // About as many call sites as the dumps of one process describe.
    static constexpr std::size_t kMostMethods = 10000;

    explicit MethodStatistics(StatisticsChoice choice) : m_choice(std::move(choice)) {}
    MethodStatistics(const MethodStatistics&) = delete;
    MethodStatistics& operator=(const MethodStatistics&) = delete;

    // Counts the call in the interval.
    void Add(const CallView& call);

    // What follows belongs to the next interval.
    void EndInterval();

    // A row for each method that was called so far, by process and name: the numbers of the interval in progress, or
    // those of all that have ended, which alone have values.
    std::vector<MethodRow> Interval() const;
    std::vector<MethodRow> Whole() const;

private:
    using Place = std::pair<CallValue::Moment, std::size_t>;

    struct Method {
        std::string shown;
        std::string process;
        std::string packageName;
        std::string callerName;
        MethodNumbers interval;
        MethodNumbers whole;
        std::map<Place, DistinctValues> values;
    };
    // The location's number counts where it has no name.
    using MethodKey = std::tuple<std::string, std::string, std::string, std::uint32_t>;

    static constexpr std::size_t kMostSites = 65536;
    static constexpr std::size_t kMostValues = 64;  // of one method

    Method& MethodOf(const CallView& call);
    Method& FindMethod(const CallView& call);
    bool IsError(const CallView& call) const;
    void AddValues(const CallView& call, Method& method);
    static MethodRow RowOf(const Method& method, const MethodNumbers& numbers);
    std::vector<MethodRow> Rows(MethodNumbers Method::*numbers) const;

    const StatisticsChoice m_choice;
    std::map<MethodKey, Method> m_methods;
    Method m_others;  // all that have no numbers of their own
    // Of call sites, by process and number. A site may have been described anew since.
    std::unordered_map<std::uint64_t, Method*> m_sites;
    std::size_t m_nameBytesLeft = std::size_t{4} << 20U;
    std::size_t m_valueBytesLeft = std::size_t{32} << 20U;
};

}  // namespace qxlt
