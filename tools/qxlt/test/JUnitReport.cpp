#include "JUnitReport.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>

#include "DifferenceText.h"
#include "Failure.h"
#include "Text.h"
#include "Xml.h"

namespace qxlt {

namespace {

std::string Escaped(const std::string& text) {
    return XmlEscaped(Printable(text));
}

void WriteFailure(std::ostream& out, const TestResult& result) {
    if (!result.failure.empty()) {
        out << "<error message=\"" << Escaped(result.failure) << "\"/>";
        return;
    }
    out << "<failure message=\"" << Escaped(result.explanation) << "\">";
    const Colors plain(-1);
    const std::vector<std::string> lines =
        DifferenceLines(result.differences, result.differences.size(), result.start, plain, 0);
    for (const std::string& line : lines) out << Escaped(line) << "\n";
    out << "</failure>";
}

void WriteCase(std::ostream& out, const TestResult& result) {
    out << "  <testcase classname=\"qxlt\" name=\"" << Escaped(result.folder) << "\" time=\"" << result.seconds
        << "\">";
    if (!result.Passed()) WriteFailure(out, result);
    out << "</testcase>\n";
}

}  // namespace

void WriteJUnit(const std::string& file, const std::vector<TestResult>& results) {
    const auto errors =
        std::count_if(results.begin(), results.end(), [](const TestResult& result) { return !result.failure.empty(); });
    const auto failed = std::count_if(results.begin(), results.end(),
                                      [](const TestResult& result) { return !result.differences.empty(); });
    std::ofstream out(file, std::ios::trunc);
    out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuite name=\"qxlt\" tests=\"" << results.size()
        << "\" failures=\"" << failed << "\" errors=\"" << errors << "\">\n";
    for (const TestResult& result : results) WriteCase(out, result);
    out << "</testsuite>\n";
    out.close();
    if (!out) throw Failure(kCannotStart, file + ": " + std::strerror(errno) + "; name a file that can be written");
}

}  // namespace qxlt
