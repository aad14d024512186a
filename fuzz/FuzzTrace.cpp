#include "FuzzTrace.h"

#include <algorithm>
#include <utility>

#include "DumpWriter.h"

namespace {

constexpr unsigned kPid = 7;
constexpr std::size_t kMaxStream = 30000;  // a fragment's sizes have 16 bits
constexpr std::size_t kMaxDump = 262144;
constexpr unsigned kMaxDepth = 3;

unsigned Size(const std::string& bytes) {
    return static_cast<unsigned>(bytes.size());
}

}  // namespace

std::string FuzzTrace::Dump() {
    constexpr unsigned kEnd = 15;
    m_dump.clear();
    while (!m_input.Empty() && m_dump.size() < kMaxDump) {
        const unsigned what = m_input.Byte() % (kEnd + 1);
        if (what == kEnd) break;
        Add(what);
    }
    EndFragment();
    return std::exchange(m_dump, std::string());
}

void FuzzTrace::Add(unsigned what) {
    switch (what) {
        case 0:
            return AddHeader();
        case 1:
            return AddDescriptor();
        case 2:
            return AddLocation();
        case 3:
            return AddOther();
        case 4:
            return AddThreadName();
        case 5:
            return AddLog();
        case 6:
            return EndFragment();
        case 7:
            return Pack();
        case 8:
            return Damage();
        case 9:
        case 10:
            return AddExit();
        default:
            return AddCall();
    }
}

void FuzzTrace::AddHeader() {
    const unsigned pid = m_input.Byte() % 4 == 0 ? m_input.Word() : kPid;
    AddPersistent(dump::kHeader, dump::Header(pid, m_input.Text(m_input.Byte() % 16)));
}

void FuzzTrace::AddDescriptor() {
    const std::string type = TypeName();
    Layout layout;
    layout.container = m_input.Byte() % 2 != 0;
    dump::Descriptor descriptor(type, layout.container);
    for (unsigned members = m_input.Byte() % 5; members > 0; --members) {
        const Field field = MakeField();
        descriptor.Member(m_input.Byte() % 8 == 0 ? "" : "m", field.size, field.type);
        layout.members.push_back(field);
    }
    m_layouts[type] = layout;
    AddPersistent(dump::kDescriptor, descriptor);
}

void FuzzTrace::AddLocation() {
    static const char* const kNames[] = {"a", "b", "c", ""};
    const std::uint32_t id = LocationId();
    dump::Location location(id);
    location.Name(kNames[m_input.Byte() % 4]);
    Site site;
    for (unsigned arguments = m_input.Byte() % 6; arguments > 0; --arguments) {
        site.push_back(MakeField());
        location.Arg(site.back().type, site.back().flags, site.back().size);
    }
    Field result = MakeField();
    result.flags = dump::kOut;
    location.Returns(result.type, result.size);
    site.push_back(result);
    m_sites[id] = site;
    AddPersistent(dump::kLocation, location);
}

void FuzzTrace::AddOther() {
    const unsigned kind = m_input.Byte() % 4;
    const std::uint32_t value = m_input.Word();
    if (kind == 0) {
        AddPersistent(dump::kProxy, dump::Proxy(value));
    } else if (kind == 1) {
        AddPersistent(dump::kIpcCaller, dump::IpcCaller(value, m_input.Byte(), "c"));
    } else if (kind == 2) {
        AddPersistent(m_input.Byte(), m_input.Text(value % 64));
    } else {
        m_stream += dump::Marker();
    }
}

void FuzzTrace::AddThreadName() {
    const std::string name = m_input.Text(m_input.Byte() % 16);
    m_dump += dump::Properties(m_input.Byte() % 4, dump::Item(dump::kThreadName, dump::ThreadName(name)));
}

void FuzzTrace::AddCall() {
    const std::uint32_t id = LocationId();
    AddToStream(dump::kBefore, dump::Before(m_input.Word(), id, Values(m_sites[id], dump::kIn)));
    m_open.push_back(id);
}

void FuzzTrace::AddExit() {
    const std::uint32_t id = m_open.empty() ? LocationId() : m_open.back();
    if (!m_open.empty()) m_open.pop_back();
    AddToStream(dump::kAfter, dump::After(m_input.Byte(), Values(m_sites[id], dump::kOut)));
}

