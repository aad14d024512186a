#include "HostTest.h"

#include <dirent.h>
#include <fcntl.h>
#include <qx/recorder.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>

#include "QxData.h"
#include "QxParser.h"
#include "RecordingLog.h"

namespace {

constexpr unsigned short kPid = 77;

std::string MakeDirectory() {
    const char* base = std::getenv("TMPDIR");
    std::string path = std::string(base != nullptr ? base : "/tmp") + "/qxhost-XXXXXX";
    EXPECT_NE(::mkdtemp(&path[0]), nullptr);
    return path;
}

int PartCount() {
    return testing::UnitTest::GetInstance()->current_test_info()->result()->total_part_count();
}

void RemoveTree(const std::string& directory) {
    if (DIR* entries = ::opendir(directory.c_str())) {
        while (const dirent* entry = ::readdir(entries)) {
            const std::string name = entry->d_name;
            const std::string path = directory + "/" + name;
            if (name == "." || name == "..") continue;
            if (::unlink(path.c_str()) != 0) RemoveTree(path);
        }
        ::closedir(entries);
    }
    ::rmdir(directory.c_str());
}

}  // namespace

Signal::Signal() {
    EXPECT_EQ(::pipe(m_ends), 0);
}

Signal::~Signal() {
    ::close(m_ends[0]);
    ::close(m_ends[1]);
}

void Signal::Send() const {
    EXPECT_EQ(::write(m_ends[1], "x", 1), 1);
}

void Signal::Wait() const {
    char byte = 0;
    EXPECT_EQ(::read(m_ends[0], &byte, 1), 1);
}

Child::Child(const std::string& directory, const std::string& name, const std::function<void()>& body)
    : m_pid(::fork()) {
    EXPECT_GE(m_pid, 0);
    if (m_pid != 0) return;
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::prctl(PR_SET_NAME, name.c_str());
    ::setenv("QX_RUNTIME_DIR", directory.c_str(), 1);
    // What the parent recorded and saw fail is not the child's.
    qx::recorder::Configure({});
    const int partsBefore = PartCount();
    body();
    ::_exit(PartCount() != partsBefore ? 1 : 0);
}

Child::~Child() {
    if (m_isRunning) Kill();
}

void Child::Join() {
    int status = 0;
    ASSERT_EQ(::waitpid(m_pid, &status, 0), m_pid);
    m_isRunning = false;
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "status " << status;
}

void Child::Kill() {
    ::kill(m_pid, SIGKILL);
    ::waitpid(m_pid, nullptr, 0);
    m_isRunning = false;
}

PausingChild::PausingChild(const std::string& directory, const std::string& name,
                           const std::function<void(const Pause& pause)>& body)
    : m_child(directory, name, [this, &body] {
          body([this] {
              m_paused.Send();
              m_go.Wait();
          });
      }) {
    m_paused.Wait();
}

void PausingChild::Continue() const {
    m_go.Send();
    m_paused.Wait();
}

void PausingChild::Finish() {
    m_go.Send();
    m_child.Join();
}

FewDescriptors::FewDescriptors(std::size_t left) {
    EXPECT_EQ(::getrlimit(RLIMIT_NOFILE, &m_limit), 0);
    struct rlimit low = m_limit;
    low.rlim_cur = std::min<rlim_t>(low.rlim_cur, 256);
    EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &low), 0);
    const auto take = [] { return ::open("/dev/null", O_RDONLY); };
    for (int fd = take(); fd >= 0; fd = take()) m_taken.push_back(fd);
    for (; left > 0 && !m_taken.empty(); --left) {
        ::close(m_taken.back());
        m_taken.pop_back();
    }
}

FewDescriptors::~FewDescriptors() {
    for (const int fd : m_taken) ::close(fd);
    ::setrlimit(RLIMIT_NOFILE, &m_limit);
}

std::vector<IQxData::HSCall> DecodedDump::Of(const std::string& method) const {
    std::vector<IQxData::HSCall> found;
    for (const IQxData::HSCall& call : calls) {
        if (data->GetCallLocationWithPID(call.locId, call.pid).callerName == method) found.push_back(call);
    }
    return found;
}

