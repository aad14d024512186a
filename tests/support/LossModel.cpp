#include "LossModel.h"

#include <algorithm>
#include <boost/iostreams/copy.hpp>
#include <boost/iostreams/device/array.hpp>
#include <boost/iostreams/device/back_inserter.hpp>
#include <boost/iostreams/filter/bzip2.hpp>
#include <boost/iostreams/filtering_streambuf.hpp>
#include <stdexcept>

#include "DumpWriter.h"

namespace {

constexpr unsigned kDeepest = 8;
// Well below what the smallest dump may make of itself.
constexpr std::size_t kMuchWork = 300000;
constexpr std::size_t kUnpackingWork = 512;

bool Unpack(const std::string& packed, std::string& unpacked) {
    namespace io = boost::iostreams;
    try {
        io::filtering_streambuf<io::input> chain;
        chain.push(io::bzip2_decompressor());
        chain.push(io::array_source(packed.data(), packed.size()));
        io::copy(chain, io::back_inserter(unpacked));
        return !packed.empty();
    } catch (const std::exception&) {
        return false;
    }
}

}  // namespace

LossModel::LossModel(std::shared_ptr<IQxData> store) : m_store(std::move(store)), m_dumpOf(1), m_used(1, true) {
    std::pair<int, char*> nothing(0, nullptr);
    m_items.Parse(nothing, m_store);
}

void LossModel::Work(std::size_t bytes) {
    m_work += bytes;
    if (m_work > kMuchWork) throw TooMuch();
}

bool LossModel::Decode(const std::string& dump) {
    m_work = 0;
    const Bytes bytes = Place(dump, m_dumps++);
    try {
        ParsePackets(bytes);
        ExtractStreams();
    } catch (const std::length_error&) {
        m_streams.clear();
        m_run.clear();
        m_extracting = false;
        m_lastTag = 0;
        m_depth = 0;
    } catch (const TooMuch&) {
        return false;
    }
    return true;
}

std::vector<std::uint64_t> LossModel::NotDecoded() const {
    std::vector<std::uint64_t> counts(m_dumps);
    for (std::size_t place = 1; place < m_used.size(); ++place) {
        if (!m_used[place]) ++counts[m_dumpOf[place]];
    }
    return counts;
}

LossModel::Bytes LossModel::Place(const std::string& bytes, std::size_t dump) {
    Bytes placed;
    for (const char value : bytes) {
        placed.push_back({value, m_used.size()});
        m_used.push_back(false);
        m_dumpOf.push_back(dump);
    }
    return placed;
}

void LossModel::Use(const Bytes& bytes, std::size_t from, std::size_t to) {
    for (; from < std::min(to, bytes.size()); ++from) m_used[bytes[from].place] = true;
}

bool LossModel::ReadVarint(const Bytes& bytes, std::size_t& at, std::size_t end, std::uint32_t& value) {
    value = 0;
    for (unsigned shift = 0; at < end; shift += 7) {
        const auto byte = static_cast<unsigned char>(bytes[at++].value);
        if (shift < 32) value |= (byte & 0x7Fu) << shift;
        if (byte < 0x80) return true;
    }
    return false;
}

std::uint32_t LossModel::Varint(const Bytes& bytes, std::size_t& at, std::size_t end) {
    std::uint32_t value = 0;
    if (!ReadVarint(bytes, at, end, value)) throw Damage();
    return value;
}

bool LossModel::ReadHeader(const Bytes& bytes, std::size_t at, std::size_t end, Header& header) {
    if (at >= end) return false;
    header.tag = static_cast<unsigned char>(bytes[at].value);
    header.end = at + 1;
    return ReadVarint(bytes, header.end, end, header.size);
}

LossModel::Header LossModel::NeedHeader(const Bytes& bytes, std::size_t at, std::size_t end) {
    Header header;
    if (!ReadHeader(bytes, at, end, header)) throw Damage();
    return header;
}

void LossModel::Need(const Bytes& bytes, std::size_t at, std::size_t count) {
    if (count > 0 && at + count > bytes.size()) throw Damage();
}

void LossModel::ParsePackets(const Bytes& dump) {
    try {
        for (std::size_t at = 0; at < dump.size();) at = Packet(dump, at);
    } catch (const Damage&) {
        // The rest stays unused.
    }
}

