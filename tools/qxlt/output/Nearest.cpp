#include "Nearest.h"

#include <algorithm>
#include <numeric>

namespace qxlt {

namespace {

constexpr std::size_t kCompared = 64;  // bytes of each text; the work grows with the product

// One row of the table of distances for each byte of `left`. With `anywhere`, the match may begin and end at any place
// of `right`.
std::uint64_t Distance(const std::string& left, const std::string& right, bool anywhere) {
    std::vector<std::uint64_t> row(right.size() + 1);
    if (!anywhere) std::iota(row.begin(), row.end(), std::uint64_t{0});
    for (const char byte : left) {
        std::uint64_t diagonal = row[0]++;
        for (std::size_t i = 0; i < right.size(); ++i) {
            const std::uint64_t replaced = diagonal + (byte == right[i] ? 0 : 1);
            diagonal = row[i + 1];
            row[i + 1] = std::min({replaced, diagonal + 1, row[i] + 1});
        }
    }
    return anywhere ? *std::min_element(row.begin(), row.end()) : row.back();
}

}  // namespace

std::uint64_t EditDistance(const std::string& left, const std::string& right) {
    return Distance(left.substr(0, kCompared), right.substr(0, kCompared), false);
}

std::uint64_t PartDistance(const std::string& part, const std::string& text) {
    return Distance(part.substr(0, kCompared), text.substr(0, kCompared * 4), true);
}

std::string Suggestion(const std::string& text, const std::vector<std::string>& candidates) {
    const std::uint64_t tolerance = 1 + text.size() / 3;
    std::string best;
    std::uint64_t bestDistance = tolerance + 1;
    for (const std::string& candidate : candidates) {
        const std::uint64_t distance = EditDistance(text, candidate);
        if (distance >= bestDistance) continue;
        best = candidate;
        bestDistance = distance;
    }
    return best;
}

void NearestValues::Add(std::uint64_t distance, const std::string& value) {
    if (m_entries.size() == kKept && m_entries.back().distance <= distance) return;
    const auto same = [&](const Entry& entry) { return entry.value == value; };
    if (std::any_of(m_entries.begin(), m_entries.end(), same)) return;
    const auto after = std::upper_bound(m_entries.begin(), m_entries.end(), distance,
                                        [](std::uint64_t limit, const Entry& entry) { return limit < entry.distance; });
    m_entries.insert(after, {distance, value});
    if (m_entries.size() > kKept) m_entries.pop_back();
}

std::vector<std::string> NearestValues::Values() const {
    std::vector<std::string> values;
    for (const Entry& entry : m_entries) values.push_back(entry.value);
    return values;
}

}  // namespace qxlt
