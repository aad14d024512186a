#include "RecordingLog.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdarg>
#include <cstdio>
#include <mutex>

#include "dlog.h"

namespace {

std::mutex mutex;
std::condition_variable written;
std::vector<RecordingLog::Line> lines;

constexpr char kLeadEnd[] = ") > ";
constexpr char kColorEnd[] = "\033[0m";

}  // namespace

extern "C" int __dlog_print(log_id_t, int priority, const char* tag, const char* format, ...) {
    char text[16384];
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    const std::lock_guard<std::mutex> lock(mutex);
    lines.push_back({priority, tag, text});
    written.notify_all();
    return length;
}

std::string RecordingLog::Line::Message() const {
    const std::size_t lead = text.find(kLeadEnd);
    std::string message = lead == std::string::npos ? text : text.substr(lead + sizeof kLeadEnd - 1);
    const std::size_t color = sizeof kColorEnd - 1;
    if (message.size() >= color && message.compare(message.size() - color, color, kColorEnd) == 0) {
        message.resize(message.size() - color);
    }
    return message;
}

std::string RecordingLog::Line::Function() const {
    const std::size_t start = text.find(": ");
    const std::size_t end = text.find('(', start);
    return start == std::string::npos || end == std::string::npos ? std::string()
                                                                  : text.substr(start + 2, end - start - 2);
}

void RecordingLog::Clear() {
    const std::lock_guard<std::mutex> lock(mutex);
    lines.clear();
}

std::vector<RecordingLog::Line> RecordingLog::Lines() {
    const std::lock_guard<std::mutex> lock(mutex);
    return lines;
}

std::vector<std::string> RecordingLog::Messages(int priority) {
    std::vector<std::string> messages;
    for (const Line& line : Lines()) {
        if (priority < 0 || line.priority == priority) messages.push_back(line.Message());
    }
    return messages;
}

int RecordingLog::Count(const std::string& message, int priority) {
    const std::vector<std::string> messages = Messages(priority);
    return static_cast<int>(std::count(messages.begin(), messages.end(), message));
}

bool RecordingLog::WaitFor(const std::string& part, int timeoutMs) {
    std::unique_lock<std::mutex> lock(mutex);
    return written.wait_for(lock, std::chrono::milliseconds(timeoutMs), [&] {
        return std::any_of(lines.begin(), lines.end(),
                           [&](const Line& line) { return line.text.find(part) != std::string::npos; });
    });
}
