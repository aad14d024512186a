#include "QxCycle.h"

#include <exception>
#include <utility>

#include "QxDebugPrint.h"

namespace {

void PrintFailure(const std::string& process, const char* error) {
    QxDebugPrint::GetInstance()->Print(
        "t_process", __LINE__, Major, "[QxCycle::Decode] Dump dropped, process: %s, error: %s", process.c_str(), error);
}

// Drops the calls also when tracing them throws: if they stayed, the next cycle would fail on more of them.
class CallsDropper final {
public:
    explicit CallsDropper(IQxData& store) : m_store(store) {}
    CallsDropper(const CallsDropper&) = delete;
    CallsDropper& operator=(const CallsDropper&) = delete;
    ~CallsDropper() { m_store.clearCalls(); }

private:
    IQxData& m_store;
};

}  // namespace

QxCycle::QxCycle(IQxLogTracker::Callback callback, void* context, std::shared_ptr<IQxData> store)
    : m_parser(callback, context), m_store(std::move(store)) {}

QxCycle::Decoded QxCycle::Decode(const std::string& process, std::vector<char>& dump) {
    m_store->AppendCurrentProcess(process);
    Decoded decoded;
    if (dump.empty()) return decoded;
    decoded = {false, false, 0, 0};
    try {
        std::pair<int, char*> bytes(static_cast<int>(dump.size()), dump.data());
        decoded.parsed = m_parser.Parse(bytes, m_store) != 0;
        decoded.extracted = m_parser.Extract() != 0;
    } catch (const std::exception& error) {
        PrintFailure(process, error.what());
        m_parser.DropJoined();
    } catch (...) {
        PrintFailure(process, "unknown");
        m_parser.DropJoined();
    }
    decoded.stoppedAt = m_parser.StoppedAt();
    decoded.bytesNotDecoded = m_parser.NotDecoded();
    return decoded;
}

// The parser knows a store only when some dump was parsed in this cycle.
void QxCycle::Finish(bool primes) {
    const std::shared_ptr<IQxData> store = m_parser.Data();
    if (store == nullptr) {
        QxDebugPrint::GetInstance()->Print("t_process", __LINE__, Info, "%s",
                                           primes ? "Clear Fail:m_instance is NULL" : "m_instance is NULL");
        return;
    }
    if (primes) return;
    const CallsDropper dropper(*store);
    m_parser.Trace();
}
