// A folder that tests scenarios: the scripts (*.xml), what they are run over (a capture.json with its cycles, in the
// folder itself or in one below it, or else dumps *.qxdump in the order of their names), and the events that are
// expected, expected.jsonl.
#pragma once

#include <string>
#include <vector>

#include "JsonFwd.h"
#include "LineDiff.h"
#include "Output.h"
#include "Replayer.h"

namespace qxlt {

struct TestResult {
    std::string folder;
    std::string failure;         // why it could not be tested; empty: it was
    std::vector<DiffLine> diff;  // what differs
    std::string explanation;     // of the first difference
    bool updated = false;        // the expectation was written anew
    double seconds = 0;

    bool Passed() const { return failure.empty() && diff.empty(); }
};

class TestFolder final {
public:
    explicit TestFolder(std::string path) : m_path(std::move(path)) {}

    // The folders that the arguments stand for: each itself when it holds scripts, else those of its folders that do,
    // in the order of their names. Throws a Failure (cannot start) when there are none.
    static std::vector<std::string> Find(const std::vector<std::string>& arguments);

    // Tests the folder, or writes its expectation. Nothing of an earlier test is remembered. Throws nothing that the
    // folder's content can cause.
    TestResult Run(bool update, Output& output, Progress& progress) const;

private:
    using Lines = std::vector<JsonObject>;

    void Compare(bool update, Output& output, Progress& progress, TestResult& result) const;
    ReplayInput Input(const JoinedScripts& scripts) const;
    Lines ReadExpected() const;
    bool Update(const Lines& lines) const;
    std::string ExpectedPath() const { return m_path + "/expected.jsonl"; }

    const std::string m_path;
};

}  // namespace qxlt
