#include "DumpStarts.h"

#include <cstdint>
#include <filesystem>
#include <system_error>

#include "CaptureLayout.h"
#include "CaptureReader.h"
#include "Failure.h"
#include "Platform.h"
#include "RecordingFiles.h"

namespace qxlt {

namespace {

namespace fs = std::filesystem;

RunStart ReadStart(const fs::path& directory) {
    std::error_code ignored;
    if (!fs::exists(directory / kCaptureFile, ignored)) return {};
    try {
        return CaptureReader(directory.string()).Start();
    } catch (const Failure&) {
        return {};
    }
}

// To the millisecond, in which the clocks' own differences get lost: who looks twice sees the same.
ClockOffset SteadyOffset() {
    constexpr std::int64_t kMillisecond = 1000000;
    const ClockOffset offset = WallClockOffset();
    return offset ? ClockOffset(*offset / kMillisecond * kMillisecond) : std::nullopt;
}

}  // namespace

// A dump lies in the folder of its cycle.
RunStart DumpStarts::Of(const std::string& file) {
    if (IsRecording(file)) return {std::nullopt, std::nullopt, SteadyOffset()};
    const fs::path directory = fs::absolute(file).parent_path().parent_path();
    if (directory != m_directory) {
        m_directory = directory.string();
        m_start = ReadStart(directory);
    }
    return m_start;
}

}  // namespace qxlt
