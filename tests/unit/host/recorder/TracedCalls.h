// Calls that tests of the recorder trace.
#pragma once

#include <qx/recorder.h>

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <utility>

// Described by a call of the test's, made within the recorder.
struct Hooked {
    int value = 0;
    static inline std::function<void()> hook;
};

template <>
struct qx_traits::StructTrait<Hooked> {
    static const char* QxName() {
        if (Hooked::hook) std::exchange(Hooked::hook, nullptr)();
        return "Hooked";
    }
    template <class Visitor>
    static void QxForEach(Visitor&& visit) {
        visit("value", &Hooked::value);
    }
};

inline void Note(int value) {
    QX_CALL(call, "p", "Note", qx::In(value));
}

inline void NoteText(const std::string& text) {
    QX_CALL(call, "p", "NoteText", qx::In(text));
}

// Traces a call during whose description the hook runs.
template <int N>
void NoteHooked(const std::function<void()>& hook) {
    Hooked::hook = hook;
    const Hooked hooked;
    QX_CALL(call, "p", "NoteHooked", qx::In(hooked));
}

template <int N>
void NoteMany() {
    {
        static const std::string method = "Method" + std::to_string(N);
        QX_CALL(call, "p", method.c_str());
    }
    if constexpr (N > 0) NoteMany<N - 1>();
}

// Holds threads until all have come.
class Gate {
public:
    explicit Gate(int count) : m_missing(count) {}
    void Pass() {
        std::unique_lock<std::mutex> lock(m_mutex);
        --m_missing;
        m_changed.notify_all();
        m_changed.wait(lock, [this] { return m_missing <= 0; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_missing;
};
