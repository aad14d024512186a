// The options for scripts.
#include "ScriptOptions.h"

#include <gmock/gmock.h>

namespace {

using namespace qxlt;

TEST(ScriptOptions, GivesEachScriptItsOption) {
    using Arguments = std::vector<std::string>;
    EXPECT_EQ(ExpandScripts({"replay", "-s", "a.xml", "b.xml", "capture"}),
              (Arguments{"replay", "-s", "a.xml", "-s", "b.xml", "capture"}));
    EXPECT_EQ(ExpandScripts({"replay", "-s", "a", "-p", "x", "b.xml"}),
              (Arguments{"replay", "-s", "a", "-p", "x", "b.xml"}));
    EXPECT_EQ(ExpandScripts({"replay", "--script", "a.xml", "dump", "b.xml"}),
              (Arguments{"replay", "--script", "a.xml", "dump", "b.xml"}));
    EXPECT_EQ(ExpandScripts({"replay", "-s"}), (Arguments{"replay", "-s"}));
}

}  // namespace
