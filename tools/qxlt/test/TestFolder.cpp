#include "TestFolder.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <system_error>
#include <utility>

#include "CaptureLayout.h"
#include "Expectation.h"
#include "Explainer.h"
#include "Failure.h"
#include "Format.h"
#include "JoinedScripts.h"
#include "Json.h"

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

std::string Explain(const Explainer& explainer, const Difference& first) {
    const std::string name = JsonText(first.missing != nullptr ? *first.missing : *first.unexpected, "event");
    if (name.empty()) return std::string();
    const char* const what = first.unexpected == nullptr ? " is missing, "
                             : first.missing == nullptr  ? " is not expected, "
                                                         : " is not as expected, ";
    return name + what + explainer.ReasonOf(name);
}

// Returns whether the expectation changed.
bool Update(const Expectation& expectation, Updating updating, const RunLines& run) {
    if (updating == Updating::No) return false;
    return updating == Updating::Exact ? expectation.UpdateExactly(run) : expectation.Update(run);
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

TestResult TestFolder::Run(Updating updating, Output& output, Progress& progress) const {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point start = Clock::now();
    TestResult result;
    result.folder = m_path;
    try {
        Compare(updating, output, progress, result);
    } catch (const Failure& failure) {
        result.failure = failure.what();
    }
    result.seconds = std::chrono::duration<double>(Clock::now() - start).count();
    return result;
}

void TestFolder::Compare(Updating updating, Output& output, Progress& progress, TestResult& result) const {
    ForgetEvents();
    const JoinedScripts scripts(Entries(m_path, IsScript));
    const ReplayInput input = Input(scripts);
    RunLines run;
    const auto take = [&run](const std::string& line) { run.Add(Shared(ParseJson("", line))); };
    const auto takeEvent = [&take, &result](EventView view) {
        view.call.key.reset();
        result.start = view.call.start;
        take(EventJson(view));
    };
    const auto takeFault = [&take](const Fault& fault) { take(fault.record); };
    Replayer replayer(scripts, input, takeEvent, takeFault, progress);
    Explainer explainer(Format::Text, output, replayer.Root(), replayer.Places(), "");
    replayer.SetExplainer(explainer);
    replayer.Run();
    const Expectation expectation(m_path + "/expected.jsonl");
    result.updated = Update(expectation, updating, run);
    const std::vector<ExpectedLine> expected = expectation.Read();
    result.differences = Comparison(expected, run).Differences();
    if (!result.differences.empty()) result.explanation = Explain(explainer, result.differences.front());
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

}  // namespace qxlt
