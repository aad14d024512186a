// Tells once that lines cannot be kept, and how many were lost when they can be again.
#pragma once

#include <cstdint>
#include <string>

namespace qxlt {

class LostLines final {
public:
    // `place` is where the lines go, as a person knows it.
    explicit LostLines(std::string place);

    // A line was lost, for that reason.
    void Lose(const std::string& why);

    // A line was kept.
    void Keep();

    // No line comes any more.
    void End();

    bool Any() const { return m_any; }

private:
    const std::string m_place;
    std::uint64_t m_lost = 0;  // since a line was kept
    bool m_any = false;
};

}  // namespace qxlt
