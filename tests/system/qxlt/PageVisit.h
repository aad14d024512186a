// A page of `qxlt view` as a person finds it, in a browser without a window.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

// Whether the tool was built with the page that `qxlt view` fills in.
bool ToolHasPage();

// Why pages cannot be visited here; empty: they can.
std::string PagesMissing();

// Does what tests/viewers/page.mjs knows as steps. Returns what each of them found. Fails the test when the page did
// anything besides: asked for another file, complained, or opened a dialog.
std::vector<nlohmann::json> Visit(const std::string& page, const std::vector<std::string>& steps);
