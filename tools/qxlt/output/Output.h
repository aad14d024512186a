// Standard output, or what takes its place, one whole line at a time. Each line is written as soon as it is there: a
// reader at the other end of a pipe sees events as they happen.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include "Colors.h"
#include "Failure.h"
#include "ILineSink.h"
#include "Progress.h"

namespace qxlt {

class Output final {
public:
    // Both may be null and must outlive the output. With a sink the lines go there, and standard output is left alone.
    explicit Output(Progress* progress = nullptr, ILineSink* sink = nullptr);
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    // Writes the text and a newline. One thread at a time. After a failure it does nothing.
    void Line(std::string text, const LineFields& fields = {});

    // Whether fields of a line get anywhere.
    bool TakesFields() const { return m_sink != nullptr && m_sink->TakesFields(); }

    // Whether a person sees the lines as they come, and how wide his terminal is; 0: there is none.
    bool IsTerminal() const;
    std::size_t Width() const;

    // Something in the input was wrong: a reader that goes away later takes nothing of that back.
    void Failed() { m_status = kInputWrong; }

    // What is called, once, when nothing can be written any more: with "done" when the reader has closed its end, which
    // is its right, unless Failed was called; or with "input wrong" after an error was printed. At first it ends the
    // process with that status.
    void OnEnd(std::function<void(ExitStatus)> handler) { m_onEnd = std::move(handler); }

    const Colors& Paint() const { return m_colors; }

private:
    void End(int error);

    Progress* const m_progress;
    ILineSink* const m_sink;
    const Colors m_colors;
    std::function<void(ExitStatus)> m_onEnd;
    ExitStatus m_status = kDone;  // when the reader goes away
    bool m_ended = false;
};

}  // namespace qxlt