std::size_t LossModel::Packet(const Bytes& dump, std::size_t at) {
    std::size_t head = at;
    unsigned prefix = 0;
    if (dump[head].value == '\xFF') prefix = Varint(dump, ++head, dump.size()) & 0xFFFFu;
    const Header header = NeedHeader(dump, head, dump.size());
    if (m_lastTag == dump::kCompressed && header.tag != dump::kCompressed) ExtractRun();
    const bool known = header.tag == 1 || header.tag == 2 || header.tag == 4 || header.tag == 5;
    if (!known) throw Damage();
    m_lastTag = header.tag;
    if (header.tag == dump::kThread) Thread(dump, header.end, header.size, prefix);
    if (header.tag == dump::kPersistent) Persistent(dump, header.end, header.size);
    if (header.tag == dump::kProperties) Properties(dump, header.end, header.size);
    if (header.tag == dump::kCompressed) Compressed(dump, header.end, header.size, prefix);
    Use(dump, at, header.end);
    return header.end + header.size;
}

// The payload of `size` bytes at `at`, but for the bytes from `from` to `to`.
void LossModel::UseFrame(const Bytes& dump, std::size_t at, std::size_t size, std::size_t from, std::size_t to) {
    Use(dump, at, from);
    Use(dump, to, at + size);
}

void LossModel::Thread(const Bytes& dump, std::size_t at, std::size_t size, unsigned prefix) {
    Need(dump, at, 2);
    const unsigned tid =
        static_cast<unsigned char>(dump[at].value) + 256u * static_cast<unsigned char>(dump[at + 1].value);
    std::size_t from = at + 2;
    const unsigned tail = Varint(dump, from, dump.size()) & 0xFFFFu;
    const unsigned used = Varint(dump, from, dump.size()) & 0xFFFFu;
    const bool replaces = prefix != 0 && prefix != used;
    const bool keepsTail = replaces || m_streams.count(tid) != 0;
    const unsigned count = replaces ? prefix : (used - tail) & 0xFFFFu;
    const std::size_t run = replaces ? from : from + tail;
    if (keepsTail && !replaces) Need(dump, from, tail);
    Need(dump, run, count);
    Work(tail + count);
    Bytes& stream = m_streams[tid];
    const auto begin = dump.begin();
    const auto add = [&](std::size_t first, std::size_t last) {
        stream.insert(stream.end(), begin + static_cast<long>(first), begin + static_cast<long>(last));
    };
    if (replaces) stream.clear();
    if (keepsTail && !replaces) add(from, run);
    if (!replaces && tail < used) stream.insert(stream.end(), {{'\x3F', 0}, {'\0', 0}});
    if (count > 0) add(run, run + count);
    UseFrame(dump, at, size, from, run + count);
}

void LossModel::Compressed(const Bytes& dump, std::size_t at, std::size_t size, unsigned prefix) {
    std::size_t from = at;
    const unsigned tail = Varint(dump, from, dump.size()) & 0xFFFFu;
    const unsigned used = Varint(dump, from, dump.size()) & 0xFFFFu;
    const bool whole = !m_run.empty() || (prefix != 0 && prefix != used);
    const std::size_t run = from + (whole ? 0 : tail);
    const unsigned count = (used - (whole ? 0 : tail)) & 0xFFFFu;
    Need(dump, run, count);
    Work(count);
    for (std::size_t i = run; i < run + count; ++i) m_run.push_back(dump[i]);
    UseFrame(dump, at, size, from, run + count);
}

void LossModel::Persistent(const Bytes& dump, std::size_t at, std::size_t size) {
    const std::size_t end = std::min(at + size, dump.size());
    std::size_t item = at;
    while (item < at + size) {
        if (item >= end) throw Damage();
        if (dump[item].value == '\0') break;
        const Header header = NeedHeader(dump, item, end);
        if (header.size > end - header.end) throw Damage();
        const std::size_t next = header.end + header.size;
        std::string payload;
        for (std::size_t i = header.end; i < next; ++i) payload += dump[i].value;
        Item(header.tag, payload, {dump.begin() + static_cast<long>(item), dump.begin() + static_cast<long>(next)});
        item = next;
    }
    Use(dump, item, at + size);
}

