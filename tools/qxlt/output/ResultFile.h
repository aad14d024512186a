// A file that results are written to in place of standard output.
#pragma once

#include <fstream>
#include <string>

namespace qxlt {

class ResultFile final {
public:
    // Makes the file, in place of one that is there. Throws a Failure (cannot start).
    explicit ResultFile(std::string path);
    ResultFile(const ResultFile&) = delete;
    ResultFile& operator=(const ResultFile&) = delete;

    void Write(const std::string& bytes) { m_file << bytes; }
    void Line(const std::string& text) { m_file << text << '\n'; }

    // Throws a Failure (input wrong) when not all was written.
    void Close();

private:
    const std::string m_path;
    std::ofstream m_file;
};

}  // namespace qxlt
