#include "RecordingChoice.h"

#include <algorithm>
#include <filesystem>

#include "CommandName.h"
#include "Failure.h"
#include "TimeAgo.h"

namespace qxlt {

namespace {

// Those that the text names.
std::vector<RecordingFile> Named(const std::vector<RecordingFile>& all, const std::string& text) {
    std::vector<RecordingFile> named;
    std::copy_if(all.begin(), all.end(), std::back_inserter(named),
                 [&text](const RecordingFile& file) { return RecordingText(file) == text; });
    // A program that ran itself anew has two; the newest one comes last.
    if (!named.empty()) return {named.back()};
    std::copy_if(all.begin(), all.end(), std::back_inserter(named), [&text](const RecordingFile& file) {
        return IsRecordedAs(file.process, text) || std::filesystem::path(file.path).filename() == text;
    });
    return named;
}

std::string ListText(const std::vector<RecordingFile>& files) {
    std::string text;
    for (const RecordingFile& file : files) text += (text.empty() ? "" : ", ") + RecordingText(file);
    return text;
}

}  // namespace

bool IsRecordedAs(const std::string& recorded, const std::string& name) {
    return !recorded.empty() && (recorded == name || recorded == CommandName(name));
}

bool RecordedBefore(const RecordingFile& left, const RecordingFile& right) {
    return left.idleNs.value_or(UINT64_MAX) > right.idleNs.value_or(UINT64_MAX);
}

std::string RecordingText(const RecordingFile& file) {
    return file.process + "[" + std::to_string(file.pid) + "]";
}

std::string LastRecordedText(const RecordingFile& file) {
    const std::string state = file.isRunning ? "runs" : "ended";
    if (!file.problem.empty()) return state + "; cannot be read: " + file.problem;
    return state + (file.idleNs ? "; recorded last " + AgoText(*file.idleNs) : "");
}

std::string ChooseRecording(const std::string& text) {
    const std::string option = "--recording " + text + ": ";
    if (text.find('/') != std::string::npos) return text;
    const std::vector<RecordingFile> named = Named(RecordingFiles(), text);
    if (named.size() == 1) return named.front().path;
    if (!named.empty()) throw Failure(kCannotStart, option + "there are " + ListText(named) + "; name one of them");
    std::error_code ignored;
    if (std::filesystem::exists(text, ignored)) return text;
    throw Failure(kCannotStart, option + "there is none; qxlt list --recordings shows what there is");
}

}  // namespace qxlt
