// A file that results are written to in place of standard output.
#pragma once

#include <fstream>
#include <string>
#include <string_view>

namespace qxlt {

class ResultFile final {
public:
    // Makes the file, in place of one that is there. `again` is what a person is told to do when there was no room for
    // all of it: "export". Throws a Failure (cannot start).
    ResultFile(std::string path, std::string again);
    ResultFile(const ResultFile&) = delete;
    ResultFile& operator=(const ResultFile&) = delete;

    void Write(std::string_view bytes) { m_file << bytes; }
    void Line(const std::string& text) { m_file << text << '\n'; }

    // Throws a Failure (input wrong) when not all was written.
    void Close();

private:
    const std::string m_path;
    const std::string m_again;
    std::ofstream m_file;
};

}  // namespace qxlt
