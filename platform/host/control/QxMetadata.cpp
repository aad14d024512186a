#include "QxMetadata.h"

#include <algorithm>

namespace qxhost {

using namespace qxlayout;

namespace {

constexpr std::size_t kMaxNameSize = 4096;
constexpr std::size_t kMaxArguments = 1024;
constexpr std::size_t kMaxNumberSize = 16;  // of a long double
constexpr std::size_t kLengthSize = 4;
constexpr unsigned kMaxDepth = 60;  // the decoder goes 64 deep

std::string ReadName(QxByteReader& record) {
    std::string name = record.ReadText();
    if (name.size() > kMaxNameSize) throw QxDamage("a name is too long");
    return name;
}

void SkipText(QxByteReader& values) {
    const std::size_t size = values.ReadVarint();
    if (size == QxType::kComposite || size == QxType::kVariable) throw QxDamage("a text has a size with a meaning");
    values.Skip(size);
}

void SkipMembers(QxByteReader& values, const QxDescriptor& descriptor) {
    for (const QxMember& member : descriptor.members) {
        if (member.type.size == QxType::kComposite)
            SkipMembers(values, *member.type.descriptor);
        else if (member.type.size == QxType::kVariable)
            SkipText(values);
        else
            values.Skip(member.type.size);
    }
}

// Layouts have members and members take bytes, so each turn uses some up.
void SkipComposite(QxByteReader& values, const QxDescriptor& descriptor) {
    std::uint32_t count = descriptor.isContainer ? values.ReadVarint() : 1;
    for (; count > 0; --count) SkipMembers(values, descriptor);
}

void SkipValue(QxByteReader& values, const QxType& type) {
    if (type.size == QxType::kComposite)
        SkipComposite(values, *type.descriptor);
    else if (type.size == QxType::kVariable)
        SkipText(values);
    else
        values.Skip(type.size);
}

void SkipArguments(QxByteReader& values, const QxLocation& location, const std::vector<std::size_t>& places) {
    for (const std::size_t place : places) SkipValue(values, location.arguments[place].type);
}

void CheckEnd(const QxByteReader& values) {
    if (values.Left() != 0) throw QxDamage("a record holds more than its values");
}

}  // namespace

void QxLocation::AddArgument(QxArgument argument) {
    if ((argument.flags & QxArgument::kAtEntry) != 0) atEntry.push_back(arguments.size());
    if ((argument.flags & QxArgument::kAtExit) != 0) atExit.push_back(arguments.size());
    arguments.push_back(std::move(argument));
}

void QxMetadata::Update(const QxRecordingFile& file) {
    const std::size_t used = file.ReadMetaUsed();
    if (used < m_used) throw QxDamage("its metadata shrank");
    if (used == m_used) return;
    Append(file.ReadMeta(m_used, used - m_used));
}

void QxMetadata::Append(const std::string& records) {
    QxByteReader reader(records.data(), records.size());
    while (reader.Left() > 0) {
        const std::size_t size = static_cast<std::size_t>(reader.ReadInteger(kLengthSize));
        const char* record = records.data() + (records.size() - reader.Left());
        reader.Skip(size);
        AppendRecord(QxByteReader(record, size));
        // One by one: when memory runs out, none is taken twice.
        m_used += kLengthSize + size;
    }
}

void QxMetadata::AppendRecord(QxByteReader record) {
    switch (record.ReadByte()) {
        case kMetaLocation:
            AppendLocation(record);
            CheckEnd(record);
            break;
        case kMetaDescriptor:
            AppendDescriptor(record);
            CheckEnd(record);
            break;
        case kMetaName: {
            if (m_names.size() > kMaxNames) throw QxDamage("it has too many thread names");
            // The rest of the record, as it stands.
            std::string name;
            while (record.Left() > 0) name += static_cast<char>(record.ReadByte());
            m_names.push_back(std::move(name));
            break;
        }
        default:
            throw QxDamage("its metadata holds a record of no known kind");
    }
}

void QxMetadata::AppendDescriptor(QxByteReader& record) {
    if (m_descriptors.size() >= kMaxDescriptors) throw QxDamage("it has too many layouts");
    QxDescriptor descriptor;
    descriptor.name = ReadName(record);
    descriptor.isContainer = record.ReadVarint() != 0;
    const std::size_t count = ReadCount(record);
    if (count == 0) throw QxDamage("a layout has no members");
    for (std::size_t i = 0; i < count; ++i) {
        QxType type = ReadType(record);
        if (type.descriptor != nullptr) {
            if (type.descriptor->isContainer) throw QxDamage("a list lies within a layout");
            descriptor.depth = std::max(descriptor.depth, type.descriptor->depth + 1);
        }
        std::string name = ReadName(record);
        descriptor.members.push_back({std::move(name), std::move(type)});
    }
    if (descriptor.depth > kMaxDepth) throw QxDamage("layouts nest too deep");
    const QxDescriptor*& place = m_byName[descriptor.name];
    m_descriptors.push_back(std::move(descriptor));
    place = &m_descriptors.back();
    m_parts += count;
}

void QxMetadata::AppendLocation(QxByteReader& record) {
    if (m_locations.size() >= kMaxLocations) throw QxDamage("it has too many call sites");
    QxLocation location;
    location.line = record.ReadVarint();
    location.file = ReadName(record);
    const std::size_t count = ReadCount(record);
    for (std::size_t i = 0; i < count; ++i) {
        const unsigned flags = record.ReadVarint();
        if (flags > (QxArgument::kAtEntry | QxArgument::kAtExit)) throw QxDamage("an argument has unknown flags");
        location.AddArgument({flags, ReadType(record)});
    }
    location.result.size = record.ReadVarint();
    location.result.name = ReadName(record);
    if (location.result.size != 0) {
        std::string again;
        AppendVarint(again, location.result.size);
        AppendText(again, location.result.name);
        QxByteReader result(again.data(), again.size());
        location.result = ReadType(result);
    }
    location.method = ReadName(record);
    location.package = ReadName(record);
    m_locations.push_back(std::move(location));
    m_parts += count;
}

std::size_t QxMetadata::ReadCount(QxByteReader& record) const {
    const std::size_t count = record.ReadVarint();
    if (count > kMaxArguments) throw QxDamage("a call site or layout has too many parts");
    if (count > kMaxParts - m_parts) throw QxDamage("it has too many arguments and members");
    return count;
}

QxType QxMetadata::ReadType(QxByteReader& record) const {
    QxType type;
    type.size = record.ReadVarint();
    type.name = ReadName(record);
    if (type.size == QxType::kComposite) {
        const auto found = m_byName.find(type.name);
        if (found == m_byName.end() || found->second == nullptr) throw QxDamage("a type has no layout");
        type.descriptor = found->second;
    } else if (type.size != QxType::kVariable && (type.size == 0 || type.size > kMaxNumberSize)) {
        throw QxDamage("a type has no valid size");
    }
    return type;
}

const std::string& QxMetadata::Name(std::uint32_t number) const {
    if (number >= m_names.size()) throw QxDamage("a thread's name was never recorded");
    return m_names[number];
}

void QxMetadata::CheckEntry(const QxLocation& location, const char* payload, std::size_t size) {
    QxByteReader values(payload, size);
    SkipArguments(values, location, location.atEntry);
    CheckEnd(values);
}

std::size_t QxMetadata::CheckExit(const QxLocation& location, const char* payload, std::size_t size) {
    QxByteReader values(payload, size);
    SkipArguments(values, location, location.atExit);
    const std::size_t resultAt = size - values.Left();
    if (location.result.size != 0 && values.Left() != 0) SkipValue(values, location.result);
    CheckEnd(values);
    return resultAt;
}

// A log item has no composite values, and an empty one would be dropped with a message.
void QxMetadata::CheckLog(const QxLocation& location, const char* payload, std::size_t size) {
    QxByteReader values(payload, size);
    for (const QxArgument& argument : location.arguments) {
        if (argument.type.size == QxType::kComposite) throw QxDamage("a log item holds a composite value");
        SkipValue(values, argument.type);
    }
    CheckEnd(values);
}

}  // namespace qxhost
