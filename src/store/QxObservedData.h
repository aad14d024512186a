// Base of stores that watch records on their way in and change nothing about looking them up. Lookups in such a store
// take the same short way as in QxData itself: otherwise each call would copy its whole location.
#pragma once

#include "QxData.h"

class QxObservedData : public QxData {
public:
    _HSCallLocation GetCallLocation(unsigned int locId) final { return QxData::GetCallLocation(locId); }
    _HSCallLocation GetCallLocationWithPID(unsigned int locId, unsigned short pid) final {
        return QxData::GetCallLocationWithPID(locId, pid);
    }
    void GetCompArgDesc(_HSCompArgDesc& out, std::string name) final { QxData::GetCompArgDesc(out, std::move(name)); }
    unsigned long long AppendBeforeCall(HSCall& call) final { return QxData::AppendBeforeCall(call); }
    void AppendAfterCall(unsigned long long key, HSCall& call) final { QxData::AppendAfterCall(key, call); }
    void GetCall(unsigned long long key, HSCall& out) final { QxData::GetCall(key, out); }
};
