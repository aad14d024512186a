// Marks a value of a type that the recorder does not know, at the place that PLACE says; see check-unknown-type.cmake.
#include <qx/recorder.h>

#include <map>

struct Mystery {
    int value;
};
struct Known {
    int value;
    Mystery inside;
};

#if PLACE == 4
QX_TRACE_STRUCT(Known, value, inside)
#endif

Mystery Trace(const Mystery& mystery, const std::vector<Mystery>& list, const std::map<int, Mystery>& map,
              const Known& known) {
#if PLACE == 0
    QX_CALL(call, "p", "Trace", qx::In(mystery));
#elif PLACE == 1
    QX_CALL_RETURNS(call, Mystery, "p", "Trace");
    call.Return(mystery);
#elif PLACE == 2
    QX_CALL(call, "p", "Trace", qx::InOut(list));
#elif PLACE == 3
    QX_CALL(call, "p", "Trace", qx::Out(map));
#elif PLACE == 4
    QX_CALL(call, "p", "Trace", qx::In(known));
#elif PLACE == 5
    QX_LOG("p", "Trace", mystery);
#endif
    static_cast<void>(list);
    static_cast<void>(map);
    static_cast<void>(known);
    return mystery;
}
