#include "CallSpool.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <queue>
#include <utility>

#include "Failure.h"

namespace qxlt {

namespace {

constexpr std::size_t kBufferSize = 1 << 20;  // that is written at once
constexpr std::size_t kReadSize = 4096;       // of each thread, all at a time

// What stands ahead of the bytes of a call. The file is read by whom it was written.
struct Head {
    std::uint64_t end;
    std::uint64_t time;
    std::uint64_t exitTime;
    std::uint32_t site;
    std::uint32_t in;
    std::uint32_t out;
    std::uint32_t result;
    std::uint16_t thread;
    bool hasExit;
};

int OpenUnnamed(const std::string& directory) {
    const int fd = open(directory.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
    if (fd >= 0) return fd;
    // Not every file system has files without names.
    std::string name = directory + "/.spool-XXXXXX";
    const int named = mkostemp(name.data(), O_CLOEXEC);
    if (named < 0) {
        throw Failure(kCannotStart,
                      directory + ": " + std::strerror(errno) + "; name a new directory that can be written");
    }
    unlink(name.c_str());
    return named;
}

}  // namespace

// Reads a run piece by piece.
class CallSpool::Reader {
public:
    Reader(const CallSpool& spool, const Run& run) : m_spool(spool), m_next(run.begin), m_end(run.end) { Advance(); }

    bool AtEnd() const { return m_atEnd; }
    std::uint64_t End() const { return m_head.end; }
    const ImportedCapture::Packed& Call() const { return m_call; }

    void Advance() {
        m_atEnd = m_left == 0 && m_next == m_end;
        if (m_atEnd) return;
        std::memcpy(&m_head, Take(sizeof m_head), sizeof m_head);
        qx::host::CallRecord& record = m_call.record;
        m_call.thread = m_head.thread;
        record.site = m_head.site;
        record.time = m_head.time;
        record.in.assign(Take(m_head.in), m_head.in);
        record.exit.reset();
        if (!m_head.hasExit) return;
        record.exit.emplace();
        record.exit->time = m_head.exitTime;
        record.exit->out.assign(Take(m_head.out), m_head.out);
        record.exit->result.assign(Take(m_head.result), m_head.result);
    }

private:
    // The next bytes. Valid until the next call.
    const char* Take(std::size_t size) {
        if (m_left < size) Fill(size);
        const char* const bytes = m_bytes.data() + (m_bytes.size() - m_left);
        m_left -= size;
        return bytes;
    }

    void Fill(std::size_t size) {
        m_bytes.erase(0, m_bytes.size() - m_left);
        const std::size_t more =
            static_cast<std::size_t>(std::min<std::uint64_t>(std::max(size, kReadSize), m_end - m_next));
        m_bytes.resize(m_left + more);
        for (std::size_t done = 0; done < more;) {
            const ssize_t part = pread(m_spool.m_file.Get(), m_bytes.data() + m_left + done, more - done,
                                       static_cast<off_t>(m_next + done));
            if (part < 0 && errno == EINTR) continue;
            if (part <= 0) m_spool.Fail();
            done += static_cast<std::size_t>(part);
        }
        m_left += more;
        m_next += more;
    }

    const CallSpool& m_spool;
    std::uint64_t m_next;  // that is not read yet
    const std::uint64_t m_end;
    std::string m_bytes;
    std::size_t m_left = 0;  // of them, not taken yet
    Head m_head{};
    ImportedCapture::Packed m_call;
    bool m_atEnd = false;
};

CallSpool::CallSpool(std::string directory) : m_directory(std::move(directory)), m_file(OpenUnnamed(m_directory)) {}

void CallSpool::Fail() const {
    throw Failure(kInputWrong,
                  m_directory + ": " + std::strerror(errno) + "; make room, and import into another directory");
}

// Clocks of several processors may go back between two calls.
void CallSpool::Add(std::uint64_t end, const ImportedCapture::Packed& call) {
    m_last = std::max(m_last, end);
    Head head{};
    head.end = m_last;
    head.time = call.record.time;
    head.site = call.record.site;
    head.thread = call.thread;
    head.in = static_cast<std::uint32_t>(call.record.in.size());
    head.hasExit = call.record.exit.has_value();
    if (head.hasExit) {
        head.exitTime = call.record.exit->time;
        head.out = static_cast<std::uint32_t>(call.record.exit->out.size());
        head.result = static_cast<std::uint32_t>(call.record.exit->result.size());
    }
    m_buffer.append(reinterpret_cast<const char*>(&head), sizeof head);
    m_buffer += call.record.in;
    if (head.hasExit) m_buffer += call.record.exit->out + call.record.exit->result;
    if (m_buffer.size() >= kBufferSize) Flush();
}

void CallSpool::EndThread() {
    const std::uint64_t end = m_written + m_buffer.size();
    if (end > m_runBegin) m_runs.push_back({m_runBegin, end});
    m_runBegin = end;
    m_last = 0;
}

void CallSpool::Flush() {
    for (std::size_t done = 0; done < m_buffer.size();) {
        const ssize_t part = write(m_file.Get(), m_buffer.data() + done, m_buffer.size() - done);
        if (part < 0 && errno == EINTR) continue;
        if (part < 0) Fail();
        done += static_cast<std::size_t>(part);
    }
    m_written += m_buffer.size();
    m_buffer.clear();
}

void CallSpool::Merge(const std::function<void(const ImportedCapture::Packed&)>& sink) {
    EndThread();
    Flush();
    std::vector<std::unique_ptr<Reader>> readers;
    using Next = std::pair<std::uint64_t, std::size_t>;  // when, and whose
    std::priority_queue<Next, std::vector<Next>, std::greater<Next>> next;
    for (const Run& run : m_runs) {
        readers.push_back(std::make_unique<Reader>(*this, run));
        next.emplace(readers.back()->End(), readers.size() - 1);
    }
    while (!next.empty()) {
        const std::size_t place = next.top().second;
        next.pop();
        std::unique_ptr<Reader>& reader = readers[place];
        sink(reader->Call());
        reader->Advance();
        if (reader->AtEnd())
            reader.reset();
        else
            next.emplace(reader->End(), place);
    }
}

}  // namespace qxlt
