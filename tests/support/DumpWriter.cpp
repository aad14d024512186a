#include "DumpWriter.h"

#include <algorithm>
#include <boost/iostreams/device/back_inserter.hpp>
#include <boost/iostreams/filter/bzip2.hpp>
#include <boost/iostreams/filtering_streambuf.hpp>

namespace dump {

namespace {

char Byte(std::uint64_t value) {
    return static_cast<char>(static_cast<unsigned char>(value));
}

Bytes Shifted(Bytes bytes, int by) {
    for (char& byte : bytes) byte = Byte(static_cast<std::uint64_t>(static_cast<unsigned char>(byte) + by));
    return bytes;
}

}  // namespace

Bytes Varint(std::uint64_t value) {
    Bytes bytes;
    for (; value >= 0x80; value >>= 7) bytes.push_back(Byte(value | 0x80));
    bytes.push_back(Byte(value));
    return bytes;
}

Bytes LongVarint(std::uint64_t value, std::size_t size) {
    Bytes bytes = Varint(value);
    while (bytes.size() < size) {
        bytes.back() = Byte(static_cast<unsigned char>(bytes.back()) | 0x80u);
        bytes.push_back('\0');
    }
    return bytes;
}

Bytes Fixed16(unsigned value) {
    return {Byte(value), Byte(value >> 8)};
}

Bytes Text(const Bytes& text) {
    return Varint(text.size()) + text;
}

Bytes ShiftedText(const Bytes& text) {
    return Text(Shifted(text, -1));
}

Bytes Join(std::initializer_list<Bytes> pieces) {
    return Join(std::vector<Bytes>(pieces));
}

Bytes Join(const std::vector<Bytes>& pieces) {
    Bytes bytes;
    for (const Bytes& piece : pieces) bytes += piece;
    return bytes;
}

Bytes Int(std::int64_t value, std::size_t size) {
    Bytes bytes;
    auto rest = static_cast<std::uint64_t>(value);
    for (std::size_t i = 0; i < size; ++i, rest >>= 8) bytes.push_back(Byte(rest));
    return bytes;
}

Bytes Variable(const Bytes& bytes) {
    return Text(bytes);
}

Bytes Container(std::uint32_t count, const Bytes& elements) {
    return Varint(count) + elements;
}

Bytes Header(unsigned pid, const Bytes& process, const Bytes& qxVersion, const Bytes& swBuildString,
             const Bytes& swVersionModel, const Bytes& extra1, const Bytes& extra2) {
    return Fixed16(pid) + Text(process) + Text(qxVersion) + Text(swBuildString) + Text(swVersionModel) + extra1 +
           extra2;
}

Bytes ThreadName(const Bytes& name) {
    return Text(name);
}

Bytes IpcCaller(std::uint32_t value, unsigned flags, const Bytes& caller) {
    return Varint(value) + Fixed16(flags) + Text(caller);
}

Bytes Proxy(std::uint64_t value) {
    return Varint(value);
}

Bytes Before(std::uint64_t delta, std::uint32_t locId, const Bytes& values) {
    return Varint(delta) + Varint(locId) + values;
}

Bytes After(std::uint64_t delta, const Bytes& values) {
    return Varint(delta) + values;
}

Bytes LogRecord(std::uint64_t delta, std::uint32_t locId, const Bytes& values) {
    return Before(delta, locId, values);
}

Location& Location::Name(const Bytes& caller, const Bytes& package) {
    m_caller = caller;
    m_package = package;
    return *this;
}

Location& Location::Source(const Bytes& file, std::uint32_t aux) {
    m_source = file;
    m_aux = aux;
    return *this;
}

Location& Location::Arg(const Bytes& type, unsigned flags, std::uint32_t size) {
    m_arguments.push_back({type, flags, size});
    return *this;
}

Location& Location::Returns(const Bytes& type, std::uint32_t size) {
    m_retType = type;
    m_retSize = size;
    return *this;
}

Location::operator Bytes() const {
    Bytes bytes = Varint(m_aux) + Text(m_source) + Varint(m_locId) + Varint(m_arguments.size());
    for (const Argument& argument : m_arguments) bytes.push_back(Byte(argument.flags));
    for (const Argument& argument : m_arguments) bytes += Varint(argument.size);
    for (const Argument& argument : m_arguments) bytes += Text(argument.type);
    return bytes + Text(m_retType) + Varint(m_retSize) + Text(m_caller) + Text(m_package);
}

Descriptor& Descriptor::Member(const Bytes& name, std::uint32_t size, const Bytes& type) {
    m_members.push_back({name, size, type});
    return *this;
}

Descriptor::operator Bytes() const {
    Bytes bytes = Varint(m_members.size());
    for (const OneMember& member : m_members) bytes += Varint(member.size);
    for (const OneMember& member : m_members) bytes += ShiftedText(member.type);
    for (const OneMember& member : m_members) bytes += ShiftedText(member.name);
    return bytes + ShiftedText(m_typeName) + (m_container ? '\1' : '\0');
}

Bytes Item(unsigned tag, const Bytes& payload) {
    return Byte(tag) + Text(payload);
}

Bytes StreamItem(unsigned tag, const Bytes& payload) {
    return StreamItem(tag, payload, Varint(payload.size()).size());
}

Bytes StreamItem(unsigned tag, const Bytes& payload, std::size_t sizeBytes) {
    const Bytes size = LongVarint(payload.size(), sizeBytes);
    const std::size_t moved = std::min(size.size() - 1, payload.size());
    return Byte(tag) + size + payload.substr(moved) + payload.substr(0, moved);
}

Bytes Marker() {
    return Bytes("\x3F\x00", 2);
}

Bytes Packet(unsigned tag, const Bytes& payload) {
    return Item(tag, payload);
}

Bytes PrefixedPacket(unsigned prefixSize, unsigned tag, const Bytes& payload) {
    return '\xFF' + Varint(prefixSize) + Packet(tag, payload);
}

Bytes Fragment(unsigned tid, unsigned tailSize, unsigned usedSize, const Bytes& stream) {
    return Fixed16(tid) + Varint(tailSize) + Varint(usedSize) + stream;
}

Bytes CompressedFragment(unsigned tailSize, unsigned usedSize, const Bytes& items) {
    return Varint(tailSize) + Varint(usedSize) + items;
}

Bytes Thread(unsigned tid, const Bytes& stream) {
    return Packet(kThread, Fragment(tid, 0, static_cast<unsigned>(stream.size()), stream));
}

Bytes Thread(unsigned tid, std::initializer_list<Bytes> items) {
    return Thread(tid, Join(items));
}

Bytes Persistent(const Bytes& items) {
    return Packet(kPersistent, items);
}

Bytes Persistent(std::initializer_list<Bytes> items) {
    return Persistent(Join(items));
}

Bytes Properties(unsigned tid, const Bytes& items) {
    return Packet(kProperties, Fixed16(tid) + items);
}

Bytes Compressed(const Bytes& innerDump) {
    return CompressedRun(Item(kPacked, Bzip2(innerDump)), 32768);
}

Bytes CompressedRun(const Bytes& items, std::size_t fragmentSize) {
    Bytes packets;
    for (std::size_t at = 0; at < items.size(); at += fragmentSize) {
        const Bytes piece = items.substr(at, fragmentSize);
        const auto used = static_cast<unsigned>(piece.size());
        packets += Packet(kCompressed, CompressedFragment(at == 0 ? 0 : used, used, piece));
    }
    return packets;
}

Bytes Flush() {
    return Persistent(Bytes());
}

Bytes Bzip2(const Bytes& bytes) {
    namespace io = boost::iostreams;
    Bytes packed;
    io::filtering_streambuf<io::output> chain;
    chain.push(io::bzip2_compressor());
    chain.push(io::back_inserter(packed));
    chain.sputn(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    io::close(chain);
    return packed;
}

Bytes Cut(const Bytes& bytes, std::size_t size) {
    return bytes.substr(0, size);
}

Bytes Change(const Bytes& bytes, std::size_t at, unsigned value) {
    Bytes changed = bytes;
    changed.at(at) = Byte(value);
    return changed;
}

Bytes Stored(const Bytes& bytes) {
    return Shifted(bytes, 1);
}

}  // namespace dump
