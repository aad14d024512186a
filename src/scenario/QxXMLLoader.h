// Loads an XML script into the store's script tree. Elements and attributes are kept as they are; what they mean is
// the scripts' matter.
#pragma once

#include <memory>
#include <utility>

#include "IQxData.h"

class QxXMLLoader final {
public:
    // Loads one script (length in bytes and the text, owned by the caller). Returns whether it is well-formed. The
    // first script's top element becomes the root; a later script is hung below it. A script that fails part-way leaves
    // its elements so far in the tree, and the next one is hung below the element that was open then. Throws when
    // memory runs out.
    static bool Parse(std::pair<int, char*>& text, std::shared_ptr<IQxData> data);
};
