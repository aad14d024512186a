#include "DecodeLines.h"

#include <algorithm>

#include "Json.h"
#include "QxFormat.h"
#include "Text.h"

namespace qxlt {

namespace {

constexpr std::size_t kKindWidth = 11;  // the longest kind and a blank

JsonObject Record(const char* kind) {
    return {{"record", kind}};
}

std::string Kind(const char* kind) {
    return Pad(kind, kKindWidth);
}

// The lists are filled side by side; nothing but that keeps them equally long.
std::size_t ArgumentCount(const IQxData::_HSCallLocation::Args& args) {
    return std::min({args.argType.size(), args.argFlags.size(), args.argSize.size()});
}

JsonObject ArgumentsJson(const IQxData::_HSCallLocation::Args& args) {
    JsonObject list = JsonObject::array();
    for (std::size_t i = 0; i < ArgumentCount(args); ++i) {
        JsonObject argument = JsonObject::object();
        AddText(argument, "type", args.argType[i]);
        argument["flags"] = args.argFlags[i];
        argument["size"] = args.argSize[i];
        list.push_back(std::move(argument));
    }
    return list;
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

JsonObject HeaderJson(const HeaderRecord& header) {
    JsonObject record = Record("header");
    record["pid"] = header.pid;
    AddText(record, "process", header.process);
    AddText(record, "qxVersion", header.qxVersion);
    AddText(record, "swBuildString", header.swBuildString);
    AddText(record, "swVersionModel", header.swVersionModel);
    AddText(record, "extraField1", header.extraField1);
    AddText(record, "extraField2", header.extraField2);
    return record;
}

JsonObject EndJson(const EndRecord& end) {
    JsonObject record = Record("end");
    AddText(record, "dump", end.dump);
    record["bytes"] = end.bytes;
    record["calls"] = end.calls;
    record["parse"] = end.parsed ? 1 : 0;
    record["extract"] = end.extracted ? 1 : 0;
    return record;
}

}  // namespace

std::string HeaderLine(Format format, const HeaderRecord& header) {
    if (format == Format::Json) return HeaderJson(header).dump();
    return Kind("header") + ProcessText(header.process, header.pid) + " version " + Printable(header.qxVersion) +
           ", build " + Printable(header.swBuildString) + ", model " + Printable(header.swVersionModel) + ", extra " +
           Printable(header.extraField1) + " " + Printable(header.extraField2);
}

std::string ThreadLine(Format format, const IQxData::HSIThread& thread) {
    if (format == Format::Text) {
        return Kind("thread") + "pid " + std::to_string(thread.pid) + ", tid " + std::to_string(thread.tid) + ", " +
               Printable(thread.name);
    }
    JsonObject record = Record("thread");
    record["pid"] = thread.pid;
    record["tid"] = thread.tid;
    AddText(record, "name", thread.name);
    return record.dump();
}

JsonObject LocationJson(unsigned short pid, const IQxData::_HSCallLocation& location) {
    JsonObject record = Record("location");
    record["pid"] = pid;
    record["locId"] = location.locId;
    record["srcCodeAux"] = location.srcCodeAux;
    AddText(record, "srcCodeFileRaw", location.srcCodeFileRaw);
    record["args"] = ArgumentsJson(location.args);
    AddText(record, "retType", location.args.retType);
    record["retSize"] = location.args.retSize;
    AddText(record, "callerName", location.callerName);
    AddText(record, "packageName", location.packageName);
    return record;
}

std::string LocationLine(Format format, unsigned short pid, const IQxData::_HSCallLocation& location) {
    if (format == Format::Json) return LocationJson(pid, location).dump();
    return Kind("location") + "pid " + std::to_string(pid) + ", " + std::to_string(location.locId) + ": " +
           SignatureText(location) + " in " + Printable(location.srcCodeFileRaw);
}

std::string DescriptorLine(Format format, const std::string& name, const IQxData::_HSCompArgDesc& descriptor) {
    if (format == Format::Text) {
        std::string members;
        const std::size_t count = std::max(descriptor.memberSizes.size(), descriptor.memberTypes.size());
        for (std::size_t i = 0; i < count; ++i) members += (i == 0 ? "" : ", ") + MemberText(descriptor, i);
        return Kind("descriptor") + Printable(name) + (descriptor.isContainer != 0 ? " [" : " {") + members +
               (descriptor.isContainer != 0 ? "]" : "}");
    }
    JsonObject record = Record("descriptor");
    AddText(record, "name", name);
    record["isContainer"] = descriptor.isContainer;
    AddTexts(record, "memberNames", descriptor.memberNames);
    record["memberSizes"] = descriptor.memberSizes;
    AddTexts(record, "memberTypes", descriptor.memberTypes);
    return record.dump();
}

std::string CallLine(Format format, const CallView& view) {
    if (format == Format::Json) {
        JsonObject record = Record("call");
        AddCall(record, view);
        return record.dump();
    }
    const std::string exit = view.call.exitTime == 0 ? "" : ".." + std::to_string(view.call.exitTime);
    return Kind("call") + CallText(view) + exit + ", tid " + std::to_string(view.call.tid);
}

std::string EndLine(Format format, const EndRecord& end) {
    if (format == Format::Json) return EndJson(end).dump();
    return Kind("end") + Printable(end.dump) + ": " + Counted(end.bytes, "byte") + ", " + Counted(end.calls, "call") +
           (end.parsed && end.extracted ? "" : ", damaged");
}

}  // namespace qxlt
