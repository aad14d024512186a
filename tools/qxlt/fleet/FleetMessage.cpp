#include "FleetMessage.h"

#include <algorithm>
#include <array>
#include <utility>

#include "Json.h"
#include "MessageId.h"
#include "RunLines.h"
#include "StoreText.h"
#include "Topics.h"
#include "WallTime.h"

namespace qxlt {

namespace {

constexpr std::size_t kMostDevice = 255;  // bytes of a device's name, of which many are kept
constexpr std::size_t kMostEvent = 512;   // of an event's: an index of a database takes it, too
constexpr std::size_t kMostDrops = 1024;  // ranges that one status tells; the rest comes with the next ones
constexpr std::size_t kBootDigits = 32;
constexpr std::size_t kRunDigits = 16;

constexpr const char* kStates[] = {"running", "ended", "gone"};
constexpr const char* kRefusalTexts[kRefusals] = {"too long", "odd topics", "no JSON", "odd content",
                                                  "other names than their topics"};

// What a message may make of the reader: objects keep their keys in order, and look through all of them for each that
// is added.
class JsonBounds final {
public:
    bool operator()(int depth, JsonObject::parse_event_t event, const JsonObject& /*value*/) {
        if (depth > kDeepest) throw Refusal::Json;
        const auto level = static_cast<std::size_t>(depth);
        if (event == JsonObject::parse_event_t::object_start) m_keys[level + 1] = 0;
        if (event == JsonObject::parse_event_t::key && ++m_keys[level] > kMostKeys) throw Refusal::Json;
        return true;
    }

private:
    static constexpr int kDeepest = 64;
    static constexpr std::size_t kMostKeys = 1024;