void LossModel::Properties(const Bytes& dump, std::size_t at, std::size_t size) {
    const std::size_t end = std::min(at + size, dump.size());
    if (at + 2 > end) throw Damage();
    m_store->SetCurrentThread(static_cast<unsigned short>(static_cast<unsigned char>(dump[at].value) +
                                                          256u * static_cast<unsigned char>(dump[at + 1].value)));
    std::size_t item = at + 2;
    do {
        const Header header = NeedHeader(dump, item, end);
        const std::size_t next = header.end + (header.size & 0xFFFFu);
        if (next > end) throw Damage();
        std::string payload;
        for (std::size_t i = header.end; i < next; ++i) payload += dump[i].value;
        Item(header.tag, payload, {dump.begin() + static_cast<long>(item), dump.begin() + static_cast<long>(next)});
        item = next;
    } while (item < at + size);
    Use(dump, at, at + 2);
}

void LossModel::Item(unsigned tag, const std::string& payload, const Bytes& raw) {
    if (tag == dump::kPacked) {
        Work(kUnpackingWork);
        std::string unpacked;
        if (!Unpack(payload, unpacked)) return;
        if (m_depth == kDeepest) throw Damage();
        Use(raw, 0, raw.size());
        Nested(unpacked, raw.front().place);
        return;
    }
    std::vector<char> bytes(payload.begin(), payload.end());
    try {
        m_items.ParseItem(static_cast<unsigned char>(tag), bytes);
    } catch (QxData::_PERR_TYPE) {
        throw Damage();
    }
    Use(raw, 0, raw.size());
}

void LossModel::Nested(const std::string& unpacked, std::size_t item) {
    const auto known = m_unpacked.find({item, unpacked.size()});
    const Bytes bytes = known != m_unpacked.end() ? known->second : Place(unpacked, m_dumpOf[item]);
    m_unpacked[{item, unpacked.size()}] = bytes;
    ++m_depth;
    ParsePackets(bytes);
    --m_depth;
}

void LossModel::ExtractRun() {
    if (m_extracting) return;
    Work(m_run.size());
    m_extracting = true;
    Header header;
    std::size_t at = 0;
    try {
        while (at < m_run.size() && ReadHeader(m_run, at, m_run.size(), header)) {
            if (header.size > m_run.size() - header.end) break;
            const std::size_t next = header.end + header.size;
            std::string payload;
            for (std::size_t i = header.end; i < next; ++i) payload += m_run[i].value;
            m_lastTag = 0;
            Item(header.tag, payload, {m_run.begin() + static_cast<long>(at), m_run.begin() + static_cast<long>(next)});
            at = next;
        }
    } catch (const Damage&) {
        m_extracting = false;
        throw;
    }
    m_extracting = false;
    m_run.clear();
}

void LossModel::ExtractStreams() {
    try {
        for (auto& [tid, stream] : m_streams) {
            m_store->SetCurrentThread(static_cast<unsigned short>(tid));
            ExtractStream(stream);
        }
    } catch (const Damage&) {
        return;
    }
    m_streams.clear();
}

// The stream may change while an item of it is decoded.
void LossModel::ExtractStream(Bytes& stream) {
    Header header;
    std::size_t at = 0;
    Work(stream.size());
    while (at < stream.size() && ReadHeader(stream, at, stream.size(), header)) {
        const bool known = header.tag == dump::kTime || (header.tag >= 1 && header.tag <= 10 && header.size > 0);
        if (!known) {
            do ++at;
            while (at + 1 < stream.size() && !(stream[at].value == '\x3F' && stream[at + 1].value == '\0'));
            if (at + 1 >= stream.size()) return;
            continue;
        }
        if (header.size > stream.size() - header.end) return;
        const std::size_t next = header.end + header.size;
        std::string payload;
        for (std::size_t i = header.end; i < next; ++i) payload += stream[i].value;
        const std::size_t moved = header.end - at > 2 ? header.end - at - 2 : 0;
        if (moved > payload.size()) throw std::length_error("payload");
        payload = payload.substr(payload.size() - moved) + payload.substr(0, payload.size() - moved);
        Item(header.tag, payload, {stream.begin() + static_cast<long>(at), stream.begin() + static_cast<long>(next)});
        at = next;
    }
}
