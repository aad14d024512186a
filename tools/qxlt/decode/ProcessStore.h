// A store that knows who made a call, and how its values are read. All processes of a name have one id in the store,
// that of the first: a program that was started again, or runs twice, would have its calls shown under the id of
// another one.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>

#include "QxObservedData.h"
#include "ValueTypes.h"

namespace qxlt {

// Who made a call, as far as the dumps tell.
struct CallMaker {
    std::optional<std::uint32_t> process;  // its whole id
    std::string thread;                    // its name
};

// A thread belongs to the process whose header came last before it in the dump, if that header tells the whole process
// id: those of the host's control do.
class ProcessStore : public QxObservedData {
public:
    void clear() override;
    void clearCalls() override;
    void AppendHeader(unsigned short pid, std::string process, std::string qxVersion, std::string swBuildString,
                      std::string swVersionModel, std::string extraField1, std::string extraField2) override;
    void AppendCurrentProcess(std::string name) override;
    void AppendThread(HSIThread& thread) override;
    void AppendCallLocation(_HSCallLocation& location) override;
    void AppendCompArgDesc(std::string name, _HSCompArgDesc desc) override;

    // Takes each location that dumps bring, while they are decoded.
    using SiteSink = std::function<void(const _HSCallLocation&)>;
    void SetSiteSink(SiteSink sink) { m_sites = std::move(sink); }

    // Who made a call that the store holds. Valid until the store takes something.
    const CallMaker& MakerOf(unsigned long long key, const HSCall& call) const;

    // How the values of a call that the store holds are read. Valid until the store takes something.
    CallTypes TypesOf(const HSCall& call) { return m_types.Of(call); }

    // Notes the makers of the calls that the store holds. To be done when calls stay while other dumps are decoded:
    // threads of other processes may have the same numbers there.
    void KeepMakers();

private:
    using SharedMaker = std::shared_ptr<const CallMaker>;

    const SharedMaker* FindMaker(const HSCall& call) const;

    std::optional<std::uint32_t> m_header;  // the process of the last header of the dump
    std::map<HSIThreadId, SharedMaker> m_makers;
    std::unordered_map<unsigned long long, SharedMaker> m_kept;  // by the calls' keys
    ValueTypes m_types{*this};
    SiteSink m_sites;
};

}  // namespace qxlt
