#include "QxDictionary.h"

#include <cstring>

#include "QxBytes.h"
#include "QxRecording.h"

namespace qxhost {

using namespace qxlayout;
namespace detail = qx::recorder::detail;

namespace {

std::string EncodeLocation(const detail::Site& site, const detail::Location& location, const char* package,
                           const char* method) {
    const char* slash = std::strrchr(site.file, '/');
    std::string out;
    AppendVarint(out, site.line);
    AppendText(out, slash != nullptr ? slash + 1 : site.file);
    AppendVarint(out, location.arguments.size());
    for (const detail::Argument& argument : location.arguments) {
        AppendVarint(out, argument.flags);
        AppendVarint(out, argument.type.size);
        AppendText(out, argument.type.name);
    }
    AppendVarint(out, location.result.size);
    AppendText(out, location.result.name);
    AppendText(out, method);
    AppendText(out, package);
    return out;
}

std::string EncodeDescriptor(const detail::Descriptor& descriptor) {
    std::string out;
    AppendText(out, descriptor.name);
    AppendVarint(out, descriptor.isContainer ? 1 : 0);
    AppendVarint(out, descriptor.members.size());
    for (const detail::Member& member : descriptor.members) {
        AppendVarint(out, member.type.size);
        AppendText(out, member.type.name);
        AppendText(out, member.name);
    }
    return out;
}

}  // namespace

std::uint32_t QxDictionary::NumberSite(const detail::Site& site, const char* package, const char* method,
                                       const Describe& describe) {
    detail::Location location;
    describe(location);
    for (const detail::Descriptor& descriptor : location.descriptors) {
        if (Number(kMetaDescriptor, EncodeDescriptor(descriptor), descriptor.members.size()) == 0) return 0;
    }
    return Number(kMetaLocation, EncodeLocation(site, location, package, method), location.arguments.size());
}

std::uint32_t QxDictionary::NumberName(const std::string& name) {
    return Number(kMetaName, name, 0);
}

void QxDictionary::Repeat() const {
    for (const auto& [kind, content] : m_records) m_sink(kind, content);
}

QxDictionary::Count& QxDictionary::CountOf(MetaKind kind) {
    if (kind == kMetaLocation) return m_locations;
    return kind == kMetaName ? m_names : m_descriptors;
}

std::uint32_t QxDictionary::Number(MetaKind kind, const std::string& content, std::size_t parts) {
    const Record record(kind, content);
    const auto found = m_numbers.find(record);
    if (found != m_numbers.end()) return found->second;
    Count& kept = CountOf(kind);
    if (kept.count >= kept.limit || parts > kMaxParts - m_parts) return 0;
    // What may run out of memory comes first.
    std::map<Record, std::uint32_t> added{{record, kept.count + 1}};
    m_records.push_back(record);
    if (!m_sink(kind, content)) {
        m_records.pop_back();
        return 0;
    }
    m_numbers.merge(added);
    m_size += QxRecording::MetadataSize(content);
    m_parts += parts;
    return ++kept.count;
}

}  // namespace qxhost
