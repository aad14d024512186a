// A traced program, built with what is installed alone: records a call with a struct and a list, and says that it did.
#include <qx/recorder.h>

#include <string>
#include <vector>

struct Point {
    int x;
    int y;
};
QX_TRACE_STRUCT(Point, x, y)

static bool Move(const std::string& name, const Point& where, const std::vector<int>& steps) {
    QX_CALL_RETURNS(call, bool, "robot", "Move", qx::In(name), qx::In(where), qx::In(steps));
    QX_LOG("robot", "Moving", 42);
    return call.Return(true);
}

int main() {
    Move("left", {1, 2}, {3, 4, 5});
    const qx::recorder::Counters counters = qx::recorder::GetCounters();
    return counters.recorded == 2 && counters.refused == 0 && counters.exits == 1 ? 0 : 1;
}
