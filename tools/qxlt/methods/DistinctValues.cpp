#include "DistinctValues.h"

#include <algorithm>
#include <tuple>

#include "Text.h"

namespace qxlt {

namespace {

constexpr std::size_t kShown = 5;
constexpr std::size_t kEntryBytes = 64;  // what the table takes for each besides its text

}  // namespace

void DistinctValues::Add(const std::string& value, std::size_t& bytesLeft) {
    const std::string text = value.size() <= kLongest ? value : Cut(value, kLongest);
    const auto known = m_counts.find(text);
    if (known != m_counts.end()) {
        ++known->second;
        return;
    }
    const std::size_t bytes = text.size() + kEntryBytes;
    m_more = m_more || m_counts.size() == kMost || bytes > bytesLeft;
    if (m_more) return;
    bytesLeft -= bytes;
    m_counts.emplace(text, 1);
}

void DistinctValues::FillIn(ValueRow& row) const {
    row.distinct = m_counts.size();
    row.more = m_more;
    row.most.assign(m_counts.begin(), m_counts.end());
    std::sort(row.most.begin(), row.most.end(), [](const auto& left, const auto& right) {
        return std::tie(right.second, left.first) < std::tie(left.second, right.first);
    });
    row.most.resize(std::min(row.most.size(), kShown));
}

}  // namespace qxlt
