#include "Workplace.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

#include "DumpWriter.h"

namespace fs = std::filesystem;

Workplace::Workplace() : m_path((fs::temp_directory_path() / "qxlt-XXXXXX").string()) {
    if (mkdtemp(m_path.data()) == nullptr) throw std::runtime_error("no directory for the test");
}

Workplace::~Workplace() {
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
}

std::string Workplace::Write(const std::string& name, const std::string& content) const {
    const fs::path path = At(name);
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << content;
    return path.string();
}

std::string Workplace::Read(const std::string& name) const {
    std::ifstream file(At(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::string Workplace::CopyUnderOwnName(const std::string& program) const {
    const std::string name = "qx" + std::to_string(getpid()) + "m";
    if (!fs::exists(At(name))) fs::copy_file(program, At(name));
    return name;
}

std::string VolumeScript(const std::string& events, const std::string& process) {
    return "<Scenario>\n<action name=\"volume\" process=\"" + process + "\">\n<method name=\"SetVolume\"/>\n" + events +
           "\n</action>\n</Scenario>\n";
}

std::string VolumeDump(const std::vector<int>& volumes) {
    std::string calls;
    for (const int volume : volumes) {
        calls += dump::StreamItem(dump::kBefore, dump::Before(105, 3, dump::Int(volume, 4)));
        calls += dump::StreamItem(dump::kAfter, dump::After(2));
    }
    return dump::Persistent(
               {dump::Item(dump::kLocation, dump::Location(3).Name("SetVolume").Arg("int", dump::kIn, 4))}) +
           dump::Thread(3, calls);
}
