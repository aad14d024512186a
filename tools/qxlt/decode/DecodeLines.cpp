#include "DecodeLines.h"

#include <algorithm>
#include <utility>

#include "CallValues.h"
#include "JsonLine.h"
#include "QxFormat.h"
#include "Text.h"
#include "TimeFormat.h"

namespace qxlt {

namespace {

constexpr std::size_t kKindWidth = 11;  // the longest kind and a blank

std::string Kind(const char* kind) {
    return Pad(kind, kKindWidth);
}

// The lists are filled side by side; nothing but that keeps them equally long.
std::size_t ArgumentCount(const IQxData::_HSCallLocation::Args& args) {
    return std::min({args.argType.size(), args.argFlags.size(), args.argSize.size()});
}

void AddArguments(JsonLine& line, const IQxData::_HSCallLocation::Args& args) {
    line.BeginList("args");
    for (std::size_t i = 0; i < ArgumentCount(args); ++i) {
        line.BeginObject();
        line.AddText("type", args.argType[i]);
        line.Add("flags", args.argFlags[i]);
        line.Add("size", args.argSize[i]);
        line.EndObject();
    }
    line.EndList();
}

std::string SizeText(unsigned int size) {
    if (size == qxformat::kComposite) return "composite";
    return size == qxformat::kVariableLength ? "counted" : std::to_string(size);
}

std::string ArgumentText(const IQxData::_HSCallLocation::Args& args, std::size_t i) {
    static const char* const moments[] = {" unrecorded", " in", " out", " in+out"};
    return Printable(args.argType[i]) + moments[args.argFlags[i] & 3u] + ":" + SizeText(args.argSize[i]);
}

std::string SignatureText(const IQxData::_HSCallLocation& location) {
    std::string text = Printable(location.packageName) + "." + Printable(location.callerName) + "(";
    for (std::size_t i = 0; i < ArgumentCount(location.args); ++i) {
        text += (i == 0 ? "" : ", ") + ArgumentText(location.args, i);
    }
    return text + ") -> " + Printable(location.args.retType) + ":" + SizeText(location.args.retSize);
}

// A member without a name or a type has no entry in its list, so that the lists need not match.
std::string MemberText(const IQxData::_HSCompArgDesc& descriptor, std::size_t i) {
    std::string text = i < descriptor.memberTypes.size() ? Printable(descriptor.memberTypes[i]) : "?";
    if (i < descriptor.memberNames.size()) text += " " + Printable(descriptor.memberNames[i]);
    return text + (i < descriptor.memberSizes.size() ? ":" + SizeText(descriptor.memberSizes[i]) : "");
}

std::string HeaderJson(const HeaderRecord& header) {
    JsonLine line("header");
    line.Add("pid", header.pid);
    line.AddText("process", header.process);
    line.AddText("qxVersion", header.qxVersion);
    line.AddText("swBuildString", header.swBuildString);
    line.AddText("swVersionModel", header.swVersionModel);
    line.AddText("extraField1", header.extraField1);
    line.AddText("extraField2", header.extraField2);
    return std::move(line).Finish();
}

std::string ThreadJson(const IQxData::HSIThread& thread) {
    JsonLine line("thread");
    line.Add("pid", thread.pid);
    line.Add("tid", thread.tid);
    line.AddText("name", thread.name);
    return std::move(line).Finish();
}

std::string LocationJson(unsigned short pid, const IQxData::_HSCallLocation& location) {
    JsonLine line("location");
    AddLocation(line, pid, location);
    return std::move(line).Finish();
}

std::string DescriptorJson(const std::string& name, const IQxData::_HSCompArgDesc& descriptor) {
    JsonLine line("descriptor");
    line.AddText("name", name);
    line.Add("isContainer", descriptor.isContainer);
    line.AddTexts("memberNames", descriptor.memberNames);
    line.AddNumbers("memberSizes", descriptor.memberSizes);
    line.AddTexts("memberTypes", descriptor.memberTypes);
    return std::move(line).Finish();
}

std::string CallJson(const CallView& view) {
    JsonLine line("call");
    AddCall(line, view);
    return std::move(line).Finish();
}

std::string EndJson(const EndRecord& end) {
    JsonLine line("end");
    line.AddText("dump", end.dump);
    line.Add("bytes", end.bytes);
    line.Add("calls", end.calls);
    line.Add("parse", end.parsed ? 1 : 0);
    line.Add("extract", end.extracted ? 1 : 0);
    return std::move(line).Finish();
}

}  // namespace

std::string HeaderLine(Format format, const HeaderRecord& header) {
    if (format == Format::Json) return HeaderJson(header);
    return Kind("header") + ProcessText(header.process, header.pid) + " version " + Printable(header.qxVersion) +
           ", build " + Printable(header.swBuildString) + ", model " + Printable(header.swVersionModel) + ", extra " +
           Printable(header.extraField1) + " " + Printable(header.extraField2);
}

std::string ThreadLine(Format format, const IQxData::HSIThread& thread) {
    if (format == Format::Json) return ThreadJson(thread);
    return Kind("thread") + "pid " + std::to_string(thread.pid) + ", tid " + std::to_string(thread.tid) + ", " +
           Printable(thread.name);
}

void AddLocation(JsonLine& line, unsigned short pid, const IQxData::_HSCallLocation& location) {
    line.Add("pid", pid);
    line.Add("locId", location.locId);
    line.Add("srcCodeAux", location.srcCodeAux);
    line.AddText("srcCodeFileRaw", location.srcCodeFileRaw);
    AddArguments(line, location.args);
    line.AddText("retType", location.args.retType);
    line.Add("retSize", location.args.retSize);
    line.AddText("callerName", location.callerName);
    line.AddText("packageName", location.packageName);
}

std::string LocationLine(Format format, unsigned short pid, const IQxData::_HSCallLocation& location) {
    if (format == Format::Json) return LocationJson(pid, location);
    return Kind("location") + "pid " + std::to_string(pid) + ", " + std::to_string(location.locId) + ": " +
           SignatureText(location) + " in " + Printable(location.srcCodeFileRaw);
}

std::string DescriptorLine(Format format, const std::string& name, const IQxData::_HSCompArgDesc& descriptor) {
    if (format == Format::Json) return DescriptorJson(name, descriptor);
    std::string members;
    const std::size_t count = std::max(descriptor.memberSizes.size(), descriptor.memberTypes.size());
    for (std::size_t i = 0; i < count; ++i) members += (i == 0 ? "" : ", ") + MemberText(descriptor, i);
    return Kind("descriptor") + Printable(name) + (descriptor.isContainer != 0 ? " [" : " {") + members +
           (descriptor.isContainer != 0 ? "]" : "}");
}

std::string CallLine(Format format, const CallView& view) {
    if (format == Format::Json) return CallJson(view);
    const std::optional<std::uint64_t> duration = DurationOf(view.call);
    return Kind("call") + MakerText(view) + " " + CallText(view) + " at " + std::to_string(view.call.time) +
           (duration ? ", took " + SpanText(*duration) : "") + ", tid " + std::to_string(view.call.tid) +
           (view.thread.empty() ? "" : " " + Printable(std::string(view.thread)));
}

std::string EndLine(Format format, const EndRecord& end) {
    if (format == Format::Json) return EndJson(end);
    return Kind("end") + Printable(end.dump) + ": " + Counted(end.bytes, "byte") + ", " + Counted(end.calls, "call") +
           (end.parsed && end.extracted ? "" : ", damaged");
}

}  // namespace qxlt
