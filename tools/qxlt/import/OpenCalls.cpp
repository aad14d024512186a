#include "OpenCalls.h"

#include <algorithm>
#include <utility>

namespace qxlt {

namespace {

// Of one that may wait for long, its place included.
std::size_t CostOf(const ImportedCall& call) {
    std::size_t cost = sizeof call + call.method.size() + call.package.size();
    for (const ImportedValue& value : call.in) {
        cost += sizeof value + value.bytes.size() + value.type.name.size();
        for (const auto& member : value.type.members) cost += sizeof member + member.name.size() + member.type.size();
    }
    return cost;
}

}  // namespace

void OpenCalls::Enter(std::uint16_t thread, ImportedCall call) {
    const std::size_t cost = CostOf(call);
    if (m_bytes + cost > kMostBytes) EndAll();
    m_bytes += cost;
    m_open[thread].push_back(std::move(call));
}

bool OpenCalls::Leave(std::uint16_t thread, const std::string& method, ImportedCall::Exit exit) {
    Stack& stack = m_open[thread];
    const auto found = std::find_if(stack.rbegin(), stack.rend(), [&method](const ImportedCall& call) {
        return method.empty() || call.method == method;
    });
    if (found == stack.rend()) return false;
    HandOn(thread, stack, static_cast<std::size_t>(stack.rend() - found));
    m_bytes -= CostOf(stack.back());
    stack.back().exit = std::move(exit);
    m_sink(thread, stack.back());
    stack.pop_back();
    return true;
}

// Of the stack's calls those from that place on.
void OpenCalls::HandOn(std::uint16_t thread, Stack& stack, std::size_t from) {
    for (std::size_t i = from; i < stack.size(); ++i) {
        m_bytes -= CostOf(stack[i]);
        m_sink(thread, stack[i]);
    }
    stack.resize(std::min(stack.size(), from));
}

void OpenCalls::End(std::uint16_t thread) {
    HandOn(thread, m_open[thread], 0);
}

void OpenCalls::EndAll() {
    for (auto& [thread, stack] : m_open) HandOn(thread, stack, 0);
    m_open.clear();
}

}  // namespace qxlt
