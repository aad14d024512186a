// Writes dumps piece by piece, for tests, fuzzers and benchmarks. Every piece is a string of bytes; pieces are joined
// by
// `+`. Nothing is checked: what is damaged on purpose is written as it is asked for.
//
//     using namespace dump;
//     const std::string bytes =
//         Persistent({Item(kLocation, Location(3).Name("SetVolume").Arg("int", kIn, 4))}) +
//         Thread(5, {StreamItem(kBefore, Before(105, 3, Int(85, 4))), StreamItem(kAfter, After(2))});
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

namespace dump {

using Bytes = std::string;

// Packet tags.
constexpr unsigned kThread = 1, kPersistent = 2, kProperties = 4, kCompressed = 5;
// Item tags.
constexpr unsigned kLog = 1, kBefore = 2, kAfter = 3, kLocation = 4, kIpcCaller = 5, kThreadName = 6, kHeader = 7,
                   kProxy = 8, kPacked = 9, kDescriptor = 10, kTime = 63;
// Argument flags.
constexpr unsigned kIn = 1, kOut = 2, kInOut = 3;
// Size marks.
constexpr std::uint32_t kCompositeSize = 16382, kVariableSize = 16383;

// Numbers.
Bytes Varint(std::uint64_t value);
// Drawn out to exactly `bytes` bytes (at least those that the value needs) with groups of zero.
Bytes LongVarint(std::uint64_t value, std::size_t bytes);
Bytes Fixed16(unsigned value);

// A varint length and the text: as it is, and with every byte one less than its character.
Bytes Text(const Bytes& text);
Bytes ShiftedText(const Bytes& text);

Bytes Join(std::initializer_list<Bytes> pieces);
Bytes Join(const std::vector<Bytes>& pieces);

// Values as they are recorded: an integer of `size` bytes, a variable-length value, and a container's element count.
Bytes Int(std::int64_t value, std::size_t size);
Bytes Variable(const Bytes& bytes);
Bytes Container(std::uint32_t count, const Bytes& elements);

// Item payloads.
Bytes Header(unsigned pid, const Bytes& process, const Bytes& qxVersion = "1", const Bytes& swBuildString = "b",
             const Bytes& swVersionModel = "m", const Bytes& extra1 = Bytes(8, '\0'),
             const Bytes& extra2 = Bytes(8, '\0'));
Bytes ThreadName(const Bytes& name);
Bytes IpcCaller(std::uint32_t value, unsigned flags, const Bytes& caller);
Bytes Proxy(std::uint64_t value);
Bytes Before(std::uint64_t delta, std::uint32_t locId, const Bytes& values = Bytes());
// The delta is in thousands of the time line's unit.
Bytes After(std::uint64_t delta, const Bytes& values = Bytes());
Bytes LogRecord(std::uint64_t delta, std::uint32_t locId, const Bytes& values = Bytes());

// The payload of a call location.
class Location final {
public:
    explicit Location(std::uint32_t locId) : m_locId(locId) {}
    Location& Name(const Bytes& caller, const Bytes& package = "audio");
    Location& Source(const Bytes& file, std::uint32_t aux = 0);
    Location& Arg(const Bytes& type, unsigned flags, std::uint32_t size);
    Location& Returns(const Bytes& type, std::uint32_t size);
    operator Bytes() const;  // NOLINT(google-explicit-constructor): a piece like all others

private:
    struct Argument {
        Bytes type;
        unsigned flags;
        std::uint32_t size;
    };
    std::uint32_t m_locId;
    std::uint32_t m_aux = 0;
    Bytes m_source = "volume.cpp";
    std::vector<Argument> m_arguments;
    Bytes m_retType = "void";
    std::uint32_t m_retSize = 0;
    Bytes m_caller = "SetVolume";
    Bytes m_package = "audio";
};

// The payload of a composite argument descriptor.
class Descriptor final {
public:
    explicit Descriptor(const Bytes& typeName, bool container = false) : m_typeName(typeName), m_container(container) {}
    Descriptor& Member(const Bytes& name, std::uint32_t size, const Bytes& type = "int");
    operator Bytes() const;  // NOLINT(google-explicit-constructor)

private:
    struct OneMember {
        Bytes name;
        std::uint32_t size;
        Bytes type;
    };
    Bytes m_typeName;
    bool m_container;
    std::vector<OneMember> m_members;
};

// An item as it stands in every buffer but a thread's: tag, size, payload.
Bytes Item(unsigned tag, const Bytes& payload);
// An item as it stands in a thread's stream: when its size takes n > 1 bytes, the payload's first n - 1 bytes come
// last.
Bytes StreamItem(unsigned tag, const Bytes& payload);
// The same with the size drawn out to `sizeBytes` bytes.
Bytes StreamItem(unsigned tag, const Bytes& payload, std::size_t sizeBytes);
// The bytes 0x3F 0x00.
Bytes Marker();

// Packets.
Bytes Packet(unsigned tag, const Bytes& payload);
Bytes PrefixedPacket(unsigned prefixSize, unsigned tag, const Bytes& payload);

// Payloads of packets.
Bytes Fragment(unsigned tid, unsigned tailSize, unsigned usedSize, const Bytes& stream);
Bytes CompressedFragment(unsigned tailSize, unsigned usedSize, const Bytes& items);

// Whole packets of the usual kind: one fragment with nothing left of an earlier item, and so on.
Bytes Thread(unsigned tid, const Bytes& stream);
Bytes Thread(unsigned tid, std::initializer_list<Bytes> items);
Bytes Persistent(const Bytes& items);
Bytes Persistent(std::initializer_list<Bytes> items);
Bytes Properties(unsigned tid, const Bytes& items);
// A compressed packet with one item that holds the dump. It is decoded when a packet of another tag follows: see Flush.
Bytes Compressed(const Bytes& innerDump);
// As many packets as the items need, whose fragments are of at most `fragmentSize` bytes.
Bytes CompressedRun(const Bytes& items, std::size_t fragmentSize);
// An empty persistent packet.
Bytes Flush();

// The bzip2 stream of the bytes.
Bytes Bzip2(const Bytes& bytes);

// Damage: the first `size` bytes, and one byte replaced.
Bytes Cut(const Bytes& bytes, std::size_t size);
Bytes Change(const Bytes& bytes, std::size_t at, unsigned value);

// What the store holds of traced bytes: each plus one.
Bytes Stored(const Bytes& bytes);

}  // namespace dump