    std::array<std::size_t, kDeepest + 2> m_keys{};  // of the object at each depth
};

JsonObject ParseMessage(std::string_view payload) {
    try {
        return JsonObject::parse(payload, JsonBounds());
    } catch (const JsonObject::exception&) {
        throw Refusal::Json;
    }
}

// Where a message was sent: names as levels of the topic.
struct Address {
    std::string_view device;
    std::optional<std::string_view> event;  // nothing: it is the status
};

bool IsHexOf(std::string_view text, std::size_t digits) {
    return text.size() == digits && text.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

std::optional<Address> ReadAddress(std::string_view levels) {
    constexpr std::string_view kEvents = "events/";
    const std::size_t deviceEnd = std::min(levels.find('/'), levels.size());
    const std::string_view device = levels.substr(0, deviceEnd);
    if (deviceEnd == levels.size() || !ReadTopicLevel(device)) return std::nullopt;
    const std::string_view rest = levels.substr(deviceEnd + 1);
    if (rest == "status") return Address{device, std::nullopt};
    if (rest.substr(0, kEvents.size()) != kEvents) return std::nullopt;
    const std::string_view event = rest.substr(kEvents.size());
    return ReadTopicLevel(event) ? std::make_optional(Address{device, event}) : std::nullopt;
}

// The keys of a message, each of which must be what it is to be: what is not throws a Refusal.
class Fields final {
public:
    explicit Fields(const JsonObject& object) : m_object(object) {
        if (!object.is_object()) throw Refusal::Content;
    }

    std::string Text(const char* key) const {
        if (!Find(key).is_string()) throw Refusal::Content;
        return JsonText(m_object, key);
    }

    std::string HexText(const char* key, std::size_t digits) const {
        std::string text = Text(key);
        if (!IsHexOf(text, digits)) throw Refusal::Content;
        return text;
    }

    std::uint64_t Number(const char* key) const { return NumberOf(Find(key)); }

    std::optional<std::uint64_t> Time(const char* key) const {
        if (Find(key).is_null()) return std::nullopt;
        const std::optional<std::uint64_t> time = ReadWallText(Text(key));
        if (!time) throw Refusal::Content;
        return time;
    }

    const JsonObject& Object(const char* key) const {
        const JsonObject& value = Find(key);
        if (!value.is_object()) throw Refusal::Content;
        return value;
    }

    const JsonObject& ObjectOrNull(const char* key) const { return Find(key).is_null() ? Find(key) : Object(key); }

    // Null: there is none.
    const JsonObject* Maybe(const char* key) const {
        const auto found = m_object.find(key);
        return found == m_object.end() ? nullptr : &*found;
    }

    static std::uint64_t NumberOf(const JsonObject& value) {
        if (!value.is_number_unsigned() || value.get<std::uint64_t>() > kMostNumber) throw Refusal::Content;
        return value.get<std::uint64_t>();
    }

private:
    const JsonObject& Find(const char* key) const {
        const JsonObject* const value = Maybe(key);
        if (value == nullptr) throw Refusal::Content;
        return *value;
    }

    const JsonObject& m_object;
};

// The name in a message whose topic has that level. Of a long name the topic has the beginning only.
std::string NameOf(const Fields& fields, const char* key, std::string_view level, std::size_t most) {
    std::string name = fields.Text(key);
    if (name.size() > most) throw Refusal::Content;
    if (TopicLevel(name) != level) throw Refusal::Disagrees;
    return name;
}

MessageId IdOf(const Fields& fields, std::string_view device) {
    const std::optional<MessageId> id = ReadMessageId(fields.Text("id"));
    if (!id || id->number > kMostNumber) throw Refusal::Content;
    if (id->device != device) throw Refusal::Disagrees;
    return *id;
}

std::optional<std::uint64_t> DurationOf(const JsonObject& call) {
    const auto found = call.find("duration");
    if (found == call.end() || !found->is_number_unsigned()) return std::nullopt;
    const auto duration = found->get<std::uint64_t>();
    return duration <= INT64_MAX ? std::make_optional(duration) : std::nullopt;  // what databases have room for
}

FleetEvent ReadEvent(const Address& address, const JsonObject& object) {
    const Fields fields(object);
    const MessageId id = IdOf(fields, address.device);
    FleetEvent event;
    event.origin = {NameOf(fields, "device", address.device, kMostDevice), id.boot, id.run};
    event.number = id.number;
    event.id = MessageIdText(id);
    event.time = fields.Time("time");
    event.cycle = fields.Number("cycle");
    event.event = NameOf(fields, "event", *address.event, kMostEvent);
    event.value = fields.Text("value");
    event.call = Shared(fields.ObjectOrNull("call"));
    event.duration = DurationOf(*event.call);
    return event;
}

FleetDrop ReadDrop(const JsonObject& row) {
    if (!row.is_array() || row.size() != 3 || !row[0].is_string()) throw Refusal::Content;
    const auto& name = row[0].get_ref<const std::string&>();
    const NumberRange range = {Fields::NumberOf(row[1]), Fields::NumberOf(row[2])};
    const std::string boot = name.substr(0, kBootDigits);
    const std::string run = name.size() <= kBootDigits ? "" : name.substr(kBootDigits + 1);
    const bool isWhole = IsHexOf(boot, kBootDigits) && IsHexOf(run, kRunDigits) && name[kBootDigits] == ':';
    if (!isWhole || range.first == 0 || range.last < range.first) throw Refusal::Content;
    return {boot, run, range};
}

std::vector<FleetDrop> ReadDrops(const JsonObject* rows) {
    std::vector<FleetDrop> drops;
    if (rows == nullptr) return drops;
    if (!rows->is_array()) throw Refusal::Content;
    for (const JsonObject& row : *rows) {
        if (drops.size() == kMostDrops) break;
        drops.push_back(ReadDrop(row));
    }
    return drops;
}

FleetStatus ReadStatus(const Address& address, const JsonObject& object) {
    const Fields fields(object);
    const std::optional<DeviceState> state = ReadDeviceState(fields.Text("state"));
    if (!state) throw Refusal::Content;
    FleetStatus status;
    status.origin = {NameOf(fields, "device", address.device, kMostDevice), fields.HexText("boot", kBootDigits),
                     fields.HexText("run", kRunDigits)};
    status.state = *state;
    status.time = fields.Time("time");
    status.taken = fields.Number("taken");
    status.waiting = fields.Number("waiting");
    status.dropped = fields.Number("dropped");
    status.drops = ReadDrops(fields.Maybe("droppedIds"));
    if (fields.Maybe("health") != nullptr) status.health = StoredJson(fields.Object("health"));
    return status;
}

}  // namespace

const char* TextOf(DeviceState state) {
    return kStates[static_cast<std::size_t>(state)];
}

std::optional<DeviceState> ReadDeviceState(std::string_view text) {
    const auto* const found = std::find(std::begin(kStates), std::end(kStates), text);
    if (found == std::end(kStates)) return std::nullopt;
    return static_cast<DeviceState>(found - std::begin(kStates));
}

const char* TextOf(Refusal refusal) {
    return kRefusalTexts[static_cast<std::size_t>(refusal)];
}

FleetMessage FleetReader::Read(std::string_view topic, std::string_view payload) const {
    if (topic.substr(0, m_begin.size()) != m_begin) return Refusal::Topic;
    const std::optional<Address> address = ReadAddress(topic.substr(m_begin.size()));
    if (!address) return Refusal::Topic;
    if (payload.size() > m_mostBytes) return Refusal::Long;
    if (payload.empty() && !address->event) return std::monostate();
    try {
        const JsonObject object = ParseMessage(payload);
        if (address->event) return ReadEvent(*address, object);
        return ReadStatus(*address, object);
    } catch (const Refusal refusal) {
        return refusal;
    }
}

}  // namespace qxlt