const IQxData::HSCall& DecodedDump::Only(const std::string& method) const {
    static const IQxData::HSCall none;
    const IQxData::HSCall* only = &none;
    int count = 0;
    for (const IQxData::HSCall& call : calls) {
        if (data->GetCallLocationWithPID(call.locId, call.pid).callerName != method) continue;
        only = &call;
        ++count;
    }
    EXPECT_EQ(count, 1) << method;
    return *only;
}

HostTest::HostTest() : m_directory(MakeDirectory()), m_control(new qxhost::QxControl(m_directory)) {
    RecordingLog::Clear();
}

HostTest::~HostTest() {
    RemoveTree(m_directory);
}

void HostTest::Run(const std::string& name, const std::function<void()>& body) const {
    m_control->Watch(name);
    Child(m_directory, name, body).Join();
}

DecodedDump HostTest::Dump(const std::string& name, bool first) {
    std::vector<char> path;
    const bool exists = m_control->getQxBufferDump(path, name, first);
    EXPECT_EQ(exists, !path.empty());
    if (!exists) return {};
    return Decode(name, ReadFile(std::string(path.begin(), path.end())));
}

DecodedDump HostTest::Decode(const std::string& name, const std::string& bytes) {
    DecodedDump dump;
    dump.exists = true;
    dump.bytes = bytes;
    dump.data = IQxData::Instance();
    dump.data->AppendProcessName(kPid, name);
    dump.data->AppendCurrentProcess(name);
    const std::size_t linesBefore = RecordingLog::Lines().size();
    QxParser parser(nullptr, nullptr);
    std::vector<char> copy(bytes.begin(), bytes.end());
    std::pair<int, char*> block(static_cast<int>(copy.size()), copy.data());
    EXPECT_EQ(parser.Parse(block, dump.data), 1);
    EXPECT_EQ(parser.Extract(), 1);
    EXPECT_EQ(RecordingLog::Lines().size(), linesBefore) << RecordingLog::Lines().back().text;
    for (const auto& [key, call] : *dump.data->GetCallIMap()) dump.calls.push_back(call);
    return dump;
}

qx::host::Loss HostTest::Total(const std::string& name) {
    qx::host::Loss loss;
    EXPECT_TRUE(m_control->GetLoss(name, &loss, nullptr));
    return loss;
}

std::vector<std::string> HostTest::Files(const std::string& suffix) const {
    std::vector<std::string> paths;
    DIR* entries = ::opendir(m_directory.c_str());
    while (const dirent* entry = ::readdir(entries)) {
        const std::string name = entry->d_name;
        const bool fits =
            name.size() > suffix.size() && name.compare(name.size() - suffix.size(), suffix.size(), suffix) == 0;
        if (fits) paths.push_back(m_directory + "/" + name);
    }
    ::closedir(entries);
    std::sort(paths.begin(), paths.end());
    return paths;
}

std::string Bytes(const IQxData::HSICallArg& argument, std::size_t pair) {
    if (pair >= argument.size()) {
        ADD_FAILURE() << "no pair " << pair;
        return {};
    }
    std::string bytes = argument[pair].second;
    for (char& c : bytes) c = static_cast<char>(static_cast<unsigned char>(c) - 1u);
    return bytes;
}

std::uint64_t Number(const IQxData::HSICallArg& argument, std::size_t pair) {
    std::uint64_t number = 0;
    const std::string bytes = Bytes(argument, pair);
    for (std::size_t i = bytes.size(); i > 0; --i) number = number << 8 | static_cast<unsigned char>(bytes[i - 1]);
    return number;
}

std::string ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file.good()) << path;
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

void WriteFile(const std::string& path, const std::string& content) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << content;
    EXPECT_TRUE(file.good()) << path;
}

void WriteWord(const std::string& path, std::size_t word, std::uint64_t value) {
    std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out);
    file.seekp(static_cast<std::streamoff>(word * sizeof(value)));
    file.write(reinterpret_cast<const char*>(&value), sizeof(value));
    EXPECT_TRUE(file.good()) << path;
}

void ExpectBalanced(const qx::host::Loss& loss) {
    EXPECT_EQ(loss.recorded,
              loss.delivered + loss.held + loss.beforeFirst + loss.overwritten + loss.refused + loss.dropped);
    EXPECT_EQ(loss.exits, loss.exitsDelivered + loss.exitsBeforeFirst + loss.exitsOverwritten + loss.exitsRefused +
                              loss.exitsDropped);
}
