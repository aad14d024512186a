// Standard output, one whole line at a time. Each line is written as soon as it is there: a reader at the other end of
// a pipe sees events as they happen.
#pragma once

#include <functional>
#include <string>

#include "Colors.h"
#include "Failure.h"
#include "Progress.h"

namespace qxlt {

class Output final {
public:
    // `progress` may be null; it must outlive the output.
    explicit Output(Progress* progress = nullptr);
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    // Writes the text and a newline. One thread at a time. After a failure it does nothing.
    void Line(std::string text);

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
    const Colors m_colors;
    std::function<void(ExitStatus)> m_onEnd;
    ExitStatus m_status = kDone;  // when the reader goes away
    bool m_ended = false;
};

}  // namespace qxlt
