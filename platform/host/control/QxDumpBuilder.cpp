#include "QxDumpBuilder.h"

#include <algorithm>
#include <boost/iostreams/device/back_inserter.hpp>
#include <boost/iostreams/filter/bzip2.hpp>
#include <boost/iostreams/filtering_stream.hpp>
#include <tuple>
#include <utility>

#include "QxDumpFormat.h"

namespace qxhost {

using namespace dumpformat;

namespace {

// The smallest block: what is compressed here is small, and larger blocks cost megabytes.
constexpr int kBlockSize = 1;

std::string Compress(const std::string& data) {
    namespace io = boost::iostreams;
    std::string compressed;
    io::filtering_ostream stream;
    stream.push(io::bzip2_compressor(io::bzip2_params(kBlockSize)));
    stream.push(io::back_inserter(compressed));
    stream.write(data.data(), static_cast<std::streamsize>(data.size()));
    stream.reset();
    return compressed;
}

}  // namespace

QxThreadStream& QxDumpBuilder::Thread(std::uint16_t tid) {
    return m_threads.emplace(std::piecewise_construct, std::forward_as_tuple(tid), std::forward_as_tuple(tid))
        .first->second;
}

std::string QxDumpBuilder::ThreadPacket(std::uint16_t tid, const std::string& name) {
    std::string content;
    AppendText(content, name);
    std::string buffer;
    AppendInteger(buffer, tid, 2);
    AppendItem(buffer, kThreadItem, content);
    std::string packet;
    AppendItem(packet, kThreadProperties, buffer);
    return packet;
}

std::string QxDumpBuilder::Finish(const std::string& description) {
    std::string dump = description;
    for (const Process& process : m_processes) {
        AppendItem(dump, kPersistentBuffer, process.headerItem);
        for (const auto& [tid, name] : process.names) dump += ThreadPacket(tid, name);
    }
    for (auto& [tid, thread] : m_threads) dump += thread.Finish();
    // Compressed packets are decoded when one of another kind follows.
    if (m_processes.empty() && m_threads.empty()) AppendItem(dump, kPersistentBuffer, "");
    return dump;
}

// The process id stands whole in the first extra field, since that of the header keeps 16 bits of it.
std::string QxDumpBuilder::HeaderItem(const std::string& process, std::uint32_t id) {
    constexpr std::size_t kExtraFieldSize = 8;
    std::string header;
    AppendInteger(header, id & 0xFFFF, 2);
    AppendText(header, process);
    AppendText(header, "host 1");
    AppendText(header, "");
    AppendText(header, "");
    const std::string digits = std::to_string(id % 100000000);
    header += std::string(kExtraFieldSize - digits.size(), '0') + digits;
    header.append(kExtraFieldSize, '\0');
    std::string item;
    AppendItem(item, kHeaderItem, header);
    return item;
}

std::string QxDumpBuilder::Describe(const std::string& items) {
    std::string inner;
    AppendItem(inner, kPersistentBuffer, items);
    std::string item;
    AppendItem(item, kCompressedItem, Compress(inner));
    std::string packets;
    for (std::size_t done = 0; done < item.size();) {
        const std::size_t part = std::min(item.size() - done, kFragment);
        std::string buffer;
        AppendVarint(buffer, done == 0 ? 0 : part);
        AppendVarint(buffer, part);
        buffer.append(item, done, part);
        AppendItem(packets, kCompressedBuffer, buffer);
        done += part;
    }
    return packets;
}

}  // namespace qxhost
