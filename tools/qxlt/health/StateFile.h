// A file that is written again and again while others read it: each time a new one takes the place of the old one, so
// that a reader has one of them whole.
#pragma once

#include <string>
#include <string_view>

namespace qxlt {

class StateFile final {
public:
    // An empty path is no file: nothing is written.
    explicit StateFile(std::string path);

    bool IsAny() const { return !m_path.empty(); }
    const std::string& Path() const { return m_path; }

    // Everybody may read it, whatever the user's mask for new files. Returns why it could not be written, empty when it
    // was.
    std::string Write(std::string_view content) const;

private:
    const std::string m_path;
    const std::string m_next;  // beside it, where the new one is written
};

}  // namespace qxlt
