// Which lines of a file are expected of a run.
#include "Expectation.h"

#include <gmock/gmock.h>

#include "Workplace.h"

namespace {

using namespace qxlt;
using testing::SizeIs;

TEST(Expectation, PassesOverWhatALiveRunTellsOfItsRules) {
    const Workplace place;
    const std::string event = R"({"cycle":2,"event":"E","value":"1"})";
    const std::string path =
        place.Write("expected.jsonl", R"({"cycle":1,"rules":"1f2e3d4c5b6a7988","scripts":1,"events":1,"forgotten":[]})"
                                      "\n" +
                                          event + "\n" +
                                          R"({"cycle":3,"event":"\"rules\":","value":"2","rules":"r","forgotten":"f"})"
                                          "\n");
    EXPECT_THAT(Expectation(path).Read(), SizeIs(2));
}

}  // namespace
