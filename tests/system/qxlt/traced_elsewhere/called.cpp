// A program whose calls other tracers record: with -pg those of its functions; with RECORDED_BY_LTTNG, those that it
// marks.
#include <thread>

#if defined(RECORDED_BY_LTTNG)
#define LTTNG_UST_TRACEPOINT_CREATE_PROBES
#define LTTNG_UST_TRACEPOINT_DEFINE
#include "audio_events.h"
#define MARK(...) lttng_ust_tracepoint(audio, __VA_ARGS__)
#else
#define MARK(...) static_cast<void>(0)
#endif

extern "C" {

__attribute__((noipa)) int Check(int level) {
    MARK(note, level > 80 ? "loud" : "");
    return level > 100 ? -1 : 0;
}

__attribute__((noipa)) int SetVolume(int level, unsigned char mute, const char* name, double gain) {
    const short bands[] = {1, -2, 3};
    static_cast<void>(bands);
    static_cast<void>(mute);
    static_cast<void>(name);
    static_cast<void>(gain);
    MARK(SetVolume_entry, level, mute, name, gain, bands, level > 0 ? 3 : 0, level > 80 ? 2 : 1);
    const int result = Check(level) < 0 ? -1 : level;
    MARK(SetVolume_exit, result);
    return result;
}
}

int main() {
    SetVolume(85, 1, "main", 0.5);
    SetVolume(-5, 0, "", 2.25);
    std::thread([] { SetVolume(120, 0, "two\nlines", -1); }).join();
    MARK(SetVolume_entry, 7, 0, "open", 0, nullptr, 0, 1);
    return 0;
}
