#include "EventRules.h"

#include <algorithm>
#include <utility>

#include "Failure.h"
#include "Json.h"
#include "ReadFile.h"

namespace qxlt {

namespace {

constexpr std::size_t kMostMapBytes = 1 << 20;

EventRule Pair(const char* entry, const char* exit) {
    EventRule rule;
    rule.entry = entry;
    rule.exit = exit;
    return rule;
}

// Compilers have these called at each function when they are told to; the addresses are all that is known.
EventRule FunctionsOfCompilers() {
    EventRule rule = Pair("lttng_ust_cyg_profile*:func_entry", "lttng_ust_cyg_profile*:func_exit");
    rule.methodField = "addr";
    rule.in.emplace();
    rule.out.emplace();
    return rule;
}

// What the star of the pattern stands for; nothing when the name is none of the pattern's.
std::optional<std::string> StarOf(const std::string& pattern, const std::string& name) {
    const std::size_t star = pattern.find('*');
    if (star == std::string::npos) return pattern == name ? std::optional<std::string>("") : std::nullopt;
    const std::size_t behind = pattern.size() - star - 1;
    if (name.size() < star + behind || name.compare(0, star, pattern, 0, star) != 0) return std::nullopt;
    if (name.compare(name.size() - behind, behind, pattern, star + 1) != 0) return std::nullopt;
    return name.substr(star, name.size() - star - behind);
}

std::string Filled(const std::string& pattern, const std::string& text) {
    const std::size_t star = pattern.find('*');
    return star == std::string::npos ? pattern : pattern.substr(0, star) + text + pattern.substr(star + 1);
}

// Of "PROVIDER:NAME".
std::string ProviderOf(const std::string& event) {
    const std::size_t colon = event.find(':');
    return colon == std::string::npos ? std::string() : event.substr(0, colon);
}
std::string NameOf(const std::string& event) {
    return event.substr(event.find(':') + 1);
}

EventMeaning Meaning(EventMeaning::Kind kind, const EventRule& rule, const std::string& event,
                     const std::string& star) {
    const std::string own = star.empty() ? event : star;
    EventMeaning meaning;
    meaning.kind = kind;
    meaning.rule = &rule;
    meaning.method = rule.method.empty() ? NameOf(own) : rule.method;
    meaning.package = rule.package.value_or(ProviderOf(event));
    return meaning;
}

// A map file as it is read: what is wrong is told with its place.
class MapFile final {
public:
    MapFile(std::string path, const JsonObject& json) : m_path(std::move(path)), m_json(json) {}

    void Read(std::vector<EventRule>& rules, MakerFields& makers) const {
        RequireObject(m_json, "the file");
        RequireKeys(m_json, {"calls", "process", "process_id", "thread_id", "thread"}, "the file");
        ReadName(m_json, "process", makers.process);
        ReadName(m_json, "process_id", makers.processId);
        ReadName(m_json, "thread_id", makers.threadId);
        ReadName(m_json, "thread", makers.thread);
        if (!m_json.contains("calls")) return;
        const JsonObject& calls = m_json["calls"];
        if (!calls.is_array()) Fail("\"calls\" is no list");
        for (std::size_t i = 0; i < calls.size(); ++i) {
            rules.push_back(ReadRule(calls[i], "call " + std::to_string(i + 1)));
        }
    }

private:
    [[noreturn]] void Fail(const std::string& what) const { throw Failure(kCannotStart, m_path + ": " + what); }

    void RequireObject(const JsonObject& json, const std::string& where) const {
        if (!json.is_object()) Fail(where + " is no object with \"calls\" or an \"entry\"");
    }

    void RequireKeys(const JsonObject& json, const std::vector<std::string>& known, const std::string& where) const {
        for (const auto& [key, value] : json.items()) {
            if (std::find(known.begin(), known.end(), key) != known.end()) continue;
            std::string names;
            for (const std::string& name : known) names += (names.empty() ? "" : ", ") + name;
            std::string what = where;
            Fail(what.append(" has no \"").append(key).append("\"; there are ").append(names));
        }
    }

    std::string ReadText(const JsonObject& json, const char* key, const std::string& where) const {
        if (!json.contains(key)) return std::string();
        if (!json[key].is_string()) Fail(where + ": \"" + key + "\" is no text");
        return json[key].get<std::string>();
    }

    void ReadName(const JsonObject& json, const char* key, std::vector<std::string>& names) const {
        const std::string name = ReadText(json, key, "the file");
        if (!name.empty()) names = {name};
    }

    std::optional<std::vector<std::string>> ReadNames(const JsonObject& json, const char* key,
                                                      const std::string& where) const {
        if (!json.contains(key)) return std::nullopt;
        std::vector<std::string> names;
        if (!json[key].is_array()) Fail(where + ": \"" + key + "\" is no list of names of fields");
        for (const JsonObject& name : json[key]) {
            if (!name.is_string()) Fail(where + ": \"" + key + "\" is no list of names of fields");
            names.push_back(name.get<std::string>());
        }
        return names;
    }

    EventRule ReadRule(const JsonObject& json, const std::string& where) const {
        RequireObject(json, where);
        RequireKeys(json, {"entry", "exit", "method", "method_field", "package", "in", "out", "ret"}, where);
        EventRule rule;
        rule.entry = ReadText(json, "entry", where);
        rule.exit = ReadText(json, "exit", where);
        if (rule.entry.empty()) Fail(where + " has no \"entry\", the name of the event that begins it");
        if (rule.entry == rule.exit) Fail(where + ": \"entry\" and \"exit\" are one event");
        rule.method = ReadText(json, "method", where);
        rule.methodField = ReadText(json, "method_field", where);
        if (json.contains("package")) rule.package = ReadText(json, "package", where);
        rule.in = ReadNames(json, "in", where);
        rule.out = ReadNames(json, "out", where);
        if (json.contains("ret")) rule.ret = ReadText(json, "ret", where);
        return rule;
    }

    const std::string m_path;
    const JsonObject& m_json;
};

}  // namespace

EventRules::EventRules()
    : m_rules{FunctionsOfCompilers(),     Pair("*_entry", "*_exit"), Pair("*_enter", "*_exit"),
              Pair("*_enter", "*_leave"), Pair("*_begin", "*_end"),  Pair("*:entry", "*:exit"),
              Pair("*:begin", "*:end")} {}

void EventRules::Read(const std::string& file) {
    const JsonObject json = ParseJson(file, ReadFile(file, kMostMapBytes));
    std::vector<EventRule> rules;
    MapFile(file, json).Read(rules, m_makers);
    m_rules.insert(m_rules.begin(), rules.begin(), rules.end());
}

EventMeaning EventRules::MeaningOf(const std::string& event, const Exists& exists) const {
    for (const EventRule& rule : m_rules) {
        const std::optional<std::string> entry = StarOf(rule.entry, event);
        if (entry && rule.exit.empty()) return Meaning(EventMeaning::Kind::Single, rule, event, *entry);
        if (entry && exists(Filled(rule.exit, *entry))) return Meaning(EventMeaning::Kind::Entry, rule, event, *entry);
        const std::optional<std::string> exit = rule.exit.empty() ? std::nullopt : StarOf(rule.exit, event);
        if (exit && exists(Filled(rule.entry, *exit))) return Meaning(EventMeaning::Kind::Exit, rule, event, *exit);
    }
    static const EventRule plain;
    return Meaning(EventMeaning::Kind::Single, plain, event, "");
}

}  // namespace qxlt
