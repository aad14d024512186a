// Records, calls and events as JSON lines, against lines that are kept: programs read them, so that not a byte of them
// may change. Names and values are those that a hostile program might have.
#include <gmock/gmock.h>

#include <fstream>

#include "DecodeLines.h"
#include "EventView.h"
#include "Explainer.h"
#include "Format.h"
#include "QxFormat.h"

namespace {

using namespace qxlt;

// What needs an escape in JSON, and what seems to.
const std::string kEscaped = std::string("\"\\/\b\f\n\r\t\x01\x1F\x7F") + std::string(1, '\0') + "<'&>";
// The first and the last character of each length in UTF-8, and those that are no line's end in JSON.
const std::string kWide =
    "\xC2\x80\xDF\xBF\xE0\xA0\x80\xE2\x80\xA8\xE2\x80\xA9\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF";
// Cut, overlong, surrogate, too large, a continuation alone, and a character behind each.
const char* const kDamaged[] = {"\xC3",         "\xE2\x82",     "\xF0\x9F\x98",     "\xC0\xAF",
                                "\xE0\x80\x80", "\xED\xA0\x80", "\xF5\x80\x80\x80", "\xF4\x90\x80\x80",
                                "\x80",         "\xC3(",        "a\xFF\"b\xFE\n"};

IQxData::HSCall LargeCall() {
    IQxData::HSCall call;
    call.pid = 65535;
    call.tid = 65535;
    call.locId = 4294967295u;
    call.time = 18446744073709551615u;
    call.exitTime = 18446744073709551614u;
    std::string all;
    for (int i = 0; i < 256; ++i) all += static_cast<char>(i);
    call.args.in = {
        {{"", ""}}, {{"", all}}, {}, {{kEscaped, "\x01"}, {kWide, "\x02"}, {kDamaged[0], std::string(1, '\0')}}};
    call.args.out = {{}, {}};
    call.args.ret = {{}};
    return call;
}

IQxData::_HSCallLocation Location(const std::string& text) {
    IQxData::_HSCallLocation location;
    location.locId = 9;
    location.srcCodeAux = 4294967295u;
    location.srcCodeFileRaw = text;
    location.args.argType = {text, "int", "more"};
    location.args.argFlags = {3, 4294967295u};
    location.args.argSize = {qxformat::kComposite, 0, 5};
    location.args.retType = text;
    location.args.retSize = qxformat::kVariableLength;
    location.callerName = text;
    location.packageName = text;
    return location;
}

std::vector<std::string> Texts() {
    std::vector<std::string> texts = {"", "plain", kEscaped, kWide};
    texts.insert(texts.end(), std::begin(kDamaged), std::end(kDamaged));
    return texts;
}

// An event of that name, and what became of it.
std::string PrintedEvent(const std::string& text, const EventView& view) {
    IQxData::_HSScriptPtr root;
    auto* const action = new IQxData::_HSScriptPtr;
    auto* const event = new IQxData::_HSScriptPtr;
    root.children = {action};
    action->name = "action";
    action->attributes = {{"name", text}};
    action->parent = &root;
    action->children = {event};
    event->name = "event";
    event->attributes = {{"name", text}, {"condition", text}, {"conditionValue", text}};
    event->parent = action;
    ScriptPlaces places;
    places.Add(*event, {text, 4294967295u});
    testing::internal::CaptureStdout();
    Output output;
    EventPrinter(Format::Json, output, 0).Print(view);
    Explainer explainer(Format::Json, output, root, places, text);
    explainer.SetCycle(18446744073709551615u);
    explainer.OnEvent(*event, 5, view.call.call, QxOutcome::NotRising, text);
    explainer.Print();
    return testing::internal::GetCapturedStdout();
}

std::string LinesOf(const std::string& text) {
    const IQxData::HSIThread thread{7, 8, text};
    const IQxData::_HSCompArgDesc layout{1, {text, "y"}, {4, 4294967295u}, {text}};
    IQxData::HSCall call;
    call.args.in = {{{text, "\x01" + text}}};
    const IQxData::_HSCallLocation location = Location(text);
    const EventView event{18446744073709551615u, text, text, {call, location, text, std::nullopt}};
    return HeaderLine(Format::Json, {65535, text, text, text, text, text, text}) + "\n" +
           ThreadLine(Format::Json, thread) + "\n" + LocationLine(Format::Json, 7, location) + "\n" +
           DescriptorLine(Format::Json, text, layout) + "\n" +
           CallLine(Format::Json, {call, location, text, 18446744073709551615u, 4294967295u}) + "\n" +
           EndLine(Format::Json, {text, 4294967295u, 0, true, false}) + "\n" + PrintedEvent(text, event);
}

TEST(JsonLines, AreTheLinesThatAreKept) {
    std::string lines;
    for (const std::string& text : Texts()) lines += LinesOf(text);
    const IQxData::HSCall call = LargeCall();
    lines += CallLine(Format::Json, {call, Location("plain"), "p", 0, std::nullopt}) + "\n";
    std::ifstream file(QXLT_SOURCE_DIR "/tests/unit/qxlt/decode/JsonLines.jsonl", std::ios::binary);
    const std::string kept{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    EXPECT_EQ(lines, kept);
}

}  // namespace
