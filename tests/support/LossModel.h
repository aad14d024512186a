// Works out which bytes of the dumps of one cycle no decoder takes, byte by byte and without any of the decoders of
// buffers: each byte carries its place with it wherever it is joined or unpacked to. Whether an item is taken it asks
// the item's decoder. For dumps that stay far from all limits: a run that stays and is decoded again may grow each
// time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "QxData.h"
#include "QxParser.h"

class LossModel final {
public:
    explicit LossModel(std::shared_ptr<IQxData> store);

    // The next dump of the cycle, of the store's current process. False when it is too much work: then nothing can be
    // said about this cycle.
    bool Decode(const std::string& dump);

    // How many bytes of each dump have not been decoded so far.
    std::vector<std::uint64_t> NotDecoded() const;

private:
    struct Byte {
        char value;
        std::size_t place;  // 0: no dump brought it
    };
    using Bytes = std::vector<Byte>;
    struct Header {
        unsigned tag;
        std::uint32_t size;
        std::size_t end;
    };
    struct Damage {};
    struct TooMuch {};

    void Work(std::size_t bytes);

    Bytes Place(const std::string& bytes, std::size_t dump);
    void Use(const Bytes& bytes, std::size_t from, std::size_t to);
    static bool ReadVarint(const Bytes& bytes, std::size_t& at, std::size_t end, std::uint32_t& value);
    static std::uint32_t Varint(const Bytes& bytes, std::size_t& at, std::size_t end);
    static bool ReadHeader(const Bytes& bytes, std::size_t at, std::size_t end, Header& header);
    static Header NeedHeader(const Bytes& bytes, std::size_t at, std::size_t end);
    static void Need(const Bytes& bytes, std::size_t at, std::size_t count);

    void ParsePackets(const Bytes& dump);
    std::size_t Packet(const Bytes& dump, std::size_t at);
    void Thread(const Bytes& dump, std::size_t at, std::size_t size, unsigned prefix);
    void Compressed(const Bytes& dump, std::size_t at, std::size_t size, unsigned prefix);
    void Persistent(const Bytes& dump, std::size_t at, std::size_t size);
    void Properties(const Bytes& dump, std::size_t at, std::size_t size);
    void UseFrame(const Bytes& dump, std::size_t at, std::size_t size, std::size_t from, std::size_t to);

    void Item(unsigned tag, const std::string& payload, const Bytes& raw);
    void Nested(const std::string& unpacked, std::size_t item);
    void ExtractRun();
    void ExtractStreams();
    void ExtractStream(Bytes& stream);

    std::shared_ptr<IQxData> m_store;
    QxParser m_items{nullptr, nullptr};
    std::vector<std::size_t> m_dumpOf;  // by place
    std::vector<bool> m_used;           // by place
    std::size_t m_dumps = 0;
    std::map<unsigned, Bytes> m_streams;
    Bytes m_run;
    bool m_extracting = false;
    unsigned m_lastTag = 0;
    unsigned m_depth = 0;
    std::size_t m_work = 0;                                           // bytes joined and looked at, of one dump
    std::map<std::pair<std::size_t, std::size_t>, Bytes> m_unpacked;  // by the item's place and the size
};
