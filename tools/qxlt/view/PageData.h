// A run as the page of `view` reads it: a list in JSON, an object of it on each line, as they come.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include "FiringReasons.h"
#include "NestedRun.h"
#include "RunStart.h"

namespace qxlt {

// tools/qxlt/page/src/run.ts has what the objects hold. Times are counted from that of the first item, so that numbers
// of any reader hold them to the nanosecond. No text holds a "<", so that none ends the element that the list stands
// in.
class PageData final : public INestedWriter {
public:
    // Takes the text line by line, without line ends.
    using LineSink = std::function<void(const std::string& line)>;

    // Begins the list: with what the run is called and when it began. `reasons` must outlive this.
    PageData(LineSink sink, const std::string& name, const RunStart& start, const FiringReasons& reasons);

    // Ends it, once all was written.
    void Finish();

    std::optional<Texts> Hold(const CallView& call) override;
    std::string Hold(const EventView& event) override;
    std::string Hold(const DumpNews& loss) override;
    void Enter(const NestedItem& item, const CallNesting::Place& place) override;
    void Leave(const NestedItem&, const CallNesting::Place&) override {}

private:
    using Method = std::pair<std::string, std::string>;  // its name, and the source that calls it

    std::size_t MethodOf(const CallView& call);
    std::size_t LaneOf(const NestedItem& item);
    void Place(JsonLine& line, const NestedItem& item);
    void EnterCall(const NestedItem& item, const CallNesting::Place& place);
    void EnterEvent(const NestedItem& item);
    void EnterLoss(const NestedItem& item);
    void Write(JsonLine&& line);

    const LineSink m_sink;
    const FiringReasons& m_reasons;
    std::map<Method, std::size_t> m_methods;
    std::map<CallThread, std::size_t> m_lanes;
    std::optional<std::uint64_t> m_base;
    std::uint64_t m_calls = 0;
    std::uint64_t m_now = 0;                         // when the calls of m_atNow began,
    std::map<std::uint64_t, std::uint64_t> m_atNow;  // their numbers, by the store's keys
};

}  // namespace qxlt
