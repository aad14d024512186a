// The part of a tracking cycle that follows the fetching of the dumps: decodes each process's dump into the store, then
// runs the scripts over the new calls. Live tracking and the replay of kept dumps are both this.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "IQxData.h"
#include "QxParser.h"

class QxCycle final {
public:
    // How one dump decoded. `whole` is false when it was damaged or threw; `stoppedAt` is then the offset of the packet
    // that could not be decoded (the dump's size when the damage lay in the threads' joined streams).
    struct Decoded {
        bool parsed = true;
        bool extracted = true;
        std::size_t stoppedAt = 0;
        std::uint64_t bytesNotDecoded = 0;  // see QxParser::NotDecoded; a stream that is cut counts, and is whole
        bool Whole() const { return parsed && extracted; }
    };

    // Nothing but `store` survives the cycle. Callback and context as for IQxLogTracker::Run.
    QxCycle(IQxLogTracker::Callback callback, void* context, std::shared_ptr<IQxData> store);

    QxParser& Parser() { return m_parser; }

    // Makes the process current in the store and decodes its dump, if there is one. An error that the dump raises is
    // printed and goes no further.
    Decoded Decode(const std::string& process, std::vector<char>& dump);

    // The cycle's end: runs the scripts over the calls in the store and drops the calls, so that each is traced once. A
    // cycle that primes does neither.
    void Finish(bool primes);

private:
    QxParser m_parser;
    std::shared_ptr<IQxData> m_store;
};
