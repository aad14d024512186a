// Calls of methods, made by hand.
#pragma once

#include <cstdint>
#include <string>

#include "CallView.h"
#include "DumpWriter.h"

// One call, with its location. It is in the process m, with the id 7 there.
class MadeCall final {
public:
    MadeCall(const std::string& method, std::uint64_t time, std::uint64_t exitTime) {
        m_location.callerName = method;
        m_location.packageName = "audio";
        m_call.pid = 7;
        m_call.tid = 3;
        m_call.time = time;
        m_call.exitTime = exitTime;
        m_call.locId = static_cast<unsigned>(method.size());
    }

    MadeCall& Thread(unsigned short tid) {
        m_call.tid = tid;
        return *this;
    }
    MadeCall& In(const std::string& text) {
        m_call.args.in.push_back({{"", dump::Stored(text)}});
        return *this;
    }
    MadeCall& Returns(const std::string& text) {
        m_call.args.ret = {{{"", dump::Stored(text)}}};
        return *this;
    }
    MadeCall& Site(unsigned number, const std::string& package) {
        m_call.locId = number;
        m_location.packageName = package;
        return *this;
    }
    MadeCall& Process(const std::string& name) {
        m_process = name;
        m_call.pid = static_cast<unsigned short>(8 + name.size());
        return *this;
    }

    qxlt::CallView View() const { return {m_call, m_location, m_process, std::nullopt}; }

private:
    IQxData::HSCall m_call;
    IQxData::_HSCallLocation m_location;
    std::string m_process = "m";
};
