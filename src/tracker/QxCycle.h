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
        // See QxParser::NotDecoded; a stream that is cut counts, and is whole. What waits at the dump's end counts,
        // too, until a later dump of the cycle has it decoded.
        std::uint64_t bytesNotDecoded = 0;
        bool Whole() const { return parsed && extracted; }
    };

    // Nothing but `store` survives the cycle. Callback and context as for IQxLogTracker::Run.
    QxCycle(IQxLogTracker::Callback callback, void* context, std::shared_ptr<IQxData> store);

    QxParser& Parser() { return m_parser; }
    const QxParser& Parser() const { return m_parser; }

    // Makes the process current in the store and decodes its dump, if there is one. An error that the dump raises is
    // printed and goes no further.
    Decoded Decode(const std::string& process, std::vector<char>& dump);

    // How the dumps decoded so far, in the order of Decode. The bytes that were not decoded are final once the cycle's
    // last dump is decoded.
    const std::vector<Decoded>& Dumps() const { return m_dumps; }

    // The cycle's end: runs the scripts over the calls in the store and drops the calls, so that each is traced once. A
    // cycle that primes does neither.
    void Finish(bool primes);

private:
    Decoded DecodeDump(const std::string& process, std::vector<char>& dump);

    QxParser m_parser;
    std::shared_ptr<IQxData> m_store;
    std::vector<Decoded> m_dumps;
    std::vector<std::uint32_t> m_numbers;  // of these with the parser; 0 for those that it has not seen
};
