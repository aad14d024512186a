#include "PageVisit.h"

#include <gmock/gmock.h>

#include <filesystem>

#include "Child.h"

using nlohmann::json;

namespace {

constexpr char kNode[] = "/usr/bin/node";
constexpr char kBrowser[] = "/usr/bin/chromium";
const std::string kViewers = QXLT_SOURCE_DIR "/tests/viewers/";

}  // namespace

bool ToolHasPage() {
    return RunTool({"view", "/nowhere", "-o", "/dev/null"}).error.find("QX_BUILD_VIEW") == std::string::npos;
}

std::string PagesMissing() {
    for (const std::string& needed :
         {std::string(kNode), std::string(kBrowser), kViewers + "node_modules/playwright-core"}) {
        if (!std::filesystem::exists(needed)) return needed + " is not installed: scripts/install-deps does that";
    }
    return ToolHasPage() ? "" : "the tool was built without the page";
}

std::vector<json> Visit(const std::string& page, const std::vector<std::string>& steps) {
    Child::Setup setup;
    setup.command = {kNode, kViewers + "page.mjs", page};
    setup.command.insert(setup.command.end(), steps.begin(), steps.end());
    Child child(setup);
    EXPECT_EQ(child.Finish(), 0) << child.Error();
    std::vector<json> found;
    for (const std::string& line : Lines(child.Output())) found.push_back(json::parse(line).begin().value());
    if (found.size() != steps.size() + 1) {
        ADD_FAILURE() << child.Output();
        return std::vector<json>(steps.size());
    }
    EXPECT_EQ(found.back(), json::array());
    found.pop_back();
    return found;
}
