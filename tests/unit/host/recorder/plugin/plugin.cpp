// A traced plugin, for a program that loads and unloads it.
#include <qx/recorder.h>

extern "C" __attribute__((visibility("default"))) void RecordInPlugin(int value) {
    QX_CALL(call, "plugin", "RecordInPlugin", qx::In(value));
}
