#include "EventSink.h"

namespace {

// The store holds each traced byte plus one.
std::string Traced(const IQxData::HSICallArg& argument) {
    std::string bytes = argument.at(0).second;
    for (char& byte : bytes) byte = static_cast<char>(static_cast<unsigned char>(byte) - 1);
    return bytes;
}

std::uint32_t Number(const IQxData::HSICallArg& argument) {
    std::uint32_t number = 0;
    unsigned shift = 0;
    for (const char byte : Traced(argument)) {
        number |= static_cast<std::uint32_t>(static_cast<unsigned char>(byte)) << shift;
        shift += 8;
    }
    return number;
}

bool HasResult(const IQxData::HSCall& call) {
    return !call.args.ret.empty() && !call.args.ret[0].empty();
}

}  // namespace

int EventSink::OnEvent(std::string name, std::string value, IQxData::HSCall call, void* sink) {
    CountEvent event{name, value, call.pid, 0, 0, "", HasResult(call), 0};
    event.thread = Number(call.args.in.at(0));
    event.n = Number(call.args.in.at(1));
    event.text = Traced(call.args.in.at(2));
    if (event.returned) event.result = Number(call.args.ret.at(0));
    auto& self = *static_cast<EventSink*>(sink);
    const std::lock_guard<std::mutex> lock(self.m_mutex);
    self.m_events.push_back(event);
    self.m_arrived.notify_all();
    return 0;
}

std::vector<CountEvent> EventSink::Events() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_events;
}

bool EventSink::WaitFor(const std::function<bool(const std::vector<CountEvent>&)>& condition) {
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_arrived.wait_for(lock, std::chrono::seconds(30), [&] { return condition(m_events); });
}

bool EventSink::WaitForCount(std::size_t count) {
    return WaitFor([count](const std::vector<CountEvent>& events) { return events.size() >= count; });
}
