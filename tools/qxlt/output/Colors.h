// Colours of the text output: only for a terminal, and never when NO_COLOR is set.
#pragma once

#include <string>

namespace qxlt {

class Colors final {
public:
    // For what is written to that descriptor.
    explicit Colors(int fd);

    std::string Bold(const std::string& text) const { return Paint("1", text); }
    std::string Dim(const std::string& text) const { return Paint("2", text); }
    std::string Red(const std::string& text) const { return Paint("31", text); }
    std::string Green(const std::string& text) const { return Paint("32", text); }
    std::string Yellow(const std::string& text) const { return Paint("33", text); }

private:
    std::string Paint(const char* code, const std::string& text) const;

    bool m_on;
};

}  // namespace qxlt
