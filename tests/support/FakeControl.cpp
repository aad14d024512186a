#include "FakeControl.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace {

boost::shared_ptr<qx::IControl>& Current() {
    static boost::shared_ptr<qx::IControl> control;
    return control;
}

}  // namespace

boost::shared_ptr<qx::IControl> qx::api::GetControl() {
    return Current();
}

void SetControl(boost::shared_ptr<qx::IControl> control) {
    Current() = std::move(control);
}

FakeControl::FakeControl() {
    std::string name = (std::filesystem::temp_directory_path() / "qx-fake-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary directory: " + name);
    m_directory = name;
}

FakeControl::~FakeControl() {
    std::error_code ignored;
    std::filesystem::remove_all(m_directory, ignored);
}

void FakeControl::Add(const std::string& process, const std::string& dump) {
    m_dumps[process].push_back(dump);
}

void FakeControl::SetNext(const std::string& process, const std::string& dump) {
    m_dumps[process] = {dump};
    m_next[process] = 0;
    m_requests.clear();
}

void FakeControl::AnswerPath(const std::string& process, const std::string& path) {
    m_paths[process] = path;
}

bool FakeControl::getQxBufferDump(std::vector<char>& path, const std::string& process, bool first) {
    m_requests.emplace_back(process, first);
    std::string answer;
    std::size_t& next = m_next[process];
    if (m_paths.count(process) != 0) {
        answer = m_paths[process];
    } else if (next < m_dumps[process].size()) {
        const std::string& dump = m_dumps[process][next++];
        answer = dump.empty() ? std::string() : m_directory + "/" + process + ".qxdump";
        if (!dump.empty()) std::ofstream(answer, std::ios::binary) << dump;
    }
    path.assign(answer.begin(), answer.end());
    return !answer.empty();
}
