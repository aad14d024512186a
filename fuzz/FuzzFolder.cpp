#include "FuzzFolder.h"

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <system_error>

namespace fs = std::filesystem;

FuzzFolder::FuzzFolder() {
    const fs::path memory = "/dev/shm";
    std::string name = ((fs::is_directory(memory) ? memory : fs::temp_directory_path()) / "qx-fuzz-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::system_error(errno, std::generic_category(), name);
    m_path = name;
}

FuzzFolder::~FuzzFolder() {
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
}

std::string FuzzFolder::Write(const std::string& name, const std::vector<char>& bytes) const {
    const std::string path = Path(name).string();
    std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return path;
}

void FuzzFolder::Clear() const {
    for (const fs::directory_entry& entry : fs::directory_iterator(m_path)) fs::remove_all(entry.path());
}
