// Calls that tests of the control trace, and what came of them.
#pragma once

#include <qx/recorder.h>

#include <cstdint>
#include <set>

#include "HostTest.h"

using Pause = PausingChild::Pause;

inline void Note(int value) {
    QX_CALL(call, "p", "Note", qx::In(value));
}

// Notes 1 to `count`, and pauses after each.
inline void NoteOneByOne(int count, const Pause& pause) {
    for (int i = 1; i <= count; ++i) {
        Note(i);
        pause();
    }
}

inline std::set<std::uint64_t> Values(const DecodedDump& dump) {
    std::set<std::uint64_t> values;
    for (const IQxData::HSCall& call : dump.calls) values.insert(Number(call.args.in.at(0)));
    return values;
}

using Numbers = std::set<std::uint64_t>;
