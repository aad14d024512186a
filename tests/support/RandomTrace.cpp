#include "RandomTrace.h"

#include <algorithm>

#include "DumpWriter.h"

RandomTrace::RandomTrace(std::uint32_t seed, int calls) : m_random(seed) {
    MakeLayouts();
    MakeSites();
    m_dump += dump::Flush();
    const int threads = 1 + static_cast<int>(Pick(4));
    for (int i = 0; i < threads; ++i) MakeThread(static_cast<unsigned short>(10 + i * 7), calls / threads);
    m_dump += dump::Flush();
}

unsigned RandomTrace::Pick(unsigned below) {
    return static_cast<unsigned>(m_random() % below);
}

std::string RandomTrace::Bytes(std::size_t size) {
    std::string bytes(size, '\0');
    for (char& byte : bytes) byte = static_cast<char>(static_cast<unsigned char>(m_random()));
    return bytes;
}

// Layouts refer to earlier ones only, so that every value ends.
void RandomTrace::MakeLayouts() {
    std::string items;
    for (int i = 0; i < 5; ++i) {
        Layout layout{"Type" + std::to_string(i), Chance(40), {}};
        dump::Descriptor descriptor(layout.name, layout.container);
        for (unsigned members = 1 + Pick(4); members > 0; --members) {
            Member member{"m" + std::to_string(members), Pick(20), -1, false};
            const bool nested = i > 0 && Chance(30);
            if (nested) member.descriptor = static_cast<int>(Pick(static_cast<unsigned>(i)));
            member.markedInValue = nested && Chance(50);
            if (nested) member.size = member.markedInValue ? dump::kVariableSize : dump::kCompositeSize;
            if (!nested && Chance(30)) member.size = dump::kVariableSize;
            descriptor.Member(member.name, member.size, nested ? "Type" + std::to_string(member.descriptor) : "int");
            layout.members.push_back(member);
        }
        m_layouts.push_back(layout);
        items += dump::Item(dump::kDescriptor, descriptor);
    }
    m_dump += Wrap(dump::Persistent(items));
}

RandomTrace::Type RandomTrace::MakeType() {
    switch (Pick(6)) {
        case 0:
            return {"string", dump::kVariableSize, -1};
        case 1: {
            const int descriptor = static_cast<int>(Pick(static_cast<unsigned>(m_layouts.size())));
            return {m_layouts[static_cast<std::size_t>(descriptor)].name, dump::kCompositeSize, descriptor};
        }
        case 2:
            return {"blob", 100 + Pick(200), -1};
        case 3:
            return {"nothing", 0, -1};
        default:
            return {"int", 1 + Pick(8), -1};
    }
}

void RandomTrace::MakeSites() {
    std::string items;
    for (std::uint32_t i = 0; i < 12; ++i) {
        Site site{1 + i * 800, {}, {}, MakeType()};
        dump::Location location(site.locId);
        location.Name("Method" + std::to_string(i));
        for (unsigned arguments = Pick(6); arguments > 0; --arguments) {
            site.types.push_back(MakeType());
            site.flags.push_back(Pick(4));
            location.Arg(site.types.back().name, site.flags.back(), site.types.back().size);
        }
        location.Returns(site.result.name, site.result.size);
        m_sites.push_back(site);
        items += dump::Item(dump::kLocation, location);
    }
    m_dump += Wrap(dump::Persistent(items));
    m_dump += Wrap(dump::Persistent(dump::Item(dump::kHeader, dump::Header(kPid, "random"))));
}

RandomTrace::Value RandomTrace::MakeValue(const Type& type) {
    if (type.descriptor >= 0) {
        const Layout& layout = m_layouts[static_cast<std::size_t>(type.descriptor)];
        Value value;
        Argument pairs;
        const unsigned count = layout.container ? Pick(4) : 1;
        if (layout.container) value.bytes = dump::Varint(count);
        for (unsigned i = 0; i < count; ++i) AddComposite(layout, value.bytes, pairs);
        value.stored.push_back(pairs);
        return value;
    }
    if (type.size != dump::kVariableSize) return MakePlain(type.size);
    // Items stay far below what one fragment can carry.
    Value value = MakePlain(Pick(10) == 0 ? Pick(3000) : Pick(40));
    value.bytes = dump::Variable(value.bytes);
    return value;
}

