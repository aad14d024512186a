// What a recording tells of its call sites, of the layouts of its structs and lists, and of its threads' names. Nothing
// is trusted: what a recorder does not write throws QxDamage.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <vector>

#include "QxBytes.h"
#include "QxRecordingFile.h"
#include "qx/detail/format.h"

namespace qxhost {

struct QxDescriptor;

struct QxType {
    std::string name;
    std::uint32_t size = 0;                    // bytes, or one of the marks below
    const QxDescriptor* descriptor = nullptr;  // of a composite; lives as long as the metadata

    static constexpr std::uint32_t kComposite = qx::recorder::detail::kCompositeSize;
    static constexpr std::uint32_t kVariable = qx::recorder::detail::kVariableSize;
};

struct QxMember {
    std::string name;
    QxType type;
};

struct QxDescriptor {
    std::string name;
    bool isContainer = false;
    std::vector<QxMember> members;
    unsigned depth = 1;  // of the layouts within, itself included
};

struct QxArgument {
    unsigned flags = 0;
    QxType type;

    static constexpr unsigned kAtEntry = qx::recorder::detail::kAtEntry;
    static constexpr unsigned kAtExit = qx::recorder::detail::kAtExit;
};

struct QxLocation {
    std::uint32_t line = 0;
    std::string file;
    std::vector<QxArgument> arguments;
    // The places of those whose values are recorded at entry and at exit: a call is checked in the time that it takes,
    // whatever else is declared.
    std::vector<std::size_t> atEntry;
    std::vector<std::size_t> atExit;
    QxType result;
    std::string method;
    std::string package;

    void AddArgument(QxArgument argument);
};

class QxMetadata {
public:
    QxMetadata() = default;
    QxMetadata(const QxMetadata&) = delete;  // its types point into it
    QxMetadata& operator=(const QxMetadata&) = delete;

    // Reads what was added since the last time.
    void Update(const QxRecordingFile& file);

    // Takes whole records.
    void Append(const std::string& records);

    // In the order in which they were recorded. A layout comes after those that it uses.
    const std::deque<QxDescriptor>& Descriptors() const { return m_descriptors; }
    const std::vector<QxLocation>& Locations() const { return m_locations; }

    // The name of that number, empty for 0. Throws QxDamage for a number that was never given.
    const std::string& Name(std::uint32_t number) const;

    // Check that recorded values are, to the byte, what the call site's description says. An exit is told where its
    // result begins: behind the last byte when it has none.
    static void CheckEntry(const QxLocation& location, const char* payload, std::size_t size);
    static std::size_t CheckExit(const QxLocation& location, const char* payload, std::size_t size);
    static void CheckLog(const QxLocation& location, const char* payload, std::size_t size);

private:
    void AppendRecord(QxByteReader record);
    void AppendDescriptor(QxByteReader& record);
    void AppendLocation(QxByteReader& record);
    std::size_t ReadCount(QxByteReader& record) const;
    QxType ReadType(QxByteReader& record) const;

    std::size_t m_used = 0;
    std::size_t m_parts = 0;                 // arguments and members
    std::deque<QxDescriptor> m_descriptors;  // addresses stay
    std::map<std::string, const QxDescriptor*> m_byName;
    std::vector<QxLocation> m_locations;
    std::vector<std::string> m_names{""};
};

}  // namespace qxhost
