#include "RecordingList.h"

#include <pwd.h>

#include <algorithm>

#include "Json.h"
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
            output.Line(RecordingJson("recording", file).dump());
        } else {
            rows.push_back({Printable(RecordingText(file)), Printable(UserText(file.uid)), BytesText(file.bytes),
                            Printable(LastRecordedText(file))});
        }
    }
    PrintRows(output, rows);
}

JsonObject RecordingJson(const char* record, const RecordingFile& file) {
    constexpr std::uint64_t kMillisecondNs = 1000000;
    JsonObject line = {{"record", record}};
    AddText(line, "process", file.process);
    line["process_id"] = file.pid;
    AddText(line, "user", UserText(file.uid));
    line["bytes"] = file.bytes;
    line["state"] = file.isRunning ? "running" : "ended";
    line["idleMs"] = nullptr;
    if (file.idleNs) line["idleMs"] = *file.idleNs / kMillisecondNs;
    AddText(line, "file", file.path);
    if (!file.problem.empty()) AddText(line, "problem", file.problem);
    return line;
}

}  // namespace qxlt
