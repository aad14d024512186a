// The script kind "session": accepted, and does nothing.
#pragma once

#include "IQxScript.h"

class QxScriptSession final : public IQxScript {
public:
    int Trace(QxParser*) override { return 1; }
};
