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
    const std::uint32_t before = m_parser.Dumps();
    m_dumps.push_back(DecodeDump(process, dump));
    m_numbers.push_back(m_parser.Dumps() == before ? 0 : m_parser.Dumps());
    for (std::size_t i = 0; i < m_dumps.size(); ++i) {
        if (m_numbers[i] != 0) m_dumps[i].bytesNotDecoded = m_parser.NotDecoded(m_numbers[i]);
    }
    return m_dumps.back();
}

QxCycle::Decoded QxCycle::DecodeDump(const std::string& process, std::vector<char>& dump) {
    m_store->AppendCurrentProcess(process);
    if (dump.empty()) return {};
    // All of the dump, unless the parser comes to know better.
    Decoded decoded = {false, false, 0, dump.size()};
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
