// The file expected.jsonl: what is expected of a run, a line for each event.
#pragma once

#include <string>
#include <vector>

#include "ExpectedLine.h"
#include "RunLines.h"

namespace qxlt {

class Expectation final {
public:
    explicit Expectation(std::string path) : m_path(std::move(path)) {}

    // Throws a Failure (cannot start) when the file is missing, or a line is wrong.
    std::vector<ExpectedLine> Read() const;

    // Has the file expect what the run brought, as Comparison::Updated says. Lines that are no JSON objects are
    // dropped. Returns whether the file changed. Throws a Failure (cannot start) when a rule is wrong, which a person
    // wrote, or the file cannot be written.
    bool Update(const RunLines& run) const;

    // The same with all lines anew, and whole.
    bool UpdateExactly(const RunLines& run) const;

private:
    enum class Wrong { IsTold, IsDropped };

    bool Exists() const;
    std::vector<ExpectedLine> ReadLines(Wrong wrong) const;
    bool Write(const std::string& text) const;

    const std::string m_path;
};

}  // namespace qxlt
