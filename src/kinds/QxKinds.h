// All kinds of buffers, items and scripts: the one place that knows them by name. To add a kind: write its class in
// decode/buffers, decode/items or scenario, give its tag a name in QxFormat.h (its element, in QxScriptWords.h), and
// add a line to QxKinds.cpp. Nothing else lists kinds; an item of a tag that has no line there is damage.
#pragma once

#include <array>
#include <memory>
#include <string>
#include <unordered_map>

#include "IQxBuffer.h"
#include "IQxItem.h"
#include "IQxScript.h"

namespace qxkinds {

// By tag; null for a tag that is no kind's.
template <typename Kind>
using ByTag = std::array<std::unique_ptr<Kind>, 256>;

ByTag<IQxBuffer> MakeBuffers();
ByTag<IQxItem> MakeItems();

// By the name of a script's top element.
std::unordered_map<std::string, std::unique_ptr<IQxScript>> MakeScripts();

}  // namespace qxkinds
