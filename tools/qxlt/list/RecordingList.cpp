#include "RecordingList.h"

#include <pwd.h>

#include <algorithm>
#include <utility>

#include "JsonLine.h"
#include "RecordingChoice.h"
#include "Text.h"
#include "TimeAgo.h"

namespace qxlt {

namespace {

std::string UserText(unsigned uid) {
    struct passwd entry {};
    struct passwd* found = nullptr;
    std::vector<char> buffer(16384);
    const bool isKnown = getpwuid_r(uid, &entry, buffer.data(), buffer.size(), &found) == 0 && found != nullptr;
    return isKnown ? found->pw_name : std::to_string(uid);
}

struct Row {
    std::string process;
    std::string user;
    std::string size;
    std::string state;
};

void PrintRows(Output& output, const std::vector<Row>& rows) {
    std::size_t processWidth = 0;
    std::size_t userWidth = 0;
    std::size_t sizeWidth = 0;
    for (const Row& row : rows) {
        processWidth = std::max(processWidth, row.process.size());
        userWidth = std::max(userWidth, row.user.size());
        sizeWidth = std::max(sizeWidth, row.size.size());
    }
    for (const Row& row : rows) {
        output.Line(Pad(row.process, processWidth) + "  " + Pad(row.user, userWidth) + "  " +
                    RightAligned(row.size, sizeWidth) + "  " + row.state);
    }
}

}  // namespace

void PrintRecordings(Format format, Output& output, const std::vector<RecordingFile>& files) {
    std::vector<Row> rows;
    for (const RecordingFile& file : files) {
        if (format == Format::Json) {
            output.Line(RecordingJson("recording", file));
        } else {
            rows.push_back({Printable(RecordingText(file)), Printable(UserText(file.uid)), BytesText(file.bytes),
                            Printable(LastRecordedText(file))});
        }
    }
    PrintRows(output, rows);
}

std::string RecordingJson(const char* record, const RecordingFile& file) {
    constexpr std::uint64_t kMillisecondNs = 1000000;
    JsonLine line(record);
    line.AddText("process", file.process);
    line.Add("process_id", file.pid);
    line.AddText("user", UserText(file.uid));
    line.Add("bytes", file.bytes);
    line.AddText("state", file.isRunning ? "running" : "ended");
    if (file.idleNs)
        line.Add("idleMs", *file.idleNs / kMillisecondNs);
    else
        line.AddNull("idleMs");
    line.AddText("file", file.path);
    if (!file.problem.empty()) line.AddText("problem", file.problem);
    return std::move(line).Finish();
}

}  // namespace qxlt
