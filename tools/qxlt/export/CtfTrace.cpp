#include "CtfTrace.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>
#include <variant>

#include "CallValues.h"
#include "Failure.h"
#include "ResultFile.h"
#include "Text.h"

namespace qxlt {

namespace {

// Returns the directory.
const std::string& MakeEmpty(const std::string& directory) {
    std::error_code error;
    std::filesystem::create_directories(directory, error);
    const bool isEmpty = !error && std::filesystem::is_empty(directory, error);
    if (!error && isEmpty) return directory;
    throw Failure(kCannotStart, directory + ": " + (error ? error.message() : "is not empty") +
                                    "; name a new directory that can be written");
}

struct AddTo {
    CtfBytes& bytes;

    void operator()(bool value) const { Kind(CtfKind::Boolean).Add(static_cast<std::uint8_t>(value)); }
    void operator()(std::int64_t value) const { Kind(CtfKind::Signed).Add(value); }
    void operator()(std::uint64_t value) const { Kind(CtfKind::Unsigned).Add(value); }
    void operator()(float value) const { (*this)(static_cast<double>(value)); }
    void operator()(double value) const {
        std::uint64_t bits = 0;
        static_assert(sizeof bits == sizeof value);
        std::memcpy(&bits, &value, sizeof bits);
        Kind(CtfKind::Real).Add(bits);
    }
    void operator()(std::string_view value) const { AddUntold(std::string(value)); }
    void operator()(std::monostate) const {}

    // As a text where it looks like one. A zero byte would end it.
    void AddUntold(const std::string& value) const {
        if (IsUtf8(value) && value.find('\0') == std::string::npos) {
            Kind(CtfKind::Text).Text(value);
        } else {
            Kind(CtfKind::Bytes).Add(static_cast<std::uint32_t>(value.size())).Raw(value);
        }
    }

private:
    CtfBytes& Kind(CtfKind kind) const { return bytes.Add(static_cast<std::uint8_t>(kind)); }
};

void AddPair(CtfBytes& bytes, const std::pair<std::string, std::string>& pair, ValueType type) {
    const std::string value = BytesOf(pair);
    const TypedValue typed = ReadValue(type, value);
    bytes.Text(Printable(pair.first));
    if (std::holds_alternative<std::monostate>(typed)) {
        AddTo{bytes}.AddUntold(value);
    } else {
        std::visit(AddTo{bytes}, typed);
    }
}

// The values of one moment: how many, and each as a list of pairs.
void AddValues(CtfBytes& bytes, const std::vector<CallValue>& values, CallValue::Moment moment) {
    std::uint32_t count = 0;
    CtfBytes list;
    for (const CallValue& value : values) {
        if (value.moment != moment) continue;
        ++count;
        list.Add(static_cast<std::uint32_t>(value.pairs->size()));
        for (std::size_t i = 0; i < value.pairs->size(); ++i) AddPair(list, (*value.pairs)[i], value.TypeOf(i));
    }
    bytes.Add(count).Raw(list.Bytes());
}

std::string ContextOf(const NestedItem& item) {
    return CtfBytes()
        .Text(Printable(item.thread.process))
        .Add(item.thread.pid)
        .Add(item.thread.tid)
        .Text(Printable(item.threadName))
        .Bytes();
}

CtfEvent EventOf(const NestedItem& item) {
    if (item.kind == NestedItem::Kind::Event) return CtfEvent::ScenarioEvent;
    if (item.kind == NestedItem::Kind::Loss) return CtfEvent::Loss;
    return item.times.exitTime == 0 ? CtfEvent::CallWithoutExit : CtfEvent::CallEntry;
}

}  // namespace

// Readers count nanoseconds of the wall clock with a sign.
CtfTrace::CtfTrace(const std::string& directory, ClockOffset clock)
    : m_streams(MakeEmpty(directory)),
      m_lastTime(static_cast<std::uint64_t>(INT64_MAX - std::max<std::int64_t>(clock.value_or(0), 0))) {
    ResultFile metadata(directory + "/metadata", "export");
    metadata.Write(CtfMetadata(clock));
    metadata.Close();
}

std::optional<INestedWriter::Texts> CtfTrace::Hold(const CallView& call) {
    const std::vector<CallValue> values = ValuesOf(call);
    CtfBytes entry;
    entry.Text(MethodName(call)).Text(Printable(call.location.srcCodeFileRaw));
    AddValues(entry, values, CallValue::Moment::In);
    if (call.call.exitTime == 0) return Texts{entry.Bytes(), ""};
    CtfBytes exit;
    exit.Text(MethodName(call)).Add(DurationOf(call.call).value_or(0));
    AddValues(exit, values, CallValue::Moment::Out);
    AddValues(exit, values, CallValue::Moment::Ret);
    return Texts{entry.Bytes(), exit.Bytes()};
}

std::string CtfTrace::Hold(const EventView& event) {
    return CtfBytes()
        .Text(Printable(event.event))
        .Text(Printable(event.value))
        .Text(MethodName(event.call))
        .Add(event.cycle)
        .Bytes();
}

std::string CtfTrace::Hold(const DumpNews& loss) {
    CtfBytes bytes;
    bytes.Add(loss.cycle);
    const LossCounts counts = loss.counts.value_or(LossCounts());
    for (const LossField& field : kLossFields) bytes.Add(counts.*field.value);
    return bytes.Add(loss.bytesNotDecoded).Bytes();
}

void CtfTrace::Enter(const NestedItem& item, const CallNesting::Place& place) {
    if (place.end > m_lastTime) {
        ++m_unfit;
        return;
    }
    Add(EventOf(item), item.times.time, ContextOf(item) + item.entry);
}

void CtfTrace::Leave(const NestedItem& item, const CallNesting::Place& place) {
    if (place.end <= m_lastTime) Add(CtfEvent::CallExit, place.end, ContextOf(item) + item.exit);
}

void CtfTrace::Add(CtfEvent event, std::uint64_t time, const std::string& body) {
    m_streams.Add(static_cast<std::uint16_t>(event), time, body);
}

}  // namespace qxlt
