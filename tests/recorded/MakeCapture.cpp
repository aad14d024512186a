// Records calls with values of all widths, none of them aligned, and writes them as a capture of two cycles:
// qx_make_capture FOLDER. What two architectures wrote is kept beside this file, and is decoded on both.
#include <qx/api.h>
#include <qx/recorder.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <limits>
#include <string>
#include <vector>

namespace {

constexpr char kProcess[] = "recorded";

struct Point {
    std::int8_t x = 0;
    std::int64_t y = 0;
};

struct Sample {
    std::string title;
    Point place;
    std::vector<std::uint16_t> weights;
    bool isOn = false;
};

}  // namespace

QX_TRACE_STRUCT(Point, x, y)
QX_TRACE_STRUCT(Sample, title, place, weights, isOn)

namespace {

// The text in front puts what follows at another address each time.
std::int64_t Move(const std::string& text, std::int64_t wide, long asWideAsTheMachine, std::int16_t narrow) {
    QX_CALL_RETURNS(call, std::int64_t, "robot", "Move", qx::In(text), qx::In(wide), qx::In(asWideAsTheMachine),
                    qx::In(narrow));
    return call.Return(wide - 1);
}

std::string Weigh(const std::vector<Sample>& samples, Point& heaviest) {
    QX_CALL_RETURNS(call, std::string, "scales", "Weigh", qx::In(samples), qx::InOut(heaviest));
    heaviest.y = std::numeric_limits<std::int64_t>::min();
    return call.Return(samples.front().title + " and " + std::to_string(samples.size() - 1) + " more");
}

void SetVolume(int volume) {
    QX_CALL(call, "audio", "SetVolume", qx::In(volume));
    QX_LOG("audio", "Volume", volume, "by hand");
}

void Run(int round) {
    for (int size = 0; size < 9; ++size) {
        Move(std::string(static_cast<std::size_t>(size), 'm'), std::int64_t{0x0102030405060708} * (size - 4),
             size % 2 == 0 ? -1000000007L : 1000000007L, static_cast<std::int16_t>(-size));
        SetVolume(round * 50 + size);
    }
    Point heaviest{-128, std::numeric_limits<std::int64_t>::max()};
    Weigh({{"a", {1, -1}, {1, 2, 65535}, true}, {"", {-1, 1}, {}, false}, {"long title", {0, 0}, {7}, true}}, heaviest);
}

bool WriteCycle(const std::filesystem::path& folder, bool isFirst) {
    std::vector<char> path;
    if (!qx::api::GetControl()->getQxBufferDump(path, kProcess, isFirst)) return false;
    std::filesystem::create_directories(folder);
    const auto kept = folder / (std::string(kProcess) + ".qxdump");
    std::filesystem::copy_file(std::string(path.begin(), path.end()), kept,
                               std::filesystem::copy_options::overwrite_existing);
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) return std::fputs("usage: qx_make_capture FOLDER\n", stderr), 2;
    prctl(PR_SET_NAME, kProcess);
    qx::recorder::SetThreadName("sampler");
    const std::filesystem::path folder = argv[1];
    for (int round = 1; round <= 2; ++round) {
        Run(round);
        if (!WriteCycle(folder / ("00000" + std::to_string(round)), round == 1)) {
            return std::fputs("qx_make_capture: what was recorded cannot be read\n", stderr), 1;
        }
    }
    std::ofstream(folder / "capture.json")
        << R"({"version":1,"processes":{")" << kProcess << "\":" << getpid() << "}}\n";
    return 0;
}
