// What a broker may hand over: messages of any bytes, and messages of devices whose numbers jump, repeat and overlap,
// into the account, a store in memory, and the lines that are printed. Between them time passes, the store is away, and
// the receiver is started again on what it stored.
#include <chrono>
#include <cstdlib>
#include <memory>

#include "FleetInbox.h"
#include "FleetPrinter.h"
#include "FleetTop.h"
#include "FuzzInput.h"
#include "Messages.h"
#include "SqlFleetStore.h"
#include "SqliteConnection.h"

namespace {

const std::string kBoot(32, 'b');

// Fails every so often, as databases do.
class FuzzedStore final : public qxlt::IFleetStore {
public:
    std::optional<qxlt::FleetDevice> Load(const std::string& device) override {
        if (isAway) throw qxlt::StoreAway("away");
        return m_store.Load(device);
    }
    // What such a store refuses was let through by the checks of messages.
    std::size_t Write(const qxlt::FleetBatch& batch) override {
        if (isAway) throw qxlt::StoreAway("away");
        if (m_store.Write(batch) != 0) std::abort();
        return 0;
    }

    bool isAway = false;

private:
    qxlt::SqlFleetStore m_store{std::make_unique<qxlt::SqliteConnection>(":memory:"), "memory", "fuzzed"};
};

class Fuzzed final {
public:
    explicit Fuzzed(unsigned options) {
        const qxlt::Format format = (options & 1u) != 0 ? qxlt::Format::Json : qxlt::Format::Text;
        if ((options & 2u) != 0)
            m_display = std::make_unique<qxlt::FleetTop>(format, m_output, 1);
        else
            m_display = std::make_unique<qxlt::FleetPrinter>(format, m_output);
        Start();
    }

    void Step(FuzzInput& input) {
        const unsigned step = input.Byte();
        const std::string device(1, static_cast<char>('a' + (step >> 3 & 3u)));
        const std::string run(16, static_cast<char>('0' + (step >> 5)));
        switch (step & 7u) {
            case 0:
                return Take(Text(input), Text(input));
            case 1:
            case 2:
                return Take("f/" + device + "/events/E", EventText(device, run, input));
            case 3:
                return Take("f/" + device + "/status", StatusText(device, run, input));
            case 4:
                m_now += std::chrono::seconds(step >> 3);
                return Settle();
            case 5:
                m_store.isAway = (step & 8u) != 0;
                return Settle();
            case 6:
                return Start();
            default:
                return Settle();
        }
    }

    void End() {
        m_store.isAway = false;
        Settle();
        m_display->Finish(*m_account, m_inbox->Refused());
    }

private:
    static std::string Text(FuzzInput& input) {
        const std::vector<char> block = input.SizedBlock();
        return {block.begin(), block.end()};
    }

    static std::string EventText(const std::string& device, const std::string& run, FuzzInput& input) {
        return R"({"id":")" + device + ":" + kBoot + ":" + run + ":" + std::to_string(input.Byte() + 1u) +
               R"(","device":")" + device + R"(","time":null,"cycle":1,"event":"E","value":"v","call":)" + Text(input) +
               "}";
    }

    static std::string StatusText(const std::string& device, const std::string& run, FuzzInput& input) {
        const std::string first = std::to_string(input.Byte() + 1u);
        return R"({"device":")" + device + R"(","boot":")" + kBoot + R"(","run":")" + run +
               R"(","state":"running","time":null,"taken":)" + std::to_string(input.Byte()) + R"(,"waiting":)" +
               std::to_string(input.Byte()) + R"(,"dropped":1,"droppedIds":[[")" + kBoot + ":" + run + "\"," + first +
               "," + std::to_string(input.Byte() + 1u) + "]]}";
    }

    void Start() {
        m_inbox.reset();
        qxlt::FleetAccount::Bounds bounds;
        bounds.devices = 2;
        bounds.gaps = 64;
        m_account = std::make_unique<qxlt::FleetAccount>(
            bounds, [this](const std::string& device) { return m_store.Load(device); });
        m_inbox = std::make_unique<qxlt::FleetInbox>("f", qxlt::FleetInbox::Choice(), *m_account, &m_store, *m_display);
    }

    void Take(const std::string& topic, const std::string& payload) {
        m_inbox->Take(topic, payload);
        if (m_inbox->IsFull()) Settle();
    }

    void Settle() {
        try {
            m_inbox->Settle(m_now, 0);
        } catch (const qxlt::StoreAway&) {
            if (!m_store.isAway) std::abort();
        }
        m_display->Tick(m_now);
    }

    qxlt::Output m_output;
    FuzzedStore m_store;
    std::unique_ptr<qxlt::IFleetDisplay> m_display;
    std::unique_ptr<qxlt::FleetAccount> m_account;
    std::unique_ptr<qxlt::FleetInbox> m_inbox;
    qxlt::FleetAccount::Time m_now{};
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    Fuzzed fuzzed(input.Byte());
    while (!input.Empty()) fuzzed.Step(input);
    fuzzed.End();
    return 0;
}