RandomTrace::Value RandomTrace::MakePlain(std::uint32_t size) {
    if (size == 0) return {};
    Value value;
    value.bytes = Bytes(size);
    value.stored.push_back({{"", dump::Stored(value.bytes)}});
    return value;
}

void RandomTrace::AddComposite(const Layout& layout, std::string& bytes, Argument& pairs) {
    for (const Member& member : layout.members) AddMember(member, bytes, pairs);
}

void RandomTrace::AddMember(const Member& member, std::string& bytes, Argument& pairs) {
    if (member.descriptor >= 0) {
        if (member.markedInValue) bytes += dump::Varint(dump::kCompositeSize);
        AddComposite(m_layouts[static_cast<std::size_t>(member.descriptor)], bytes, pairs);
        if (!member.markedInValue) pairs.emplace_back(member.name, "");
        return;
    }
    const bool variable = member.size == dump::kVariableSize;
    const std::string text = Bytes(variable ? Pick(50) : member.size);
    bytes += variable ? dump::Variable(text) : text;
    pairs.emplace_back(member.name, dump::Stored(text));
}

// Each run begins with an absolute time, since the marker before it sets the time base back.
void RandomTrace::MakeThread(unsigned short tid, int calls) {
    m_dump += Wrap(dump::Properties(tid, dump::Item(dump::kThreadName, dump::ThreadName("t" + std::to_string(tid)))));
    m_base = tid * 1000000000ull;
    std::vector<std::string> runs;
    std::vector<std::size_t> lastItems;
    while (calls > 0) {
        std::vector<std::size_t> ends;
        runs.push_back(MakeRun(tid, calls, ends));
        lastItems.push_back(ends.size() < 2 ? 0 : ends[ends.size() - 2]);
    }
    // One kind of wrapping for all packets of a thread: what is compressed is decoded later than what is not.
    m_dump += Wrap(CutIntoPackets(tid, runs, lastItems));
}

std::string RandomTrace::MakeRun(unsigned short tid, int& callsLeft, std::vector<std::size_t>& ends) {
    std::string run;
    for (unsigned items = 1 + Pick(60); items > 0 && run.size() < 30000; --items) {
        const bool first = run.empty();
        const unsigned kind = Pick(10);
        if (kind < 5) {
            Enter(run, tid, first);
            --callsLeft;
        } else if (kind < 9 && !m_open.empty()) {
            Leave(run, first);
        } else {
            Log(run, tid, first);
            --callsLeft;
        }
        ends.push_back(run.size());
    }
    return run;
}

std::uint64_t RandomTrace::EntryDelta(bool first) {
    const std::uint64_t delta = 1 + Pick(5000);
    m_base += delta;
    return first ? m_base : delta;
}

void RandomTrace::Store(IQxData::HSCall call) {
    const unsigned long long key = call.time * 1000 + m_calls.size() % 1000;
    for (const Site& site : m_sites) {
        if (site.locId == call.locId) m_siteOf[key] = &site;
    }
    m_calls[key] = std::move(call);
    m_open.push_back(key);
}

void RandomTrace::AddStreamItem(std::string& run, unsigned tag, const std::string& payload) {
    const std::size_t least = dump::Varint(payload.size()).size();
    const std::size_t sizeBytes = least + (Chance(5) && payload.size() > 8 ? Pick(4) : 0);
    run += dump::StreamItem(tag, payload, sizeBytes);
}

void RandomTrace::Enter(std::string& run, unsigned short tid, bool first) {
    const Site& site = m_sites[Pick(static_cast<unsigned>(m_sites.size()))];
    const std::uint64_t delta = EntryDelta(first);
    IQxData::HSCall call;
    call.pid = kPid;
    call.locId = site.locId;
    call.tid = tid;
    call.time = m_base;
    std::string values;
    for (std::size_t i = 0; i < site.types.size(); ++i) {
        if ((site.flags[i] & dump::kIn) == 0) continue;
        const Value value = MakeValue(site.types[i]);
        values += value.bytes;
        call.args.in.insert(call.args.in.end(), value.stored.begin(), value.stored.end());
    }
    AddStreamItem(run, dump::kBefore, dump::Before(delta, site.locId, values));
    Store(std::move(call));
}

