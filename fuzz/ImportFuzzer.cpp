// What uftrace prints of a recording, into a capture that is then replayed: the tasks, and after a byte 0 the lines.
// What an import has written is a capture like any other, of which nothing is damaged.
#include <algorithm>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "CaptureReader.h"
#include "FuzzFolder.h"
#include "FuzzInput.h"
#include "ImportedCapture.h"
#include "QxCycle.h"
#include "QxData.h"
#include "QxDumpFile.h"
#include "UftraceCalls.h"

namespace {

void Import(const std::string& text, const std::string& directory) {
    const std::size_t end = std::min(text.find('\0'), text.size());
    qxlt::ImportedCapture capture(directory);
    qxlt::UftraceCalls calls(text.substr(0, end), directory, capture);
    for (std::size_t begin = end + 1; begin < text.size();) {
        const std::size_t line = std::min(text.find('\n', begin), text.size());
        calls.Take(std::string_view(text).substr(begin, line - begin));
        begin = line + 1;
    }
    calls.Finish();
    capture.Finish(std::nullopt);
}

// Ends the process where a dump is damaged.
void RequireWhole(const std::string& directory) {
    qxlt::CaptureReader capture(directory);
    while (capture.Next()) {
        QxCycle cycle(nullptr, nullptr, std::make_shared<QxData>());
        for (const auto& [process, id] : capture.Processes().Pids()) {
            std::vector<char> dump = QxDumpFile::Read(capture.DumpOf(process));
            if (!cycle.Decode(process, dump).Whole()) std::abort();
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const FuzzFolder folder;
    folder.Clear();
    const std::string directory = folder.Path("capture").string();
    Import(FuzzInput(data, size).Text(size), directory);
    RequireWhole(directory);
    return 0;
}
