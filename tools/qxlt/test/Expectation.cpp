#include "Expectation.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>

#include "Comparison.h"
#include "Failure.h"
#include "Json.h"
#include "Messages.h"
#include "ReadFile.h"

namespace qxlt {

namespace {

bool IsObject(const std::string& line) {
    try {
        return ParseJson("", line).is_object();
    } catch (const Failure&) {
        return false;
    }
}

// Which rules ran from when on is said by live runs alone, whose lines may be what is expected.
bool TellsOfRules(const std::string& line) {
    if (line.find("\"rules\":") == std::string::npos || !IsObject(line)) return false;
    const JsonObject object = ParseJson("", line);
    return object.contains("rules") && object.contains("forgotten") && !object.contains("event");
}

}  // namespace

std::vector<ExpectedLine> Expectation::Read() const {
    if (!Exists()) throw Failure(kCannotStart, m_path + ": is missing; write it with --update");
    return ReadLines(Wrong::IsTold);
}

bool Expectation::Exists() const {
    std::error_code ignored;
    return std::filesystem::exists(m_path, ignored);
}

std::vector<ExpectedLine> Expectation::ReadLines(Wrong wrong) const {
    std::istringstream text(ReadFile(m_path));
    std::vector<ExpectedLine> lines;
    std::size_t number = 0;
    for (std::string line; std::getline(text, line);) {
        ++number;
        if (line.empty() || TellsOfRules(line) || (wrong == Wrong::IsDropped && !IsObject(line))) continue;
        lines.emplace_back(Place(m_path, number), line);
    }
    return lines;
}

bool Expectation::Update(const RunLines& run) const {
    const std::vector<ExpectedLine> lines = Exists() ? ReadLines(Wrong::IsDropped) : std::vector<ExpectedLine>();
    return Write(Comparison(lines, run).Updated());
}

bool Expectation::UpdateExactly(const RunLines& run) const {
    std::string text;
    for (std::size_t line = 0; line < run.Size(); ++line) text += run[line]->dump() + "\n";
    return Write(text);
}

// Written beside and then renamed: a failure leaves the old expectation.
bool Expectation::Write(const std::string& text) const {
    if (Exists() && ReadFile(m_path) == text) return false;
    const std::string beside = m_path + ".new";
    std::ofstream file(beside, std::ios::binary | std::ios::trunc);
    file << text;
    file.close();
    if (!file || std::rename(beside.c_str(), m_path.c_str()) != 0) {
        throw Failure(kCannotStart, m_path + ": " + std::strerror(errno) + "; it keeps its old content");
    }
    return true;
}

}  // namespace qxlt