// A log record carries all arguments and no result; composites are taken as they come.
void FuzzTrace::AddLog() {
    const std::uint32_t id = LocationId();
    Site site = m_sites[id];
    if (!site.empty()) site.pop_back();
    AddToStream(dump::kLog, dump::LogRecord(m_input.Word(), id, Values(site, ~0u)));
}

// At times the fragment lacks the end of its last item, which the next one begins with, or says so falsely.
void FuzzTrace::EndFragment() {
    const unsigned how = m_input.Byte();
    const unsigned tid = how % 4;
    const std::size_t cut = how >= 192 ? std::min<std::size_t>(m_input.Byte(), m_stream.size()) : 0;
    const std::string rest = m_stream.substr(m_stream.size() - cut);
    m_stream.resize(m_stream.size() - cut);
    const std::string all = m_tail + m_stream;
    const std::string payload = dump::Fragment(tid, Size(m_tail), Size(all), all);
    if ((how & 16) == 0) {
        m_dump += dump::Packet(dump::kThread, payload);
    } else {
        m_dump += dump::PrefixedPacket((how & 32) == 0 ? Size(all) : m_input.Byte(), dump::kThread, payload);
    }
    m_tail = rest;
    m_stream.clear();
}

void FuzzTrace::Pack() {
    const unsigned how = m_input.Byte();
    if (how % 4 == 0) EndFragment();
    m_dump = how % 2 == 0 ? dump::Compressed(m_dump)
                          : dump::CompressedRun(dump::Item(dump::kPacked, dump::Bzip2(m_dump)), 20 + how * 8u);
    if (how < 192) m_dump += dump::Flush();
}

void FuzzTrace::Damage() {
    std::string& bytes = m_input.Byte() % 2 == 0 ? m_dump : m_stream;
    const std::size_t at = m_input.Word();
    if (!bytes.empty()) bytes = dump::Change(bytes, at % bytes.size(), m_input.Byte());
}

void FuzzTrace::AddPersistent(unsigned tag, const std::string& payload) {
    m_dump += dump::Persistent(dump::Item(tag, payload));
}

void FuzzTrace::AddToStream(unsigned tag, const std::string& payload) {
    if (m_stream.size() + payload.size() > kMaxStream) return;
    // A size that is drawn out has the end of the payload stand first, or all of it and more than it has.
    const unsigned how = m_input.Byte();
    m_stream += how < 240 ? dump::StreamItem(tag, payload) : dump::StreamItem(tag, payload, how % 16);
}

FuzzTrace::Field FuzzTrace::MakeField() {
    static const std::uint32_t kSizes[] = {dump::kVariableSize, dump::kCompositeSize, 0, 1, 2, 4, 8, 300};
    const unsigned kind = m_input.Byte();
    return {TypeName(), kSizes[kind % 8], kind / 8 % 4};
}

std::string FuzzTrace::TypeName() {
    return std::string(1, static_cast<char>('A' + m_input.Byte() % 8));
}

std::string FuzzTrace::Values(const Site& site, unsigned flags) {
    std::string values;
    for (const Field& field : site) {
        if ((field.flags & flags) != 0 && values.size() < kMaxStream) values += Value(field, 0);
    }
    return values;
}

std::string FuzzTrace::Value(const Field& field, unsigned depth) {
    if (field.size == dump::kCompositeSize) return Composite(field.type, depth);
    if (field.size != dump::kVariableSize) {
        std::string bytes = m_input.Text(field.size);
        bytes.resize(field.size);
        return bytes;
    }
    const unsigned length = m_input.Byte();
    if (depth > 0 && length >= 240) return dump::Varint(dump::kCompositeSize) + Members(m_layouts[field.type], depth);
    return dump::Variable(m_input.Text(length % 64));
}

// Only a value itself may be a container; inside of another value there is always one element.
std::string FuzzTrace::Composite(const std::string& type, unsigned depth) {
    const Layout& layout = m_layouts[type];
    if (depth > 0 || !layout.container) return Members(layout, depth);
    const unsigned count = m_input.Byte() % 4;
    std::string elements;
    for (unsigned i = 0; i < count; ++i) elements += Members(layout, depth);
    return dump::Container(count, elements);
}

// Beyond that depth nothing is written: descriptors may refer to themselves.
std::string FuzzTrace::Members(const Layout& layout, unsigned depth) {
    std::string bytes;
    if (depth == kMaxDepth) return bytes;
    for (const Field& member : layout.members) bytes += Value(member, depth + 1);
    return bytes;
}
