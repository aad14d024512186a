#include "CaptureWriter.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>

#include "CaptureLayout.h"
#include "Descriptor.h"
#include "Failure.h"
#include "Json.h"
#include "JsonLine.h"
#include "Messages.h"
#include "Text.h"

namespace qxlt {

namespace {

namespace fs = std::filesystem;

// Returns whether all was written; errno tells why not.
bool WriteAll(int fd, const char* bytes, std::size_t size) {
    while (size > 0) {
        const ssize_t count = write(fd, bytes, size);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return false;
        bytes += count;
        size -= static_cast<std::size_t>(count);
    }
    return true;
}

bool WriteFile(const std::string& path, const char* bytes, std::size_t size) {
    Descriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
    if (!file.IsOpen()) return false;
    const bool written = WriteAll(file.Get(), bytes, size);
    const int error = errno;
    const bool closed = file.Close();
    if (!written) errno = error;
    return written && closed;
}

[[noreturn]] void CannotKeep(const std::string& path, const std::string& why) {
    throw Failure(kCannotStart, path + ": " + why + "; name a new directory that can be written");
}

}  // namespace

CaptureWriter::CaptureWriter(std::string directory) : m_directory(std::move(directory)) {
    std::signal(SIGXFSZ, SIG_IGN);  // a file size limit is met as an error of the write
    std::error_code error;
    fs::create_directories(m_directory, error);
    if (error) CannotKeep(m_directory, error.message());
    const bool empty = fs::is_empty(m_directory, error);
    if (error) CannotKeep(m_directory, error.message());
    if (!empty) CannotKeep(m_directory, "is not empty");
}

void CaptureWriter::Begin(const ProcessNames& processes, const RunStart& start) {
    JsonObject ids = JsonObject::object();
    for (const auto& [name, pid] : processes.Pids()) {
        if (!IsUtf8(name)) CannotKeep(m_directory, "the process name " + name + " is not UTF-8");
        ids[name] = pid;
    }
    JsonObject description = {{"version", kCaptureVersion}, {"processes", ids}};
    if (start.since) description["since"] = *start.since;
    if (start.time) description["start"] = *start.time;
    if (start.clock) description["clock_offset"] = *start.clock;
    const std::string text = description.dump() + "\n";
    const std::string path = m_directory + "/" + kCaptureFile;
    if (!WriteFile(path, text.data(), text.size())) CannotKeep(path, std::strerror(errno));
}

void CaptureWriter::BeginCycle(std::uint64_t number) {
    m_cycle = number;
    if (m_failed) return;
    m_unfinished = m_directory + "/." + CycleName(number);
    std::error_code error;
    if (fs::create_directory(m_unfinished, error)) return;
    errno = error.value();
    Fail(m_unfinished);
}

// What was lost without a dump is kept as well, and once that there is an account at all.
void CaptureWriter::AddDump(const std::string& process, const std::vector<char>& dump,
                            const std::optional<LossCounts>& counts) {
    if (!dump.empty()) AddFile(DumpName(process), dump.data(), dump.size());
    if (!counts) return;
    const bool isFirst = m_counted.insert(process).second;
    if (!isFirst && dump.empty() && counts->recorded == 0 && !counts->Any()) return;
    JsonLine line;
    AddLoss(line, *counts);
    AddLine(LossName(process), std::move(line).Finish());
}

void CaptureWriter::AddChanges(const std::string& process, const std::vector<ProcessChange>& changes) {
    if (!changes.empty()) AddLine(ChangesName(process), ChangesJson(changes));
}

void CaptureWriter::AddLine(const std::string& name, const std::string& line) {
    const std::string text = line + "\n";
    AddFile(name, text.data(), text.size());
}

void CaptureWriter::AddFile(const std::string& name, const char* bytes, std::size_t size) {
    if (m_failed) return;
    const std::string path = m_unfinished + "/" + name;
    if (!WriteFile(path, bytes, size)) Fail(path);
}

void CaptureWriter::EndCycle() {
    if (m_failed) return;
    const std::string path = m_directory + "/" + CycleName(m_cycle);
    if (std::rename(m_unfinished.c_str(), path.c_str()) != 0) Fail(path);
}

void CaptureWriter::Fail(const std::string& path) {
    m_failed = true;
    PrintError(path + ": " + std::strerror(errno) + "; the capture ends before cycle " + std::to_string(m_cycle) +
               ", tracking goes on");
    std::error_code ignored;
    fs::remove_all(m_unfinished, ignored);
}

}  // namespace qxlt
