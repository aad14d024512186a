// The command line's parser by name alone, for headers that hand it on: compiling that library takes longer than most
// of the tool's sources, the more with sanitizers.
#pragma once

namespace CLI {
class App;
class Option;
}  // namespace CLI
