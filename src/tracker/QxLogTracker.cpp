#include "QxLogTracker.h"

#include <dirent.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>

#include "QxCycle.h"
#include "QxDebugPrint.h"
#include "QxDumpFile.h"
#include "QxScriptWords.h"
#include "QxStoreAccess.h"
#include "QxTimer.h"
#include "QxXMLLoader.h"
#include "qx/api.h"

namespace {

constexpr std::uint32_t kCycleNow = 0x1001;
constexpr int kShortPause = 1;
constexpr useconds_t kShortPauseUs = 10000;
constexpr unsigned long kLongPauseMs = 1000;

// A dump that there is no memory for must not cost those that were fetched before it.
std::vector<char> ReadDump(const std::string& process, const std::string& path) {
    try {
        return QxDumpFile::Read(path);
    } catch (const std::exception& error) {
        QxDebugPrint::GetInstance()->Print("t_process", __LINE__, Major,
                                           "[QxLogTracker::t_process] Dump not read, process: %s, path: %s, error: %s",
                                           process.c_str(), path.c_str(), error.what());
    }
    return {};
}

struct DirectoryDeleter {
    void operator()(DIR* directory) const { closedir(directory); }
};
struct FileDeleter {
    void operator()(FILE* file) const { std::fclose(file); }
};

bool IsNumber(const char* name) {
    return name[0] != '\0' && std::strspn(name, "0123456789") == std::strlen(name);
}

// The process's command name with its newline; empty when it cannot be read.
std::string ReadCommandName(const char* entry) {
    char path[252];
    std::snprintf(path, sizeof path, "/proc/%.240s/comm", entry);  // no process id is as long
    const std::unique_ptr<FILE, FileDeleter> file(std::fopen(path, "re"));
    char line[64] = "";
    if (file == nullptr || std::fgets(line, sizeof line, file.get()) == nullptr) return std::string();
    return line;
}

// A prefix match: a process without a name would match every name that is looked up, and so matches none.
bool Matches(const std::string& commandLine, const char* name) {
    return commandLine.size() > 1 && std::strncmp(commandLine.c_str(), name, commandLine.size() - 1) == 0;
}

}  // namespace

std::unique_ptr<IQxLogTracker> IQxLogTracker::Instance(EDebugLevel level) {
    return std::make_unique<QxLogTracker>(level);
}

QxLogTracker::QxLogTracker(EDebugLevel level) : QxLogTracker(level, IQxData::Instance()) {}

QxLogTracker::QxLogTracker(EDebugLevel level, std::shared_ptr<IQxData> store) : m_instance(std::move(store)) {
    QxDebugPrint::GetInstance()->SetLevel(level);
    m_Reset();
}

QxLogTracker::~QxLogTracker() {
    QxLogTracker::Stop();
}

void QxLogTracker::m_Reset() {
    m_processes.clear();
    Clear();
}

int QxLogTracker::SetQxProcess(std::string& name) {
    const unsigned short pid = GetProcessID(name.c_str());
    if (pid == 0) return 0;
    m_processes.insert(name);
    m_instance->AppendProcessName(pid, name);
    return 1;
}

unsigned short QxLogTracker::GetProcessID(const char* name) {
    return static_cast<unsigned short>(FindProcess(name));
}

unsigned long QxLogTracker::FindProcess(const char* name) {
    const std::unique_ptr<DIR, DirectoryDeleter> directory(opendir("/proc/"));
    while (const dirent* const entry = directory == nullptr ? nullptr : readdir(directory.get())) {
        if (!IsNumber(entry->d_name)) continue;
        const std::string line = ReadCommandName(entry->d_name);
        if (!Matches(line, name)) continue;
        const unsigned long pid = std::strtoul(entry->d_name, nullptr, 10);
        QxDebugPrint::GetInstance()->Print("GetProcessID", __LINE__, Info, "getProcessID(%s) %s: Found. id = %d\n",
                                           name, line.c_str(), static_cast<unsigned short>(pid));
        return pid;
    }
    QxDebugPrint::GetInstance()->Print("GetProcessID", __LINE__, Info,
                                       "getProcessID(%s) : id = 0 (could not find process)\n", name);
    return 0;
}

int QxLogTracker::ParseScript(std::pair<int, char*>& script) {
    const int loaded = QxXMLLoader::Parse(script, m_instance) ? 1 : 0;
    if (loaded == 0) {
        QxDebugPrint::GetInstance()->Print("ParseScript", __LINE__, Major, "ParseScript failed.. Returning false..");
        return 0;
    }
    IQxData::_HSScript* root = nullptr;
    m_instance->GetScript(&root);
    for (const IQxData::_HSScriptPtr* const action : (*root)->children) {
        if (action != nullptr) m_RegisterProcesses(*action);
    }
    return loaded;
}

