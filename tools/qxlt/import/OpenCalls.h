// The calls of each thread that have begun and are not known to have ended: an exit is that of the call of its method
// that began last.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "ImportedCapture.h"

namespace qxlt {

class OpenCalls final {
public:
    // What open calls take at most, all threads together; past it all of them are handed on without an exit.
    static constexpr std::size_t kMostBytes = 16 << 20;

    using Sink = std::function<void(std::uint16_t thread, const ImportedCall& call)>;
    explicit OpenCalls(Sink sink) : m_sink(std::move(sink)) {}

    void Enter(std::uint16_t thread, ImportedCall call);

    // Ends the call of that method, of any when it is empty, and hands it on; ahead of it those that were made in it
    // and have not ended, whose exits are lost. False when there is no such call.
    bool Leave(std::uint16_t thread, const std::string& method, ImportedCall::Exit exit);

    // Hands on those of the thread, or of all of them.
    void End(std::uint16_t thread);
    void EndAll();

private:
    using Stack = std::vector<ImportedCall>;

    void HandOn(std::uint16_t thread, Stack& stack, std::size_t from);

    const Sink m_sink;
    std::map<std::uint16_t, Stack> m_open;
    std::size_t m_bytes = 0;
};

}  // namespace qxlt
