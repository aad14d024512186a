// A folder that tests scenarios: the scripts (*.xml), what they are run over (a capture.json with its cycles, in the
// folder itself or in one below it, or else dumps *.qxdump in the order of their names), and the events that are
// expected, expected.jsonl.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Comparison.h"
#include "Output.h"
#include "Replayer.h"
#include "RunLines.h"

namespace qxlt {

struct TestResult {
    std::string folder;
    std::string failure;                  // why it could not be tested; empty: it was
    std::vector<Difference> differences;  // from what is expected
    std::string explanation;              // of the first of them
    std::optional<std::uint64_t> start;   // when the run began, on the clock of its calls
    bool updated = false;                 // the expectation was written anew
    double seconds = 0;

    bool Passed() const { return failure.empty() && differences.empty(); }
};

// What is done with expected.jsonl before the comparison.
enum class Updating {
    No,
    Lean,   // it is made to hold, without what differs from run to run
    Exact,  // it is written anew, with all keys
};

class TestFolder final {
public:
    explicit TestFolder(std::string path) : m_path(std::move(path)) {}

    // The folders that the arguments stand for: each itself when it holds scripts, else those of its folders that do,
    // in the order of their names. Throws a Failure (cannot start) when there are none.
    static std::vector<std::string> Find(const std::vector<std::string>& arguments);

    // Tests the folder, after its expectation was updated if that is asked for. Nothing of an earlier test is
    // remembered. Throws nothing that the folder's content can cause.
    TestResult Run(Updating updating, Output& output, Progress& progress) const;

private:
    void Compare(Updating updating, Output& output, Progress& progress, TestResult& result) const;
    ReplayInput Input(const JoinedScripts& scripts) const;

    const std::string m_path;
};

}  // namespace qxlt
