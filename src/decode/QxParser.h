// Turns dumps into records of the store. A dump is a run of packets; each packet's tag selects a buffer decoder, which
// splits its bytes into items; each item's tag selects an item decoder, which writes to the store. Also runs the loaded
// script over the decoded calls, and delivers the events.
//
// Used by one thread at a time. Nothing that a dump contains makes reading leave its bytes, or keep more memory than in
// proportion to them; see QxFormat.h for the limits.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "IQxBuffer.h"
#include "IQxItem.h"
#include "IQxLogTracker.h"
#include "IQxScript.h"
#include "QxDecodeContext.h"
#include "QxEventSink.h"

class IQxEventObserver;

class QxParser final : public QxDecodeContext {
public:
    // `callback` may be null; it gets `context` with every event.
    QxParser(IQxLogTracker::Callback callback, void* context);
    QxParser(const QxParser&) = delete;
    QxParser& operator=(const QxParser&) = delete;
    ~QxParser();

    // Decodes one dump (size in bytes and the bytes, which the caller owns) into `data`, or into the store of the call
    // before when `data` is null. Returns 1; or 0 when the dump is damaged, with everything before the damage stored.
    // Threads' streams are joined only; Extract decodes them. Re-entered for the dumps inside compressed items.
    int Parse(std::pair<int, char*>& dump, std::shared_ptr<IQxData> data);

    // Decodes the packet at `p` and returns its length. Outside Parse it requires that the whole packet is there.
    int Packet(const char* p);

    // Hands one packet payload to its decoder and returns the bytes that the decoder used up. Throws PERR_INVALID_TAG
    // for an unknown tag.
    int Payload(unsigned char tag, const char* data, int size, unsigned short prefixSize);

    // Hands one item to its decoder and returns the bytes that it used up. Throws PERR_INVALID_TAG for an unknown tag.
    int ParseItem(unsigned char tag, std::vector<char>& payload);

    // ParseItem for an item of a dump: `origins` tell where its bytes are from, the item stands at `offset` of them and
    // its header takes `headerLength`. Its bytes count as decoded once its decoder took it.
    int DecodeItem(unsigned char tag, std::vector<char>& payload, const QxOrigins& origins, std::size_t offset,
                   std::size_t headerLength);

    // Decodes the threads' streams that the dump before left. Returns 1, or 0 for damage: the streams then stay and are
    // decoded again by the next Extract.
    int Extract();

    // Forgets what the decoders have joined and not yet decoded.
    void DropJoined();

    // Runs the loaded script over the stored calls. False when none is loaded, or of no known kind, or when the store
    // failed in the pass.
    bool Trace();

    // Calls the client back. What the callback throws is printed and goes no further.
    void SendEvent(std::string name, std::string value, IQxData::HSCall call) {
        m_events.Send(name, std::move(value), std::move(call));
    }
    // Where events that fire go, for scripts.
    QxEventSink& Events() { return m_events; }
    const QxEventSink& Events() const { return m_events; }

    // Who watches the trace pass decide; null, as it is at first, for nobody. Not owned.
    void SetObserver(IQxEventObserver* observer) { m_observer = observer; }
    IQxEventObserver* Observer() const { return m_observer; }

    // Makes Payload forget that compressed data waits to be decoded.
    void ForgetLastBuffer() { m_lastBufferTag = 0; }

    // Decodes a dump that was unpacked from a compressed item. Throws PERR_INVALID_SIZE when dumps nest too deep.
    void ParseNested(std::vector<char>& dump);

    // Where the last dump given to Parse from outside stopped decoding: its size, or the offset of the packet at which
    // it was damaged.
    std::size_t StoppedAt() const { return m_stoppedAt; }

    // Whether items of that tag are known.
    bool KnowsItem(unsigned char tag) const { return m_items[tag] != nullptr; }

private:
    int ParsePackets(const std::pair<int, char*>& dump);
    bool RunScript();

    std::array<std::unique_ptr<IQxBuffer>, 256> m_buffers;  // by tag, as are the items
    std::array<std::unique_ptr<IQxItem>, 256> m_items;
    std::unordered_map<std::string, std::unique_ptr<IQxScript>> m_scripts;  // by the top element's name
    unsigned char m_lastBufferTag = 0;
    QxEventSink m_events;
    IQxEventObserver* m_observer = nullptr;
    std::uint64_t m_dumpBytes = 0;  // of all dumps given to Parse from outside
    unsigned m_nesting = 0;         // dumps around the one that is being parsed
    std::size_t m_stoppedAt = 0;
};
