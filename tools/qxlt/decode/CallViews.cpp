#include "CallViews.h"

namespace qxlt {

CallView CallViews::Of(unsigned long long key, const IQxData::HSCall& call) const {
    const CallMaker& maker = m_store.MakerOf(key, call);
    return {call,
            m_store.Location(call.locId, call.pid).site,
            m_names.NameOf(call.pid),
            key,
            maker.process,
            maker.thread,
            m_store.TypesOf(call),
            m_clock};
}

}  // namespace qxlt
