// Capture directories: the description, folders of cycles and dumps under the names that belong there, and odd entries
// in their places. Each is replayed with a scenario, or listed; at times its first dump is decoded by itself.
#include <sys/stat.h>

#include <system_error>

#include "CommandList.h"
#include "FuzzFolder.h"
#include "FuzzInput.h"
#include "FuzzPlatform.h"
#include "FuzzTool.h"

namespace {

namespace fs = std::filesystem;

constexpr unsigned kJson = 1, kExplain = 2, kPrime = 4, kNoPrime = 8, kList = 16, kOwnScript = 32, kOwnDescription = 64,
                   kDecode = 128;

constexpr char kDescription[] = R"({"version":1,"processes":{"fuzzed":7,"b":8,"a/b":9}})";

std::vector<char> BytesOf(const std::string& text) {
    return {text.begin(), text.end()};
}

// A name of one part, so that all that is written stays inside the folder.
std::string AnyName(FuzzInput& input) {
    const std::string name = input.Text(input.Byte() % 32);
    return name.find_first_of(std::string("/\0", 2)) == std::string::npos && name != ".." ? name : "odd";
}

std::string EntryName(FuzzInput& input) {
    static const char* const kNames[] = {"fuzzed.qxdump", "b.qxdump", "a%2Fb.qxdump", "stranger.qxdump",
                                         "fuzzed.qxloss", "000001",   "capture.json"};
    constexpr unsigned kCount = sizeof kNames / sizeof *kNames;
    const unsigned kind = input.Byte() % (kCount + 1);
    return kind < kCount ? kNames[kind] : AnyName(input);
}

// The capture itself, or one of its first cycles; at times any other.
std::string FolderName(FuzzInput& input) {
    const unsigned kind = input.Byte() % 8;
    if (kind == 7) return "capture/" + AnyName(input);
    return kind == 0 ? "capture" : "capture/00000" + std::to_string(kind);
}

// What cannot be made, because something else has the name, is left out.
void AddEntry(const FuzzFolder& folder, FuzzInput& input) {
    static const char* const kTargets[] = {"nowhere", ".", "fuzzed.qxdump", "../000001", "/dev/null"};
    const std::string parent = FolderName(input);
    const std::string name = parent + "/" + EntryName(input);
    std::error_code ignored;
    fs::create_directories(folder.Path(parent), ignored);
    // Not to be written into: a pipe would wait for its reader.
    fs::remove(folder.Path(name), ignored);
    const unsigned kind = input.Byte() % 8;
    if (kind < 5) {
        folder.Write(name, input.SizedBlock());
    } else if (kind == 5) {
        fs::create_directory(folder.Path(name), ignored);
    } else if (kind == 6) {
        const unsigned target = input.Byte() % (sizeof kTargets / sizeof *kTargets);
        fs::create_symlink(kTargets[target], folder.Path(name), ignored);
    } else {
        mkfifo(folder.Path(name).c_str(), S_IRUSR | S_IWUSR);
    }
}

std::vector<std::string> ReplayOptions(unsigned options, const std::string& script) {
    std::vector<std::string> arguments = {"-s", script};
    if ((options & kExplain) != 0) arguments.emplace_back("--explain");
    if ((options & kPrime) != 0) {
        arguments.emplace_back("--prime");
    } else if ((options & kNoPrime) != 0) {
        arguments.emplace_back("--no-prime");
    }
    return arguments;
}

void Run(const FuzzFolder& folder, unsigned options, const std::string& script) {
    const bool lists = (options & kList) != 0;
    std::vector<std::string> arguments = lists ? std::vector<std::string>() : ReplayOptions(options, script);
    const std::vector<std::string> format = {"--format", (options & kJson) != 0 ? "json" : "text"};
    arguments.insert(arguments.end(), format.begin(), format.end());
    arguments.push_back(folder.Path("capture").string());
    RunFuzzedCommand(lists ? qxlt::AddList : qxlt::AddReplay, arguments);

    // Of a pipe by itself the bytes are waited for.
    const std::string dump = folder.Path("capture/000001/fuzzed.qxdump").string();
    std::error_code ignored;
    if ((options & kDecode) == 0 || !fs::is_regular_file(dump, ignored)) return;
    RunFuzzedCommand(qxlt::AddDecode, {format[0], format[1], "-p", "fuzzed=7", dump});
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const FuzzFolder folder;
    folder.Clear();
    fs::create_directory(folder.Path("capture"));
    FuzzInput input(data, size);
    const unsigned options = input.Byte();
    const std::string script =
        folder.Write("script.xml", (options & kOwnScript) != 0 ? input.SizedBlock() : BytesOf(kFuzzScenario));
    folder.Write("capture/capture.json", (options & kOwnDescription) != 0 ? input.SizedBlock() : BytesOf(kDescription));
    while (!input.Empty()) AddEntry(folder, input);
    Run(folder, options, script);
    return 0;
}
