// How near one text is to another, and the nearest of many.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qxlt {

// The number of single-character changes that make one text of the other. Of long texts only the beginning counts.
std::uint64_t EditDistance(const std::string& left, const std::string& right);

// The same between `part` and that piece of `text` which is nearest to it.
std::uint64_t PartDistance(const std::string& part, const std::string& text);

// The one of `candidates` that was most likely meant by `text`; empty when none is near.
std::string Suggestion(const std::string& text, const std::vector<std::string>& candidates);

// Keeps the few nearest of the values that it is shown, each once, the nearest first.
class NearestValues final {
public:
    void Add(std::uint64_t distance, const std::string& value);
    std::vector<std::string> Values() const;

private:
    static constexpr std::size_t kKept = 3;

    struct Entry {
        std::uint64_t distance;
        std::string value;
    };
    std::vector<Entry> m_entries;
};

}  // namespace qxlt