// Completes the newest open record, whatever thread and kind it is of.
void RandomTrace::Leave(std::string& run, bool first) {
    const unsigned long long key = m_open.back();
    m_open.pop_back();
    IQxData::HSCall& call = m_calls[key];
    const Site& site = *m_siteOf[key];
    // Exit deltas are thousands: what an absolute time has below that is lost.
    const std::uint64_t delta = (first ? m_base / 1000 + 1 : 1) + Pick(5);
    m_base = (first ? 0 : m_base) + delta * 1000;
    call.exitTime = m_base;
    std::string values;
    for (std::size_t i = 0; i < site.types.size(); ++i) {
        if ((site.flags[i] & dump::kOut) == 0) continue;
        const Value value = MakeValue(site.types[i]);
        values += value.bytes;
        call.args.out.insert(call.args.out.end(), value.stored.begin(), value.stored.end());
    }
    const Value result = MakeValue(site.result);
    call.args.ret.insert(call.args.ret.end(), result.stored.begin(), result.stored.end());
    AddStreamItem(run, dump::kAfter, dump::After(delta, values + result.bytes));
}

// A log record carries all arguments, none of them as a composite: only sites without one are logged.
void RandomTrace::Log(std::string& run, unsigned short tid, bool first) {
    std::vector<const Site*> plain;
    for (const Site& site : m_sites) {
        if (std::none_of(site.types.begin(), site.types.end(), [](const Type& type) { return type.descriptor >= 0; })) {
            plain.push_back(&site);
        }
    }
    if (plain.empty()) return Enter(run, tid, first);
    const Site& site = *plain[Pick(static_cast<unsigned>(plain.size()))];
    const std::uint64_t delta = EntryDelta(first);
    IQxData::HSCall call;
    call.pid = kPid;
    call.locId = site.locId;
    call.tid = tid;
    call.time = m_base;
    std::string values;
    for (const Type& type : site.types) {
        const Value value = MakeValue(type);
        values += value.bytes;
        call.args.in.insert(call.args.in.end(), value.stored.begin(), value.stored.end());
    }
    AddStreamItem(run, dump::kLog, dump::LogRecord(delta, site.locId, values));
    Store(std::move(call));
}

// Each fragment carries what is left of the run before and all of its own run but, at times, the end of its last item.
std::string RandomTrace::CutIntoPackets(unsigned short tid, const std::vector<std::string>& runs,
                                        const std::vector<std::size_t>& lastItems) {
    std::string packets;
    std::string tail;
    for (std::size_t i = 0; i < runs.size(); ++i) {
        // A long tail may take fragments of its own.
        while (tail.size() > 10 && Chance(30)) {
            const std::string piece = tail.substr(0, 1 + Pick(static_cast<unsigned>(tail.size() - 1)));
            const auto used = static_cast<unsigned>(piece.size());
            packets += dump::Packet(dump::kThread, dump::Fragment(tid, used, used, piece));
            tail.erase(0, piece.size());
        }
        std::string run = runs[i];
        std::string rest;
        const bool last = i + 1 == runs.size();
        const std::size_t lastItem = lastItems[i];
        if (!last && Chance(60)) {
            const std::size_t cut = lastItem + 1 + Pick(static_cast<unsigned>(run.size() - lastItem));
            rest = run.substr(std::min(cut, run.size()));
            run.resize(std::min(cut, run.size()));
        }
        const std::string stream = tail + run;
        const auto used = static_cast<unsigned>(stream.size());
        const auto tailSize = static_cast<unsigned>(tail.size());
        const std::string padding = Chance(20) ? Bytes(Pick(9)) : "";
        const std::string payload = dump::Fragment(tid, tailSize, used, stream) + padding;
        packets +=
            Chance(30) ? dump::PrefixedPacket(used, dump::kThread, payload) : dump::Packet(dump::kThread, payload);
        tail = rest;
    }
    return packets;
}

std::string RandomTrace::Wrap(const std::string& packets) {
    const unsigned kind = Pick(4);
    if (kind > 1) return packets;
    const std::string items = dump::Item(dump::kPacked, dump::Bzip2(packets));
    const std::string once = dump::CompressedRun(items, 50 + Pick(5000)) + dump::Flush();
    return kind == 0 ? once : dump::Compressed(once) + dump::Flush();
}
