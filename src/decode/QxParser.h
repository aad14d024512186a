// Turns dumps into records of the store. A dump is a run of packets; each packet's tag selects a buffer decoder, which
// splits its bytes into items; each item's tag selects an item decoder, which writes to the store. Also runs the loaded
// script over the decoded calls, and delivers the events.
//
// Used by one thread at a time. Nothing that a dump contains makes reading leave its bytes, or keep more memory than in
// proportion to them; see QxFormat.h for the limits.
#pragma once

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
#include "QxCursor.h"
#include "QxDecodeLog.h"
#include "QxDumpBudget.h"
#include "QxEventRoom.h"
#include "QxOrigins.h"
#include "QxUsedBytes.h"

class IQxEventObserver;

class QxParser final {
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

    // For an item decoder that leaves out the item and goes on: its bytes do not count as decoded.
    void DropItem() { m_item = {}; }

    // Decodes the threads' streams that the dump before left. Returns 1, or 0 for damage: the streams then stay and are
    // decoded again by the next Extract.
    int Extract();

    // Forgets what the decoders have joined and not yet decoded.
    void DropJoined();

    // Runs the loaded script over the stored calls. False when none is loaded, or of no known kind, or when the store
    // failed in the pass.
    bool Trace();

    // Stores an event that fired in the pass that is running, if there is room for it.
    void KeepEvent(const std::string& name, const std::string& value, const IQxData::HSCall& call);

    // Calls the client back. What the callback throws is printed and goes no further.
    void SendEvent(std::string name, std::string value, IQxData::HSCall call);

    // The store, for decoders. Throws PERR_INVALID_SIZE when there is none yet.
    IQxData& Store() const;
    // The store, shared; null until Parse was given one.
    const std::shared_ptr<IQxData>& Data() const { return m_data; }

    // Who watches the trace pass decide; null, as it is at first, for nobody. Not owned.
    void SetObserver(IQxEventObserver* observer) { m_observer = observer; }
    IQxEventObserver* Observer() const { return m_observer; }

    QxDecodeLog& Log() { return m_log; }
    QxDumpBudget& Budget() { return m_budget; }

    // A cursor from `p` to the end of the dump that is being parsed; outside Parse, over `size` bytes.
    QxCursor CursorAt(const char* p, std::size_t size, const char* reader);

    // Makes Payload forget that compressed data waits to be decoded.
    void ForgetLastBuffer() { m_lastBufferTag = 0; }

    // Decodes a dump that was unpacked from a compressed item. Throws PERR_INVALID_SIZE when dumps nest too deep.
    void ParseNested(std::vector<char>& dump);

    // Where the last dump given to Parse from outside stopped decoding: its size, or the offset of the packet at which
    // it was damaged.
    std::size_t StoppedAt() const { return m_stoppedAt; }

    // Where the byte at `p` is from; from nowhere outside Parse.
    QxOrigin OriginOf(const char* p) const;

    // Counts the payload's bytes as decoded, but for `count` of them at `offset`, which Extract decodes. Any of them
    // may lie past the dump's end.
    void UseAround(const char* payload, std::size_t size, std::size_t offset, std::size_t count);

    // How many bytes of the last dump given to Parse from outside have not been decoded: of damaged packets and items,
    // of what follows them, of what is passed over in search of the next item, and of what waits for a packet that did
    // not come. A packed item counts with its own bytes when it cannot be unpacked, and with those that it unpacks to
    // when it can. Requires: Extract was called.
    std::uint64_t NotDecoded() const { return Dumps() == 0 ? 0 : NotDecoded(Dumps()); }

    // The same for each dump since the parser was made, by its number from 1 on. What stayed joined may be decoded with
    // a later dump: the number then falls.
    std::uint64_t NotDecoded(std::uint32_t dump) const { return m_used.Left(dump); }
    std::uint32_t Dumps() const { return m_used.Dumps(); }

private:
    using Bytes = std::pair<const char*, const char*>;  // begin, end

    // The item that is being decoded; null when its bytes are not to be counted, or were.
    struct Item {
        const QxOrigins* origins = nullptr;
        std::size_t offset = 0;
        std::size_t size = 0;
    };

    void m_BeginDump(std::size_t size);
    bool m_IsInDump(const char* p) const;
    void m_Use(const char* p, std::uint64_t size);
    void m_UseItem();
    void m_MakeBuffers();
    void m_MakeItems();
    bool m_Trace();
    int m_ParsePackets(const std::pair<int, char*>& dump);

    std::unordered_map<unsigned char, std::unique_ptr<IQxBuffer>> m_buffers;
    std::unordered_map<unsigned char, std::unique_ptr<IQxItem>> m_items;
    std::unordered_map<std::string, std::unique_ptr<IQxScript>> m_scripts;
    unsigned char m_lastBufferTag = 0;
    std::shared_ptr<IQxData> m_data;
    IQxLogTracker::Callback m_callback;
    void* m_context;
    IQxEventObserver* m_observer = nullptr;
    QxDecodeLog m_log;
    QxDumpBudget m_budget{m_log};
    QxEventRoom m_events;
    std::uint64_t m_dumpBytes = 0;   // of all dumps given to Parse from outside
    Bytes m_dump{nullptr, nullptr};  // being parsed; null outside Parse
    QxOrigin m_origin;               // of its first byte
    Item m_item;
    QxUsedBytes m_used;
    unsigned m_nesting = 0;  // dumps around the one that is being parsed
    std::size_t m_stoppedAt = 0;
};

// A cursor over an item's payload. `parser` may be null: messages then go straight to the diagnostic printer.
QxCursor PayloadCursor(const std::vector<char>& payload, const char* reader, QxParser* parser);
