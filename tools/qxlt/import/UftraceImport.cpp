// What uftrace recorded, as its own dump command prints it.
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "ChildLines.h"
#include "Failure.h"
#include "Import.h"
#include "ImportSummary.h"
#include "ImportedCapture.h"
#include "Messages.h"
#include "ReadFile.h"
#include "Text.h"
#include "UftraceCalls.h"
#include "UftraceText.h"

namespace qxlt {

namespace {

constexpr std::size_t kMostTaskBytes = 16 << 20;

// What is printed is changed by the options in this file, which lies with the recording: it is somebody else's.
void RequireNoOptions(const std::string& directory) {
    const std::string file = directory + "/default.opts";
    if (ReadFileIfThere(file).find_first_not_of(" \n") == std::string::npos) return;
    throw Failure(kCannotStart, file + ": holds options of uftrace, which change what it prints; empty the file");
}

// Whatever else is missing, this is in every recording.
std::string ReadTasks(const std::string& directory) {
    const std::string file = directory + "/task.txt";
    if (!std::filesystem::is_regular_file(file)) {
        throw Failure(kCannotStart, directory + ": holds no task.txt; name a directory that uftrace record wrote");
    }
    return ReadFile(file, kMostTaskBytes);
}

}  // namespace

int ImportUftrace(const ImportOptions& options) {
    RequireNoOptions(options.directory);
    const std::string tasks = ReadTasks(options.directory);
    ImportedCapture capture(options.capture);
    UftraceCalls calls(tasks, options.capture, capture);
    const ChildEnd end =
        ReadChildLines({"uftrace", "dump", "-d", options.directory}, "install it (Debian's package is uftrace)",
                       UftraceText::kMostLine, [&calls](std::string_view line) { calls.Take(line); });
    calls.Finish();
    if (!end.isGood) {
        PrintError(options.directory + ": uftrace dump: " + Printable(end.error) + "; what it printed before is kept");
    }
    if (calls.Lost() > 0) PrintWarning(Counted(calls.Lost(), "record") + " lost by uftrace; give it a larger --buffer");
    return FinishImport(capture, options.capture, std::nullopt, end.isGood);
}

}  // namespace qxlt
