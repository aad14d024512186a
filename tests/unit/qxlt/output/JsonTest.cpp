// Texts in JSON, and JSON in texts.
#include "Json.h"

#include <gmock/gmock.h>

#include "Failure.h"

namespace {

using namespace qxlt;

TEST(Json, AddsTheBytesOfTextThatIsNotUtf8) {
    JsonObject object = JsonObject::object();
    AddText(object, "a", "ok\"\\\n");
    AddText(object, "b", "\xFF");
    AddTexts(object, "c", {"x", "y"});
    EXPECT_EQ(object.dump(), "{\"a\":\"ok\\\"\\\\\\n\",\"b\":\"\xEF\xBF\xBD\",\"bHex\":\"ff\",\"c\":[\"x\",\"y\"]}");
}

TEST(Json, TakesTextToTheDeepestNesting) {
    EXPECT_EQ(ParseJson("a", std::string(64, '[') + "1" + std::string(64, ']')).size(), 1u);
    EXPECT_THROW(ParseJson("a", std::string(65, '[') + "1" + std::string(65, ']')), Failure);
}

}  // namespace
