#include "CallViews.h"

namespace qxlt {

CallView CallViews::Of(unsigned long long key, const IQxData::HSCall& call) const {
    const CallMaker& maker = m_store.MakerOf(key, call);
    CallView view{call, m_store.Location(call.locId, call.pid).site, m_names.NameOf(call.pid), key, maker.process};
    view.thread = maker.thread;
    view.types = m_store.TypesOf(call);
    view.clock = m_clock;
    view.start = m_start;
    return view;
}

}  // namespace qxlt
