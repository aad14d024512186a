#include "QxCatalog.h"

#include "QxDumpFormat.h"

namespace qxhost {

void QxCatalog::Take(const QxMetadata& metadata, View& view) {
    for (; view.descriptors < metadata.Descriptors().size(); ++view.descriptors) {
        const QxDescriptor& descriptor = metadata.Descriptors()[view.descriptors];
        view.typeNames[&descriptor] = AddDescriptor(descriptor, view);
    }
    while (view.numbers.size() < metadata.Locations().size()) {
        view.numbers.push_back(AddLocation(metadata.Locations()[view.numbers.size()], view));
    }
}

std::string QxCatalog::TypeName(const QxType& type, const View& view) const {
    return type.descriptor != nullptr ? view.typeNames.at(type.descriptor) : type.name;
}

// A layout that has the name of another one but not its content goes by a name of its own: readers know layouts by
// name.
std::string QxCatalog::AddDescriptor(const QxDescriptor& descriptor, const View& view) {
    for (unsigned attempt = 1;; ++attempt) {
        std::string name = attempt == 1 ? descriptor.name : descriptor.name + "#" + std::to_string(attempt);
        const std::string item = EncodeDescriptor(descriptor, name, view);
        const auto [place, isNew] = m_types.emplace(name, item);
        if (isNew) AppendItem(m_descriptorItems, dumpformat::kCompArgItem, item);
        if (place->second == item) return name;
    }
}

std::uint32_t QxCatalog::AddLocation(const QxLocation& location, const View& view) {
    const auto [place, isNew] = m_numbers.emplace(EncodeLocation(location, 0, view), 0);
    if (!isNew) return place->second;
    if (m_numbers.size() > qxlayout::kMaxLocations) {
        m_numbers.erase(place);
        return 0;
    }
    place->second = static_cast<std::uint32_t>(m_numbers.size());
    AppendItem(m_locationItems, dumpformat::kLocationItem, EncodeLocation(location, place->second, view));
    return place->second;
}

std::string QxCatalog::EncodeDescriptor(const QxDescriptor& descriptor, const std::string& name,
                                        const View& view) const {
    std::string out;
    AppendVarint(out, descriptor.members.size());
    for (const QxMember& member : descriptor.members) AppendVarint(out, member.type.size);
    for (const QxMember& member : descriptor.members) AppendShiftedText(out, TypeName(member.type, view));
    for (const QxMember& member : descriptor.members) AppendShiftedText(out, member.name);
    AppendShiftedText(out, name);
    out += descriptor.isContainer ? '\1' : '\0';
    return out;
}

std::string QxCatalog::EncodeLocation(const QxLocation& location, std::uint32_t number, const View& view) const {
    std::string out;
    AppendVarint(out, location.line);
    AppendText(out, location.file);
    AppendVarint(out, number);
    AppendVarint(out, location.arguments.size());
    for (const QxArgument& argument : location.arguments) out += static_cast<char>(argument.flags);
    for (const QxArgument& argument : location.arguments) AppendVarint(out, argument.type.size);
    for (const QxArgument& argument : location.arguments) AppendText(out, TypeName(argument.type, view));
    AppendText(out, TypeName(location.result, view));
    AppendVarint(out, location.result.size);
    AppendText(out, location.method);
    AppendText(out, location.package);
    return out;
}

}  // namespace qxhost
