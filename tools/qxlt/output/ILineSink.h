// Where the lines of results go in place of standard output.
#pragma once

#include <string>
#include <vector>

namespace qxlt {

// What a line tells, piece by piece, for who keeps them apart: {"EVENT", "VOLUME_HIGH"}.
struct LineField {
    const char* name;
    std::string value;
};
using LineFields = std::vector<LineField>;

// One thread at a time.
class ILineSink {
public:
    virtual ~ILineSink() = default;

    // Whether fields are wanted; they are made for that alone.
    virtual bool TakesFields() const { return false; }

    // Takes a line, without its end. A line that cannot be kept is counted, told of, and no reason to end.
    virtual void Write(const std::string& line, const LineFields& fields) = 0;

    // All lines have come: tells of those that were lost and are not told of yet.
    virtual void End() {}

    // Whether lines were lost.
    virtual bool Failed() const { return false; }
};

}  // namespace qxlt
