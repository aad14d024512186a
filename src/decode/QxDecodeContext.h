// What decoders work with: the store that they write to, the lines that they may print, what one dump may still make
// them do, reading that ends where the dump does, and the count of what was left out. The parser is one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "IQxData.h"
#include "QxCursor.h"
#include "QxDebugPrint.h"
#include "QxDecodeLog.h"
#include "QxDumpBudget.h"
#include "QxOrigins.h"
#include "QxStoreAccess.h"
#include "QxUsedBytes.h"

class QxDecodeContext {
public:
    QxDecodeContext() = default;
    QxDecodeContext(const QxDecodeContext&) = delete;
    QxDecodeContext& operator=(const QxDecodeContext&) = delete;

    // The store, for decoders. Throws PERR_INVALID_SIZE when there is none yet.
    IQxData& Store() const;
    // The store, shared; null until a dump came with one.
    const std::shared_ptr<IQxData>& Data() const { return m_data; }
    // The same without copies. Throws as Store does.
    const QxStoreAccess& Access() const {
        if (m_data == nullptr) Store();
        return m_access;
    }

    QxDecodeLog& Log() { return m_log; }
    QxDumpBudget& Budget() { return m_budget; }

    // A cursor from `p` to the end of the dump that is being parsed; outside a dump, over `size` bytes.
    QxCursor CursorAt(const char* p, std::size_t size, const char* reader);

    // Where the byte at `p` is from; from nowhere outside a dump.
    QxOrigin OriginOf(const char* p) const;

    // Counts the payload's bytes as decoded, but for `count` of them at `offset`, which are decoded later. Any of them
    // may lie past the dump's end.
    void UseAround(const char* payload, std::size_t size, std::size_t offset, std::size_t count);

    // For an item decoder that leaves out the item and goes on: its bytes do not count as decoded.
    void DropItem() { m_item = {}; }

    // How many bytes of a dump have not been decoded: of damaged packets and items, of what follows them, of what is
    // passed over in search of the next item, and of what waits for a packet that did not come. A packed item counts
    // with its own bytes when it cannot be unpacked, and with those that it unpacks to when it can. Dumps from outside
    // are numbered from 1 on. What stayed joined may be decoded with a later dump: the number then falls. Requires: the
    // joined streams were extracted.
    std::uint64_t NotDecoded(std::uint32_t dump) { return m_used.Left(dump); }
    std::uint32_t Dumps() const { return m_used.Dumps(); }
    // The same for the last dump.
    std::uint64_t NotDecoded() { return Dumps() == 0 ? 0 : NotDecoded(Dumps()); }

protected:
    using Bytes = std::pair<const char*, const char*>;  // begin, end

    // The item that is being decoded; null when its bytes are not to be counted, or were.
    struct Item {
        const QxOrigins* origins = nullptr;
        std::size_t offset = 0;
        std::size_t size = 0;
    };

    ~QxDecodeContext() = default;

    // A dump from outside begins: all allowances are new.
    void BeginDump(std::size_t size);
    // Counts bytes of the dump that is being parsed, and of the item that is being decoded, as decoded.
    void Use(const char* p, std::uint64_t size);
    void UseItem() {
        if (m_item.origins != nullptr) m_used.Use(*m_item.origins, m_item.offset, m_item.size);
        DropItem();
    }
    // The place of a dump that the item being decoded unpacks to. The item itself no longer counts.
    QxOrigin BeginUnpacked(std::size_t size);

    // Takes the store that decoders write to from now on.
    void SetStore(std::shared_ptr<IQxData> data);

    Bytes m_dump{nullptr, nullptr};  // being parsed; null outside a dump
    QxOrigin m_origin;               // of its first byte
    Item m_item;

private:
    bool IsInDump(const char* p) const;

    std::shared_ptr<IQxData> m_data;
    QxStoreAccess m_access;  // to m_data
    QxDecodeLog m_log;
    QxDumpBudget m_budget{m_log};
    QxUsedBytes m_used;
};

// A cursor over an item's payload. `context` may be null: messages then go straight to the diagnostic printer.
inline QxCursor PayloadCursor(const std::vector<char>& payload, const char* reader, QxDecodeContext* context) {
    if (context == nullptr) return {payload.data(), payload.size(), reader, *QxDebugPrint::GetInstance()};
    return {payload.data(), payload.size(), reader, context->Log()};
}
