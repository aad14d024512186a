#include "CtfEvents.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "CtfFields.h"
#include "Failure.h"

namespace qxlt {

namespace {

constexpr std::int64_t kSecond = 1000000000;
constexpr std::size_t kMostNames = 65536;
constexpr const char* kResultNames[] = {"ret", "retval", "result", "res", "return", "return_value"};

const bt_trace* TraceOf(const bt_event* event) {
    return bt_stream_borrow_trace_const(bt_event_borrow_stream_const(event));
}

const bt_value* EnvironmentOf(const bt_event* event, const char* name) {
    return bt_trace_borrow_environment_entry_value_by_name_const(TraceOf(event), name);
}

std::optional<std::string> TextInEnvironment(const bt_event* event, const char* name) {
    const bt_value* const value = EnvironmentOf(event, name);
    if (value == nullptr || !bt_value_is_string(value)) return std::nullopt;
    return bt_value_string_get(value);
}

std::optional<std::uint64_t> NumberInEnvironment(const bt_event* event, const char* name) {
    const bt_value* const value = EnvironmentOf(event, name);
    if (value == nullptr || !bt_value_is_signed_integer(value)) return std::nullopt;
    return static_cast<std::uint64_t>(bt_value_integer_signed_get(value));
}

// The first of the names that is recorded with the event, or in it.
const bt_field* Recorded(const bt_event* event, const std::vector<std::string>& names) {
    const bt_field* const places[] = {bt_event_borrow_common_context_field_const(event),
                                      bt_event_borrow_specific_context_field_const(event),
                                      bt_event_borrow_payload_field_const(event)};
    for (const std::string& name : names) {
        for (const bt_field* const place : places) {
            if (const bt_field* const field = FieldOf(place, name)) return field;
        }
    }
    return nullptr;
}

bool IsResult(const std::string& name) {
    return std::find(std::begin(kResultNames), std::end(kResultNames), name) != std::end(kResultNames);
}

// Of those fields that the event has.
std::vector<ImportedValue> ValuesOf(const bt_field* payload, const std::vector<std::string>& names) {
    std::vector<ImportedValue> values;
    for (const std::string& name : names) {
        const bt_field* const field = FieldOf(payload, name);
        if (field != nullptr && values.size() < kMostValues) values.push_back(ValueOf(name, field));
    }
    return values;
}

// Which of the exit's fields is the result.
std::string ResultField(const EventRule& rule, const std::vector<std::string>& names) {
    if (rule.ret) return *rule.ret;
    if (rule.out) return std::string();
    const auto named = std::find_if(names.begin(), names.end(), IsResult);
    if (named != names.end()) return *named;
    return names.size() == 1 ? names.front() : std::string();
}

ImportedCall::Exit ExitOf(const bt_event* event, std::uint64_t time, const EventRule& rule) {
    const bt_field* const payload = bt_event_borrow_payload_field_const(event);
    std::vector<std::string> names = FieldNames(payload);
    const std::string result = ResultField(rule, names);
    ImportedCall::Exit exit;
    exit.time = time;
    if (const bt_field* const field = FieldOf(payload, result)) exit.result = ValueOf(result, field);
    names.erase(std::remove(names.begin(), names.end(), result), names.end());
    exit.out = ValuesOf(payload, rule.out.value_or(names));
    return exit;
}

// What the field tells, where a rule names one.
std::string MethodOf(const bt_event* event, const EventMeaning& meaning) {
    if (meaning.rule->methodField.empty()) return meaning.method;
    return NameOf(FieldOf(bt_event_borrow_payload_field_const(event), meaning.rule->methodField));
}

// Nanoseconds from the origin to the clock's zero.
std::int64_t OffsetOf(const bt_clock_class* clock) {
    std::int64_t seconds = 0;
    std::uint64_t cycles = 0;
    bt_clock_class_get_offset(clock, &seconds, &cycles);
    const std::uint64_t frequency = std::max<std::uint64_t>(bt_clock_class_get_frequency(clock), 1);
    const long double rest = static_cast<long double>(cycles) * kSecond / static_cast<long double>(frequency);
    if (seconds < 0 || seconds > INT64_MAX / kSecond - 1) return 0;
    return seconds * kSecond + static_cast<std::int64_t>(std::min<long double>(rest, kSecond));
}

}  // namespace

CtfEvents::CtfEvents(const EventRules& rules, ImportedCapture& capture)
    : m_rules(rules), m_capture(capture), m_open([this](std::uint16_t thread, const ImportedCall& call) {
          const std::optional<ImportedCapture::Packed> packed = m_capture.Pack(thread, call);
          if (packed) m_capture.Add(*packed);
      }) {}

void CtfEvents::Take(const bt_message* message) {
    std::uint64_t count = 0;
    switch (bt_message_get_type(message)) {
        case BT_MESSAGE_TYPE_STREAM_BEGINNING:
            TakeNames(bt_message_stream_beginning_borrow_stream_const(message));
            break;
        case BT_MESSAGE_TYPE_EVENT:
            TakeEvent(message);
            break;
        case BT_MESSAGE_TYPE_DISCARDED_EVENTS:
            if (bt_message_discarded_events_get_count(message, &count) == BT_PROPERTY_AVAILABILITY_AVAILABLE)
                m_discardedEvents += count;
            break;
        case BT_MESSAGE_TYPE_DISCARDED_PACKETS:
            if (bt_message_discarded_packets_get_count(message, &count) == BT_PROPERTY_AVAILABILITY_AVAILABLE)
                m_discardedPackets += count;
            break;
        default:
            break;
    }
}

// Those of all streams of the trace: the two of a pair may be recorded into different ones.
void CtfEvents::TakeNames(const bt_stream* stream) {
    const bt_trace_class* const trace = bt_trace_borrow_class_const(bt_stream_borrow_trace_const(stream));
    const std::size_t before = m_names.size();
    for (std::uint64_t i = 0; i < bt_trace_class_get_stream_class_count(trace); ++i) {
        const bt_stream_class* const streamClass = bt_trace_class_borrow_stream_class_by_index_const(trace, i);
        for (std::uint64_t j = 0; j < bt_stream_class_get_event_class_count(streamClass); ++j) {
            const char* const name =
                bt_event_class_get_name(bt_stream_class_borrow_event_class_by_index_const(streamClass, j));
            if (name != nullptr && m_names.size() < kMostNames) m_names.insert(name);
        }
    }
    // A partner may have come with this one.
    if (m_names.size() != before) m_meanings.clear();
}

// Times of several traces are told on the clock of the first one.
std::optional<std::uint64_t> CtfEvents::TimeOf(const bt_message* message) {
    const bt_stream_class* const stream = bt_event_class_borrow_stream_class_const(
        bt_event_borrow_class_const(bt_message_event_borrow_event_const(message)));
    const bt_clock_class* const clock = bt_stream_class_borrow_default_clock_class_const(stream);
    if (clock == nullptr) {
        throw Failure(kInputWrong, "the trace has no clock, and calls have times; record it with one");
    }
    if (!m_offset) {
        m_offset = OffsetOf(clock);
        m_isWallClock = bt_clock_class_origin_is_unix_epoch(clock) != BT_FALSE;
    }
    std::int64_t sinceOrigin = 0;
    const bt_clock_snapshot* const now = bt_message_event_borrow_default_clock_snapshot_const(message);
    if (bt_clock_snapshot_get_ns_from_origin(now, &sinceOrigin) != BT_CLOCK_SNAPSHOT_GET_NS_FROM_ORIGIN_STATUS_OK) {
        return std::nullopt;
    }
    if (sinceOrigin < *m_offset) return std::nullopt;
    return static_cast<std::uint64_t>(sinceOrigin - *m_offset);
}

std::uint16_t CtfEvents::ThreadOf(const bt_event* event) {
    const MakerFields& makers = m_rules.Makers();
    const std::optional<std::uint64_t> thread = NumberOf(Recorded(event, makers.threadId));
    std::optional<std::uint64_t> process = NumberOf(Recorded(event, makers.processId));
    if (!process) process = NumberInEnvironment(event, "vpid");
    std::optional<std::string> processName = TextInEnvironment(event, "procname");
    if (!processName) processName = TextOf(Recorded(event, makers.process));
    if (!thread) m_lacksThreads = true;
    const std::string name =
        TextOf(Recorded(event, makers.thread)).value_or(thread ? "thread " + std::to_string(*thread) : std::string());
    return m_capture.Thread(static_cast<std::uint32_t>(process.value_or(0)), processName.value_or(std::string()),
                            thread.value_or(0), name);
}

const EventMeaning& CtfEvents::MeaningOf(const std::string& name) {
    const auto known = m_meanings.find(name);
    if (known != m_meanings.end()) return known->second;
    const auto exists = [this](const std::string& other) { return m_names.count(other) != 0; };
    return m_meanings[name] = m_rules.MeaningOf(name, exists);
}

void CtfEvents::TakeEvent(const bt_message* message) {
    const std::optional<std::uint64_t> time = TimeOf(message);
    const bt_event* const event = bt_message_event_borrow_event_const(message);
    const char* const name = bt_event_class_get_name(bt_event_borrow_class_const(event));
    // What has no name is no call; what has no time that can be told has no place.
    if (name == nullptr) return;
    const Event whole{event, name, time.value_or(UINT64_MAX), ThreadOf(event)};
    if (TextInEnvironment(event, "tracer_name") == "qxlt")
        TakeOwn(whole);
    else
        Dispatch(whole);
}

void CtfEvents::Dispatch(const Event& event) {
    const EventMeaning& meaning = MeaningOf(event.name);
    if (meaning.kind == EventMeaning::Kind::Exit)
        Leave(event, meaning);
    else
        Enter(event, meaning);
}

void CtfEvents::Enter(const Event& event, const EventMeaning& meaning) {
    const bt_field* const payload = bt_event_borrow_payload_field_const(event.event);
    ImportedCall call;
    call.method = MethodOf(event.event, meaning);
    call.package = meaning.package;
    call.time = event.time;
    call.in = ValuesOf(payload, meaning.rule->in.value_or(FieldNames(payload)));
    if (meaning.kind == EventMeaning::Kind::Entry) {
        m_open.Enter(event.thread, std::move(call));
        return;
    }
    const std::optional<ImportedCapture::Packed> packed = m_capture.Pack(event.thread, call);
    if (packed) m_capture.Add(*packed);
}

void CtfEvents::Leave(const Event& event, const EventMeaning& meaning) {
    ImportedCall::Exit exit = ExitOf(event.event, event.time, *meaning.rule);
    if (!m_open.Leave(event.thread, MethodOf(event.event, meaning), std::move(exit))) m_capture.DropExit(event.thread);
}

}  // namespace qxlt
