// Scripts over calls that a test puts into the store, for tests of the scenario code. What events remember from other
// tests is set aside.
#pragma once

#include <functional>

#include "Decoding.h"
#include "QxScriptScenario.h"
#include "QxXMLLoader.h"

class Scripting : public Decoding {
protected:
    struct Fired {
        std::string name;
        std::string value;
        IQxData::HSCall call;
        bool operator==(const Fired& other) const { return name == other.name && value == other.value; }
    };

    Scripting() {
        QxEventMemory::Clear();
        RecordingLog::Clear();
        std::pair<int, char*> nothing(0, nullptr);
        tracing.Parse(nothing, store);
    }

    void Load(const std::string& xml) {
        ExactBytes text(xml);
        ASSERT_TRUE(QxXMLLoader::Parse(text.Pair(), store));
    }

    // A call of the method, which becomes the location `locId`.
    IQxData::HSCall Call(const std::string& method, unsigned locId = 1) {
        IQxData::_HSCallLocation location;
        location.locId = locId;
        location.callerName = method;
        store->AppendCallLocation(location);
        IQxData::HSCall call;
        call.pid = kPid;
        call.locId = locId;
        call.time = ++m_time;
        return call;
    }

    // Evaluates one event of these attributes against the call; whether it fired, with the value in `value`.
    bool Fires(const std::string& attributes, IQxData::HSCall call) {
        const std::size_t before = fired.size();
        Evaluate(attributes, std::move(call));
        if (fired.size() == before) return false;
        value = fired.back().value;
        return true;
    }

    void Evaluate(const std::string& attributes, IQxData::HSCall call) {
        QxScriptScenario().MakeEvent(LoadEvent(attributes).parent, call, &tracing);
    }

    // The event of these attributes, the only one of its action. It lives until the next one is loaded.
    IQxData::_HSScriptPtr& LoadEvent(const std::string& attributes) {
        m_event = std::make_shared<QxData>();
        ExactBytes text("<a><event " + attributes + "/></a>");
        EXPECT_TRUE(QxXMLLoader::Parse(text.Pair(), m_event)) << attributes;
        IQxData::_HSScript* slot = nullptr;
        return *(*m_event->GetScript(&slot))->children.front();
    }

    static IQxData::HSCall CallWith(std::vector<std::string> in, std::vector<std::string> out = {},
                                    std::vector<std::string> ret = {}) {
        IQxData::HSCall call;
        for (const std::string& bytes : in) call.args.in.push_back(Plain(bytes));
        for (const std::string& bytes : out) call.args.out.push_back(Plain(bytes));
        for (const std::string& bytes : ret) call.args.ret.push_back(Plain(bytes));
        return call;
    }
    static IQxData::HSCall Number(int number) { return CallWith({dump::Int(number, 4)}); }
    static IQxData::HSCall Text(const std::string& text) { return CallWith({text}); }

    static int OnEvent(std::string name, std::string value, IQxData::HSCall call, void* self) {
        auto& test = *static_cast<Scripting*>(self);
        test.fired.push_back({name, value, call});
        if (test.during) test.during();
        return 0;
    }

    std::vector<std::string> FiredNames() const {
        std::vector<std::string> names;
        for (const Fired& one : fired) names.push_back(one.name);
        return names;
    }

    std::vector<Fired> fired;
    std::function<void()> during;  // what the callback does besides
    std::string value;
    QxParser tracing{OnEvent, this};

private:
    unsigned long long m_time = 0;
    std::shared_ptr<QxData> m_event;
};
