// Where the numbers of methods go while they are counted.
#pragma once

#include "MethodInterval.h"

namespace qxlt {

class IMethodDisplay {
public:
    virtual ~IMethodDisplay() = default;

    // Counting begins, and it will end soon. Called by the thread that runs the tool.
    virtual void Open() {}
    virtual void Close() {}

    // An interval is over. Called by the thread that runs the cycles, also after Close.
    virtual void Show(const MethodInterval& interval) = 0;

    // Nothing is shown any more.
    virtual void Finish() {}
};

}  // namespace qxlt
