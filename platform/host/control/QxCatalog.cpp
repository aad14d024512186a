#include "QxCatalog.h"

#include <algorithm>
#include <utility>

#include "QxDumpFormat.h"

namespace qxhost {

namespace {

// A reader unpacks no more than 64 MiB of a dump. A program that describes itself takes far less; many versions of one
// that are run one after the other add up.
constexpr std::size_t kMaxItemsSize = 32 << 20;

bool IsList(const QxType& type) {
    return type.descriptor != nullptr && type.descriptor->isContainer;
}

}  // namespace

void QxCatalog::Take(const QxMetadata& metadata, View& view) {
    for (; view.descriptors < metadata.Descriptors().size(); ++view.descriptors) {
        AddDescriptor(metadata.Descriptors()[view.descriptors], view);
    }
    while (view.numbers.size() < metadata.Locations().size()) {
        view.numbers.push_back(AddLocation(metadata.Locations()[view.numbers.size()], view));
    }
}

bool QxCatalog::HasPlace(std::size_t itemSize) const {
    return m_descriptorItems.size() + m_locationItems.size() + itemSize <= kMaxItemsSize;
}

bool QxCatalog::IsNamed(const QxType& type, const View& view) {
    return type.descriptor == nullptr || view.typeNames.count(type.descriptor) != 0;
}

std::string QxCatalog::TypeName(const QxType& type, const View& view) {
    return type.descriptor != nullptr ? view.typeNames.at(type.descriptor) : type.name;
}

void QxCatalog::AddDescriptor(const QxDescriptor& descriptor, View& view) {
    const bool areNamed = std::all_of(descriptor.members.begin(), descriptor.members.end(),
                                      [&view](const QxMember& member) { return IsNamed(member.type, view); });
    if (!areNamed) return;
    std::optional<std::string> name = NameLayout(descriptor, view);
    if (name) view.typeNames[&descriptor] = std::move(*name);
}

// The name that the layout goes by in dumps; none when there is no place for it.
std::optional<std::string> QxCatalog::NameLayout(const QxDescriptor& descriptor, const View& view) {
    std::string layout = EncodeDescriptor(descriptor, descriptor.name, view);
    auto known = m_types.find(layout);
    if (known == m_types.end()) {
        if (!HasPlace(layout.size())) return std::nullopt;
        const std::string name = NewName(descriptor.name);
        AppendItem(m_descriptorItems, dumpformat::kCompArgItem, EncodeDescriptor(descriptor, name, view));
        known = m_types.emplace(std::move(layout), name).first;
    }
    return known->second;
}

// The same of the layout of a result. It has the members of the result's type, so that they are read in its stead.
std::optional<std::string> QxCatalog::NameResult(const QxType& result, View& view) {
    const auto known = view.resultNames.find(result.descriptor);
    if (known != view.resultNames.end()) return known->second;
    QxDescriptor layout;
    layout.name = "result<" + TypeName(result, view) + ">";
    layout.isContainer = true;
    if (result.descriptor != nullptr)
        layout.members = result.descriptor->members;
    else
        layout.members.push_back({"", result});
    std::optional<std::string> name = NameLayout(layout, view);
    // Plain types have no layout to be known by, and theirs takes no more than their name.
    if (result.descriptor != nullptr) view.resultNames[result.descriptor] = name;
    return name;
}

// The result of a call site as dumps have it; none when there is no place for its layout.
std::optional<QxType> QxCatalog::DescribeResult(const QxType& result, View& view) {
    if (result.size == 0 || IsList(result)) return QxType{TypeName(result, view), result.size};
    std::optional<std::string> name = NameResult(result, view);
    if (!name) return std::nullopt;
    return QxType{std::move(*name), QxType::kComposite};
}

// A list has its count already.
std::string QxCatalog::ExitValues(const QxLocation& location, std::string values, std::size_t resultAt) {
    const bool hasResult = resultAt < values.size();
    if (location.result.size == 0 || (hasResult && IsList(location.result))) return values;
    values.insert(resultAt, 1, hasResult ? '\1' : '\0');
    return values;
}

// A layout that has the name of another one but not its content goes by a name of its own: readers know layouts by
// name.
std::string QxCatalog::NewName(const std::string& ownName) {
    unsigned& number = m_namesakes.emplace(ownName, 1).first->second;
    std::string name = ownName;
    while (!m_typeNames.insert(name).second) name = ownName + "#" + std::to_string(++number);
    return name;
}

std::uint32_t QxCatalog::AddLocation(const QxLocation& location, View& view) {
    const bool areNamed = IsNamed(location.result, view) &&
                          std::all_of(location.arguments.begin(), location.arguments.end(),
                                      [&view](const QxArgument& argument) { return IsNamed(argument.type, view); });
    if (!areNamed) return 0;
    const std::optional<QxType> result = DescribeResult(location.result, view);
    if (!result) return 0;
    std::string site = EncodeLocation(location, 0, *result, view);
    const auto known = m_numbers.find(site);
    if (known != m_numbers.end()) return known->second;
    if (m_numbers.size() >= qxlayout::kMaxLocations || !HasPlace(site.size())) return 0;
    const auto number = static_cast<std::uint32_t>(m_numbers.size() + 1);
    AppendItem(m_locationItems, dumpformat::kLocationItem, EncodeLocation(location, number, *result, view));
    m_numbers.emplace(std::move(site), number);
    return number;
}

std::string QxCatalog::EncodeDescriptor(const QxDescriptor& descriptor, const std::string& name, const View& view) {
    std::string out;
    AppendVarint(out, descriptor.members.size());
    for (const QxMember& member : descriptor.members) AppendVarint(out, member.type.size);
    for (const QxMember& member : descriptor.members) AppendShiftedText(out, TypeName(member.type, view));
    for (const QxMember& member : descriptor.members) AppendShiftedText(out, member.name);
    AppendShiftedText(out, name);
    out += descriptor.isContainer ? '\1' : '\0';
    return out;
}

std::string QxCatalog::EncodeLocation(const QxLocation& location, std::uint32_t number, const QxType& result,
                                      const View& view) {
    std::string out;
    AppendVarint(out, location.line);
    AppendText(out, location.file);
    AppendVarint(out, number);
    AppendVarint(out, location.arguments.size());
    for (const QxArgument& argument : location.arguments) out += static_cast<char>(argument.flags);
    for (const QxArgument& argument : location.arguments) AppendVarint(out, argument.type.size);
    for (const QxArgument& argument : location.arguments) AppendText(out, TypeName(argument.type, view));
    AppendText(out, result.name);
    AppendVarint(out, result.size);
    AppendText(out, location.method);
    AppendText(out, location.package);
    return out;
}

}  // namespace qxhost
