// The stream of one thread in a dump: writes calls and log items one after the other, and cuts the stream into the
// fragments that thread buffers carry.
//
// A call is written as its entry and, right behind, its exit, whatever was called meanwhile; a call or log item without
// exit stands between such pairs. So an exit always finds its own call, whichever others were lost or are still open.
// Each run of items begins with an absolute time: every fragment starts one, and so does an item whose time lies before
// the one written last.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace qxhost {

class QxThreadStream {
public:
    explicit QxThreadStream(std::uint16_t tid) : m_tid(tid) {}

    // Appends a call that returned. Times in nanoseconds; the values as dumps hold them. Requires: exitTime >= time.
    void AddCall(std::uint32_t location, std::uint64_t time, const std::string& values, std::uint64_t exitTime,
                 const std::string& exitValues);

    // Appends a call without its exit, or a log item.
    void AddOpenCall(std::uint32_t location, std::uint64_t time, const std::string& values);
    void AddLog(std::uint32_t location, std::uint64_t time, const std::string& values);

    // Ends the last fragment and gives all packets.
    const std::string& Finish();

private:
    void PutEntry(char tag, std::uint32_t location, std::uint64_t time, const std::string& values);
    void PutSpanning(const std::string& item);
    void EndFragment(std::size_t nextTail);

    const std::uint16_t m_tid;
    std::string m_packets;
    std::string m_fragment;
    std::string m_payload;  // of the item that is written, and the item
    std::string m_item;
    std::size_t m_tail = 0;    // of the fragment, how much finishes an item begun before
    std::uint64_t m_base = 0;  // time that the last item reached; 0 at a run's start
};

}  // namespace qxhost
