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
#include "WriteAll.h"

namespace qxlt {

namespace {

namespace fs = std::filesystem;

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

// Requires: the names are UTF-8.
JsonObject Description(const ProcessNames& processes, const RunStart& start) {
    JsonObject ids = JsonObject::object();
    for (const auto& [name, pid] : processes.Pids()) ids[name] = pid;
    JsonObject description = {{"version", kCaptureVersion}, {"processes", ids}};
    if (start.since) description["since"] = *start.since;
    if (start.time) description["start"] = *start.time;
    if (start.clock) description["clock_offset"] = *start.clock;
    return description;
}

}  // namespace

void RequireKeptNames(const ProcessNames& processes) {
    for (const auto& [name, pid] : processes.Pids()) {
        if (!IsUtf8(name))
            throw Failure(kCannotStart, "the process name " + name + " is not UTF-8; no capture can hold it");
    }
}

CaptureWriter::CaptureWriter(std::string directory, ProblemSink problems)
    : m_directory(std::move(directory)), m_problems(std::move(problems)) {
    std::signal(SIGXFSZ, SIG_IGN);  // a file size limit is met as an error of the write
    std::error_code error;
    fs::create_directories(m_directory, error);
    if (error) CannotKeep(m_directory, error.message());
    const bool empty = fs::is_empty(m_directory, error);
    if (error) CannotKeep(m_directory, error.message());
    if (!empty) CannotKeep(m_directory, "is not empty");
}

void CaptureWriter::Begin(const ProcessNames& processes, const RunStart& start) {
    RequireKeptNames(processes);
    if (!WriteDescription(Description(processes, start).dump())) {
        CannotKeep(m_directory + "/" + kCaptureFile, std::strerror(errno));
    }
}

bool CaptureWriter::TryBegin(const ProcessNames& processes, const RunStart& start, const KeptFor& reason) {
    JsonObject description = Description(processes, start);
    description["event"] = ReplaceInvalid(reason.event);
    description["cycle"] = reason.cycle;
    if (WriteDescription(description.dump())) return true;
    Fail(m_directory + "/" + kCaptureFile);
    return false;
}

bool CaptureWriter::WriteDescription(const std::string& text) {
    m_description = text;
    const std::string line = text + "\n";
    m_size += line.size();
    return WriteFile(m_directory + "/" + kCaptureFile, line.data(), line.size());
}

// Whoever reads the capture meanwhile has the old description or the new one.
void CaptureWriter::AddProcess(const LateProcess& process) {
    if (m_failed) return;
    JsonObject late = {{"cycle", process.cycle}, {"process", process.name}};
    if (process.since) late["since"] = *process.since;
    JsonObject description = ParseJson(m_directory, m_description);
    if (!description["processes"].contains(process.name)) description["processes"][process.name] = process.pid;
    description["late"].push_back(std::move(late));
    m_description = description.dump();
    const std::string line = m_description + "\n";
    const std::string path = m_directory + "/" + kCaptureFile;
    const std::string beside = m_directory + "/." + kCaptureFile;
    const bool isWritten =
        WriteFile(beside, line.data(), line.size()) && std::rename(beside.c_str(), path.c_str()) == 0;
    if (!isWritten) Fail(path);
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
    m_size += size;
    if (!WriteFile(path, bytes, size)) Fail(path);
}

void CaptureWriter::EndCycle() {
    if (m_failed) return;
    const std::string path = m_directory + "/" + CycleName(m_cycle);
    if (std::rename(m_unfinished.c_str(), path.c_str()) != 0) Fail(path);
}

void CaptureWriter::Fail(const std::string& path) {
    m_failed = true;
    const std::string problem = path + ": " + std::strerror(errno);
    if (m_problems) {
        m_problems(problem);
    } else {
        PrintError(problem + "; the capture ends before cycle " + std::to_string(m_cycle) + ", tracking goes on");
    }
    std::error_code ignored;
    if (!m_unfinished.empty()) fs::remove_all(m_unfinished, ignored);
}

}  // namespace qxlt
