#include "Json.h"

#include <utility>

#include "Failure.h"
#include "Messages.h"

namespace qxlt {

namespace {

constexpr int kDeepest = 64;  // nobody writes more, while the stack takes thousands

[[noreturn]] void Refuse(const std::string& place, const std::string& why) {
    throw Failure(kCannotStart, place + ": " + why + "; write it anew");
}

}  // namespace

JsonObject ParseJson(const std::string& place, const std::string& text) {
    const auto isFlat = [&](int depth, JsonObject::parse_event_t, const JsonObject&) {
        if (depth > kDeepest) Refuse(place, "nested more than " + std::to_string(kDeepest) + " deep");
        return true;
    };
    try {
        return JsonObject::parse(text, isFlat);
    } catch (const JsonObject::parse_error& error) {
        Refuse(Place(place, error.byte), "not JSON");
    } catch (const JsonObject::out_of_range&) {
        Refuse(place, "holds a number out of range");
    }
}

SharedJson Shared(JsonObject object) {
    return std::make_shared<const JsonObject>(std::move(object));
}

}  // namespace qxlt