// Waits without limit for each process: a scenario may be loaded before what it watches has been started.
void QxLogTracker::m_RegisterProcesses(const IQxData::_HSScriptPtr& action) {
    QxDebugPrint* const print = QxDebugPrint::GetInstance();
    print->Print("ParseScript", __LINE__, Info, "Found Action with name as %s", action.name.c_str());
    for (const auto& attribute : action.attributes) {
        if (attribute.first != qxscript::kActionProcess) continue;
        std::string process = attribute.second;
        print->Print("ParseScript", __LINE__, Info, "Found Process as %s", process.c_str());
        while (SetQxProcess(process) == 0) sleep(1);
    }
}

int QxLogTracker::Run(Callback callback, void* context, int dumpPause) {
    if (HasThread()) {
        QxDebugPrint::GetInstance()->Print("Run", __LINE__, Major, "[QxLogTracker::Run] The tracker runs already");
        return 0;
    }
    m_callback = callback;
    m_firstCycle = true;
    m_context = context;
    m_unread = 100;
    m_dumpPause = dumpPause;
    return Create("QxLogTracker", 1000, 4096);
}

int QxLogTracker::Stop() {
    if (IsRunning()) Destroy();
    Reap();
    return 1;
}

void QxLogTracker::Clear() {
    if (m_instance != nullptr) m_instance->clear();
}

int QxLogTracker::t_onEvent(QxEvent event) {
    if (event.id == kCycleNow) t_process();
    return 1;
}

int QxLogTracker::t_process() {
    m_health.BeginCycle();
    QxCycle cycle(m_health.CountsEvents() ? m_CallBack : m_callback, m_health.CountsEvents() ? this : m_context,
                  m_instance);
    cycle.Parser().SetObserver(m_observer == nullptr && m_health.CountsEvents() ? &m_health.Tally() : m_observer);
    m_cycleObserver->OnCycle(m_firstCycle);
    m_Decode(cycle);
    cycle.Finish(m_firstCycle);
    m_firstCycle = false;
    m_health.EndCycle(cycle, QxStoreAccess(*m_instance).KeptBytes());
    m_cycleObserver->OnCycleEnd();
    return 1;
}

void QxLogTracker::m_Decode(QxCycle& cycle) {
    std::vector<std::vector<char>> dumps = m_FetchDumps();
    m_health.BeginDecoding(m_instance->GetCallIMap()->size());
    auto dump = dumps.begin();
    for (const std::string& process : m_processes) {
        m_cycleObserver->OnDump(process, *dump);
        m_health.AddDump(dump->size());
        cycle.Decode(process, *dump++);
    }
    m_health.EndDecoding(m_instance->GetCallIMap()->size());
    auto decoded = cycle.Dumps().begin();
    for (const std::string& process : m_processes) m_cycleObserver->OnDecoded(process, *decoded++);
}

// The client's callback, and how long it takes, also when it throws.
int QxLogTracker::m_CallBack(std::string name, std::string value, IQxData::HSCall call, void* context) {
    auto& tracker = *static_cast<QxLogTracker*>(context);
    const QxTrackerHealth::Span span(tracker.m_health);
    if (tracker.m_callback == nullptr) return 0;
    return tracker.m_callback(std::move(name), std::move(value), std::move(call), tracker.m_context);
}

// One dump for each watched process, in the order of the set; empty where there is none. A framework without a control
// interface ends the process by the pointer's own assertion.
std::vector<std::vector<char>> QxLogTracker::m_FetchDumps() {
    const boost::shared_ptr<qx::IControl> control = qx::api::GetControl();
    std::vector<std::vector<char>> dumps;
    std::vector<char> path;
    for (const std::string& process : m_processes) {
        path.clear();
        const bool isAnew = m_anew.erase(process) != 0;
        control->getQxBufferDump(path, process, m_firstCycle || isAnew);
        dumps.push_back(ReadDump(process, std::string(path.begin(), path.end())));
        m_PauseAfterDump();
        QxDebugPrint::GetInstance()->Print("t_process", __LINE__, Info, "getQxBufferDump END !! Process[%s] data[%d]",
                                           process.c_str(), static_cast<int>(dumps.back().size()));
    }
    return dumps;
}

void QxLogTracker::m_PauseAfterDump() const {
    if (m_dumpPause == kShortPause) {
        usleep(kShortPauseUs);
    } else {
        QxTimer::Sleep(kLongPauseMs);
    }
}
