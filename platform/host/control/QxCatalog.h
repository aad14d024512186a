// The call sites and layouts of all recordings of one program name, as dumps describe them. Numbers and type names are
// given out by content, so that a restarted program, and two processes of one name, do not get into each other's way.
//
// The trace format has no word for a result that is missing, but it has empty lists: the result of a call site, unless
// it is a list already, is described as a list of one at most, by a layout of its own of the name result<TYPE>. Such a
// list of one reads like the plain value.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "QxMetadata.h"

namespace qxhost {

class QxCatalog {
public:
    // The place of one recording's metadata in the catalog.
    struct View {
        std::size_t descriptors = 0;                           // that were taken over
        std::map<const QxDescriptor*, std::string> typeNames;  // as dumps call them, of those that found a place
        // Those of the results of these types; none for those that found no place.
        std::map<const QxDescriptor*, std::optional<std::string>> resultNames;
        std::vector<std::uint32_t> numbers;  // of the locations, 0 for those that found no place
    };

    // Takes over what the metadata holds beyond the view, as far as there is place: the items have to fit into a dump.
    void Take(const QxMetadata& metadata, View& view);

    // All items so far, as a persistent buffer holds them: layouts first.
    std::string Items() const { return m_descriptorItems + m_locationItems; }

    // The values of a call's exit as dumps hold them, from those that were recorded. `resultAt` is where the result
    // begins, behind the last byte when there is none: see QxMetadata::CheckExit.
    static std::string ExitValues(const QxLocation& location, std::string values, std::size_t resultAt);

private:
    static bool IsNamed(const QxType& type, const View& view);
    static std::string TypeName(const QxType& type, const View& view);
    void AddDescriptor(const QxDescriptor& descriptor, View& view);
    std::optional<std::string> NameLayout(const QxDescriptor& descriptor, const View& view);
    std::optional<std::string> NameResult(const QxType& result, View& view);
    std::optional<QxType> DescribeResult(const QxType& result, View& view);
    std::string NewName(const std::string& ownName);
    std::uint32_t AddLocation(const QxLocation& location, View& view);
    bool HasPlace(std::size_t itemSize) const;
    static std::string EncodeDescriptor(const QxDescriptor& descriptor, const std::string& name, const View& view);
    static std::string EncodeLocation(const QxLocation& location, std::uint32_t number, const QxType& result,
                                      const View& view);

    std::map<std::string, std::string> m_types;      // encoded layout under its own name to its name in dumps
    std::set<std::string> m_typeNames;               // in dumps
    std::map<std::string, unsigned> m_namesakes;     // own name to the last number that was tried with it
    std::map<std::string, std::uint32_t> m_numbers;  // encoded location without number to number
    std::string m_descriptorItems;
    std::string m_locationItems;
};

}  // namespace qxhost
