#include "CheckRecorded.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>

#include "CheckedEvent.h"
#include "CommandName.h"
#include "ScriptNumber.h"
#include "Text.h"

namespace qxlt {

namespace {

using Methods = std::vector<const RecordedMethod*>;

const char* MomentOf(const CheckedEvent& event) {
    return event.Words().Tag() == qxscript::Tag::In ? "at entry" : "at exit";
}

// One event of an action against one of the action's methods. Several call sites may have the method's name: what one
// of them has is there.
class EventComparison final {
public:
    EventComparison(const CheckedEvent& event, const std::string& method, const Methods& recorded, Findings& findings)
        : m_event(event), m_method(method), m_recorded(recorded), m_findings(findings) {}

    void Compare() const {
        const std::optional<ScriptNumber> index = ReadIndex(m_event[QxEventWords::kValue]);
        if (!index || (IsResult() && index->value != 0)) return;
        const auto at = static_cast<std::size_t>(index->value);
        const bool isThere = Any([&](const RecordedMethod& method) { return at < ValuesOf(method).size(); });
        if (isThere) {
            CompareType(at);
        } else if (IsResult()) {
            Add(CheckId::NotRecordedThen, QxEventWords::kTag,
                "no result of " + m_method + " is recorded, its type is " + Quoted(First().location.args.retType));
        } else if (Any([&](const RecordedMethod& method) { return at < method.location.args.argType.size(); })) {
            AddNotThen(at);
        } else {
            Add(CheckId::NoSuchArgument, QxEventWords::kValue,
                m_method + " has " + Counted(First().location.args.argType.size(), "argument") + ": index " +
                    std::to_string(at) + " is never there");
        }
    }

private:
    template <typename Condition>
    bool Any(const Condition& condition) const {
        return std::any_of(m_recorded.begin(), m_recorded.end(),
                           [&](const RecordedMethod* method) { return condition(*method); });
    }

    qxscript::Tag Tag() const { return m_event.Words().Tag(); }
    bool IsResult() const { return Tag() == qxscript::Tag::Ret; }
    const RecordedMethod& First() const { return *m_recorded.front(); }
    const std::vector<RecordedValue>& ValuesOf(const RecordedMethod& method) const { return method.Values(Tag()); }

    void Add(CheckId id, QxEventWords::Attribute attribute, const std::string& text,
             const std::string& instead = std::string()) const {
        m_findings.Add(id, m_event.Element(), ValuePlace(m_event.Element(), attribute), text, instead);
    }

    void CompareType(std::size_t at) const {
        const qxscript::Type type = m_event.Words().Type();
        if (type == qxscript::Type::Other) return;
        if (Any([&](const RecordedMethod& method) {
                return at < ValuesOf(method).size() && Fits(type, ValuesOf(method)[at]);
            })) {
            return;
        }
        const auto has = [&](const RecordedMethod* method) { return at < ValuesOf(*method).size(); };
        const RecordedValue& value = ValuesOf(**std::find_if(m_recorded.begin(), m_recorded.end(), has))[at];
        const std::string fitting = TextOf(FittingType(value));
        Add(CheckId::UnfitType, QxEventWords::kType,
            TextOf(type) + " does not fit " + Quoted(value.type) + ", which is recorded " +
                (IsResult() ? "as the result" : MomentOf(m_event)) + " of " + m_method,
            fitting.empty() ? std::string() : Written(QxEventWords::kType, fitting));
    }

    // The argument may be recorded at the other moment, or at this one under a smaller index.
    void AddNotThen(std::size_t argument) const {
        std::string instead;
        for (const qxscript::Tag tag : {qxscript::Tag::In, qxscript::Tag::Out}) {
            const std::vector<RecordedValue>& values = First().Values(tag);
            const auto found = std::find_if(values.begin(), values.end(), [argument](const RecordedValue& value) {
                return value.argument == argument;
            });
            if (found == values.end() || !instead.empty()) continue;
            instead = Written(QxEventWords::kTag, TextOf(tag)) + " " +
                      Written(QxEventWords::kValue, std::to_string(found - values.begin()));
        }
        Add(CheckId::NotRecordedThen, QxEventWords::kValue,
            m_method + " has " + Counted(ValuesOf(First()).size(), "argument") + " recorded " + MomentOf(m_event) +
                ": index " + std::to_string(argument) + " is never there",
            instead);
    }

