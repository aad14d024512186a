// Reads and sets private members, where what the tested code keeps can be told by nothing that it offers:
//
//     struct Events {
//         friend constexpr auto Private(Events);
//     };
//     template struct Expose<Events, &QxData::m_Events>;
//     ... (store.*Private(Events())).size() ...
//
// Tag and instantiation stand in the global namespace, and the tag's name in no other test of the program. An explicit
// instantiation may name private members; the tested class needs no friend for it.
#pragma once

template <typename Tag, auto Member>
struct Expose {
    friend constexpr auto Private(Tag) { return Member; }
};
