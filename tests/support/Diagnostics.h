// An empty log, and a level of diagnostics for the length of a test.
#pragma once

#include "IQxLogTracker.h"
#include "QxDebugPrint.h"
#include "RecordingLog.h"

class Diagnostics final {
public:
    explicit Diagnostics(EDebugLevel level = Info) {
        QxDebugPrint::GetInstance()->SetLevel(level);
        RecordingLog::Clear();
    }
    Diagnostics(const Diagnostics&) = delete;
    Diagnostics& operator=(const Diagnostics&) = delete;
    ~Diagnostics() {
        QxDebugPrint::GetInstance()->SetLevel(Info);
        RecordingLog::Clear();
    }
};
