#include "TestFolder.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>
#include <utility>

#include "CaptureLayout.h"
#include "Explainer.h"
#include "Failure.h"
#include "Format.h"
#include "JoinedScripts.h"
#include "Json.h"
#include "Messages.h"
#include "ReadFile.h"

namespace qxlt {

namespace {

namespace fs = std::filesystem;

std::vector<std::string> Entries(const std::string& directory, bool (*wanted)(const fs::directory_entry&)) {
    std::vector<std::string> paths;
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(directory, error)) {
        if (wanted(entry)) paths.push_back(entry.path().string());
    }
    if (error) throw Failure(kCannotStart, directory + ": " + error.message() + "; name a folder of scenarios");
    std::sort(paths.begin(), paths.end());
    return paths;
}

bool IsScript(const fs::directory_entry& entry) {
    return entry.path().extension() == ".xml";
}

bool IsDump(const fs::directory_entry& entry) {
    return entry.path().extension() == ".qxdump";
}

bool IsCapture(const fs::directory_entry& entry) {
    std::error_code ignored;
    return fs::exists(entry.path() / kCaptureFile, ignored);
}

bool IsTest(const fs::directory_entry& entry) {
    std::error_code ignored;
    return entry.is_directory(ignored) && !Entries(entry.path().string(), IsScript).empty();
}

std::string Explain(const Explainer& explainer, const DiffLine& first) {
    const auto event = first.line->find("event");
    if (event == first.line->end() || !event->is_string()) return std::string();
    const std::string name = event->get<std::string>();
    return name + (first.kind == DiffLine::Kind::Missing ? " is missing, " : " is not expected, ") +
           explainer.ReasonOf(name);
}

}  // namespace

std::vector<std::string> TestFolder::Find(const std::vector<std::string>& arguments) {
    std::vector<std::string> folders;
    for (const std::string& argument : arguments) {
        if (!Entries(argument, IsScript).empty()) {
            folders.push_back(argument);
            continue;
        }
        const std::vector<std::string> below = Entries(argument, IsTest);
        if (below.empty()) throw Failure(kCannotStart, argument + ": holds no *.xml; name a folder of scenarios");
        folders.insert(folders.end(), below.begin(), below.end());
    }
    return folders;
}

TestResult TestFolder::Run(bool update, Output& output, Progress& progress) const {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point start = Clock::now();
    TestResult result;
    result.folder = m_path;
    try {
        Compare(update, output, progress, result);
    } catch (const Failure& failure) {
        result.failure = failure.what();
    }
    result.seconds = std::chrono::duration<double>(Clock::now() - start).count();
    return result;
}

void TestFolder::Compare(bool update, Output& output, Progress& progress, TestResult& result) const {
    ForgetEvents();
    const JoinedScripts scripts(Entries(m_path, IsScript));
    const ReplayInput input = Input(scripts);
    Lines actual;
    const auto take = [&actual](const std::string& line) { actual.push_back(ParseJson("", line)); };
    const auto takeEvent = [&take](EventView view) {
        view.call.key.reset();
        take(EventJson(view));
    };
    const auto takeFault = [&take](const Fault& fault) { take(fault.record); };
    Replayer replayer(scripts, input, takeEvent, takeFault, progress);
    Explainer explainer(Format::Text, output, replayer.Root(), replayer.Places(), "");
    replayer.SetExplainer(explainer);
    replayer.Run();
    if (update) {
        result.updated = Update(actual);
        return;
    }
    result.diff = Diff(ReadExpected(), actual);
    if (!result.diff.empty()) result.explanation = Explain(explainer, result.diff.front());
}

ReplayInput TestFolder::Input(const JoinedScripts& scripts) const {
    ReplayInput input;
    input.onlyCapture = false;  // the scripts and the expectation may lie beside the cycles
    const std::vector<std::string> captures = Entries(m_path, IsCapture);
    if (IsCapture(fs::directory_entry(m_path))) {
        input.capture = m_path;
        return input;
    }
    if (captures.size() > 1) throw Failure(kCannotStart, m_path + ": holds two captures; make a folder for each");
    if (captures.size() == 1) {
        input.capture = captures.front();
        return input;
    }
    input.dumps = Entries(m_path, IsDump);
    if (input.dumps.empty()) throw Failure(kCannotStart, m_path + ": holds no capture and no *.qxdump; add one");
    if (scripts.Processes().empty()) {
        throw Failure(kCannotStart, m_path + ": whose dumps these are is not known; add process to an action");
    }
    input.process = scripts.Processes().front();
    return input;
}

TestFolder::Lines TestFolder::ReadExpected() const {
    std::error_code ignored;
    if (!fs::exists(ExpectedPath(), ignored)) {
        throw Failure(kCannotStart, ExpectedPath() + ": is missing; write it with --update");
    }
    std::istringstream text(ReadFile(ExpectedPath()));
    Lines lines;
    std::size_t number = 0;
    for (std::string line; std::getline(text, line);) {
        ++number;
        if (line.empty()) continue;
        lines.push_back(ParseJson(Place(ExpectedPath(), number), line));
        if (!lines.back().is_object()) {
            throw Failure(kCannotStart, Place(ExpectedPath(), number) + ": no JSON object; write it with --update");
        }
    }
    return lines;
}

// Written beside and then renamed: a failure leaves the old expectation. Returns whether it changed.
bool TestFolder::Update(const Lines& lines) const {
    std::string text;
    for (const JsonObject& line : lines) text += line.dump() + "\n";
    std::error_code ignored;
    if (fs::exists(ExpectedPath(), ignored) && ReadFile(ExpectedPath()) == text) return false;
    const std::string beside = ExpectedPath() + ".new";
    std::ofstream file(beside, std::ios::binary | std::ios::trunc);
    file << text;
    file.close();
    if (!file || std::rename(beside.c_str(), ExpectedPath().c_str()) != 0) {
        throw Failure(kCannotStart, ExpectedPath() + ": " + std::strerror(errno) + "; it keeps its old content");
    }
    return true;
}

}  // namespace qxlt
