// The streams of the media server, package "net". Call n of its thread "streams", with k = n / 4 and the handle
// k % 1000 + 1:
//
//     n % 4 == 0    OpenStream("http://radio.example/K", Quality{bitrate, codec}) -> handle, where K = k % 10, bitrate
//     =
//                   64 << k % 3 and codec is "aac" for odd k, else "mp3". Calls ProbeStream(url) -> true, and for each
//                   fifth k (k % 5 == 4) with the url "" which gives false, and OpenStream gives -1
//     n % 4 == 1    ReadStream(handle, chunk) -> size: chunk is recorded at exit and holds the bytes 0 to size - 1,
//     with
//                   size = k % 8
//     n % 4 == 2    TuneStream(handle, quality): the bitrate is doubled between entry and exit
//     n % 4 == 3    CloseStream(handle) -> true
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct Quality {
    std::uint16_t bitrate = 0;
    std::string codec;
};

class StreamPool {
public:
    // Makes call n.
    void MakeCall(unsigned long n);

    int OpenStream(const std::string& url, const Quality& quality);
    bool ProbeStream(const std::string& url);
    std::uint64_t ReadStream(int handle, std::vector<unsigned char>& chunk);
    void TuneStream(int handle, Quality& quality);
    bool CloseStream(int handle);

private:
    int m_nextHandle = 1;
    std::size_t m_chunkSize = 0;
};
