// What all fuzzers share: a device that formats every message and shows none, and a store to decode into.
#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "IQxData.h"
#include "QxParser.h"

constexpr unsigned short kFuzzPid = 7;

// A store whose current process "fuzzed" is registered under that id. Lets all messages pass, so that each is
// formatted.
std::shared_ptr<IQxData> MakeFuzzStore();

// Loads the text as a script; ends the fuzzer when it is not well-formed.
void LoadScenario(const std::shared_ptr<IQxData>& store, const char* text);

// Parse and Extract, as a cycle does it.
void DecodeDump(QxParser& parser, std::vector<char> dump, const std::shared_ptr<IQxData>& store);

// A scenario that subscribes methods named "a", "b" and "" with events of every watch mode and operator.
extern const char kFuzzScenario[];

// Takes the events of that scenario; at the last two of them it throws, as a client may.
int IgnoreEvent(std::string name, std::string value, IQxData::HSCall call, void* context);
