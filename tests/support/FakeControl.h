// The tests' answer to qx::api::GetControl, and a control whose dumps are scripted.
#pragma once

#include <boost/shared_ptr.hpp>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "qx/api.h"

// Sets what qx::api::GetControl returns from now on; null at first. Not while a worker runs.
void SetControl(boost::shared_ptr<qx::IControl> control);

class FakeControl final : public qx::IControl {
public:
    FakeControl();
    ~FakeControl() override;
    FakeControl(const FakeControl&) = delete;
    FakeControl& operator=(const FakeControl&) = delete;

    // The next dump of the process; each is handed out once, in the order given. An empty one gives no file.
    void Add(const std::string& process, const std::string& dump);

    // The next dump, in place of those that were added and not handed out.
    void SetNext(const std::string& process, const std::string& dump);

    // What the process is answered from now on: this path, whatever is there, in place of dumps.
    void AnswerPath(const std::string& process, const std::string& path);

    bool getQxBufferDump(std::vector<char>& path, const std::string& process, bool first) override;

    // The process names and "first" flags asked for, in order.
    const std::vector<std::pair<std::string, bool>>& Requests() const { return m_requests; }

    // The directory of the dump files; removed with this object.
    const std::string& Directory() const { return m_directory; }

private:
    std::string m_directory;
    std::map<std::string, std::vector<std::string>> m_dumps;
    std::map<std::string, std::size_t> m_next;
    std::map<std::string, std::string> m_paths;
    std::vector<std::pair<std::string, bool>> m_requests;
};
