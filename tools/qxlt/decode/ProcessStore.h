// A store that knows which process made a call. All processes of a name have one id in the store, that of the first: a
// program that was started again, or runs twice, would have its calls shown under the id of another one.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>

#include "QxObservedData.h"

namespace qxlt {

// A thread belongs to the process whose header came last before it in the dump, if that header tells the whole process
// id: those of the host's control do.
class ProcessStore : public QxObservedData {
public:
    void AppendHeader(unsigned short pid, std::string process, std::string qxVersion, std::string swBuildString,
                      std::string swVersionModel, std::string extraField1, std::string extraField2) override;
    void AppendCurrentProcess(std::string name) override;
    void AppendThread(HSIThread& thread) override;
    void clearCalls() override;

    // The id of the process that made a call which the store holds; nothing when the dumps do not tell.
    std::optional<std::uint32_t> MakerOf(unsigned long long key, const HSCall& call) const;

    // Notes the makers of the calls that the store holds. To be done when calls stay while other dumps are decoded:
    // threads of other processes may have the same numbers there.
    void KeepMakers();

private:
    using Makers = std::map<HSIThreadId, std::uint32_t>;

    std::optional<std::uint32_t> MakerOf(const HSCall& call) const;

    std::optional<std::uint32_t> m_header;  // the process of the last header of the dump
    Makers m_makers;
    std::unordered_map<unsigned long long, std::uint32_t> m_kept;  // by the calls' keys
};

}  // namespace qxlt