    const CheckedEvent& m_event;
    const std::string& m_method;
    const Methods& m_recorded;
    Findings& m_findings;
};

// What is recorded, in all processes, by the name of the method.
class RecordedIndex final {
public:
    explicit RecordedIndex(const Inventory& inventory) {
        for (const RecordedMethod& method : inventory.Methods()) {
            m_methods[method.Name()].push_back(&method);
            m_bareNames.emplace(method.location.packageName + "." + method.Name(), method.Name());
        }
        for (const auto& entry : m_methods) m_names.push_back(entry.first);
        for (const RecordedProcess& process : inventory.Processes()) {
            if (process.name.empty()) continue;
            m_processes.push_back(process.name);
            m_commands.insert(CommandName(process.name));
        }
    }

    const Methods& Find(const std::string& name) const {
        static const Methods none;
        const auto found = m_methods.find(name);
        return found == m_methods.end() ? none : found->second;
    }

    // The bare name of a recorded method that is written with its package; empty when it is not.
    std::string BareName(const std::string& name) const {
        const auto found = m_bareNames.find(name);
        return found == m_bareNames.end() ? std::string() : found->second;
    }

    // Whether a process of the name was recorded, as far as the dumps tell names.
    bool HasProcess(const std::string& name) const {
        return m_commands.empty() || m_commands.count(CommandName(name)) != 0;
    }

    // The recorded name that an unknown one may stand for.
    std::string MeantMethod(const std::string& name) {
        const std::string bare = WithoutPackage(name);
        return Find(bare).empty() || bare.empty() ? Meant(name, m_names) : bare;
    }
    std::string MeantProcess(const std::string& name) { return Meant(name, m_processes); }

private:
    static constexpr unsigned kMostSearches = 20;

    // Each search takes in all names; a script that fits in nothing is not mended name by name.
    std::string Meant(const std::string& name, const std::vector<std::string>& names) {
        return m_searches++ < kMostSearches ? qxlt::Meant(name, names) : std::string();
    }

    std::map<std::string, Methods> m_methods;
    std::vector<std::string> m_names;
    std::map<std::string, std::string> m_bareNames;  // by package and name
    std::vector<std::string> m_processes;
    std::set<std::string> m_commands;  // what they are found by
    unsigned m_searches = 0;
};

void CompareEvents(const ScenarioAction& action, const std::string& method, const Methods& recorded,
                   Findings& findings) {
    for (const ScriptElement* const element : action.events) {
        const CheckedEvent event(*element);
        if (event.HasSource()) EventComparison(event, method, recorded, findings).Compare();
    }
}

void CompareProcess(const ScriptElement& action, RecordedIndex& recorded, Findings& findings) {
    const std::string& process = action.Value(qxscript::kActionProcess);
    if (process.empty() || recorded.HasProcess(process)) return;
    findings.Add(CheckId::ProcessNotRecorded, action, ValuePlace(action, qxscript::kActionProcess),
                 "no process " + Quoted(process) + " is recorded", recorded.MeantProcess(process));
}

void AddUnknown(const ScriptElement& method, RecordedIndex& recorded, Findings& findings) {
    const ScriptAttribute& name = MethodName(method);
    const std::string bare = recorded.BareName(name.value);
    if (!bare.empty()) {
        findings.Add(CheckId::MethodWithPackage, method, name.valuePlace,
                     Quoted(name.value) + " has the package in front, and calls are matched by the bare name",
                     Written(name.name, bare));
    } else {
        findings.Add(CheckId::NeverRecorded, method, name.valuePlace,
                     "no method " + Quoted(name.value) + " is recorded", recorded.MeantMethod(name.value));
    }
}

}  // namespace

std::vector<MethodCalls> CheckRecorded(const ScenarioOutline& outline, const Inventory& inventory, Findings& findings) {
    std::vector<MethodCalls> calls;
    RecordedIndex index(inventory);
    for (const ScenarioAction& action : outline.Actions()) {
        CompareProcess(*action.element, index, findings);
        for (const ScriptElement* const method : action.methods) {
            if (method->attributes.empty()) continue;
            const ScriptAttribute& name = MethodName(*method);
            const Methods& recorded = index.Find(name.value);
            calls.push_back({method, name.value, 0});
            for (const RecordedMethod* const site : recorded) calls.back().calls += site->calls;
            if (!recorded.empty()) {
                CompareEvents(action, name.value, recorded, findings);
                continue;
            }
            AddUnknown(*method, index, findings);
        }
    }
    return calls;
}

}  // namespace qxlt
