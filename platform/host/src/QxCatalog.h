// The call sites and layouts of all recordings of one program name, as dumps describe them. Numbers and type names are
// given out by content, so that a restarted program, and two processes of one name, do not get into each other's way.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "QxMetadata.h"

namespace qxhost {

class QxCatalog {
public:
    // The place of one recording's metadata in the catalog.
    struct View {
        std::size_t descriptors = 0;                           // that were taken over
        std::map<const QxDescriptor*, std::string> typeNames;  // as dumps call them
        std::vector<std::uint32_t> numbers;                    // of the locations, 0 for those that found no place
    };

    // Takes over what the metadata holds beyond the view.
    void Take(const QxMetadata& metadata, View& view);

    // All items so far, as a persistent buffer holds them: layouts first.
    std::string Items() const { return m_descriptorItems + m_locationItems; }

private:
    std::string TypeName(const QxType& type, const View& view) const;
    std::string AddDescriptor(const QxDescriptor& descriptor, const View& view);
    std::uint32_t AddLocation(const QxLocation& location, const View& view);
    std::string EncodeDescriptor(const QxDescriptor& descriptor, const std::string& name, const View& view) const;
    std::string EncodeLocation(const QxLocation& location, std::uint32_t number, const View& view) const;

    std::map<std::string, std::string> m_types;      // dump name to encoded item
    std::map<std::string, std::uint32_t> m_numbers;  // encoded location without number to number
    std::string m_descriptorItems;
    std::string m_locationItems;
};

}  // namespace qxhost
