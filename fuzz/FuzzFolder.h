// A folder for what a fuzzer has to hand over as files. It lies in memory where the machine has such a place: an input
// makes many files, and none of them is to outlive it.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

class FuzzFolder final {
public:
    // Throws std::system_error.
    FuzzFolder();
    FuzzFolder(const FuzzFolder&) = delete;
    FuzzFolder& operator=(const FuzzFolder&) = delete;
    // Removes the folder with all that is in it.
    ~FuzzFolder();

    std::filesystem::path Path(const std::string& name) const { return m_path / name; }

    // Writes the file, if a file can be written there. Returns its path.
    std::string Write(const std::string& name, const std::vector<char>& bytes) const;

    // Leaves the folder empty.
    void Clear() const;

private:
    std::filesystem::path m_path;
};
