// Standard output that cannot be written any more.
#include "Output.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <vector>

namespace {

using namespace qxlt;
using testing::ElementsAre;

// While it lives, standard output is the descriptor, which it closes.
class InPlaceOfOutput final {
public:
    explicit InPlaceOfOutput(int descriptor) : m_before(dup(STDOUT_FILENO)) {
        dup2(descriptor, STDOUT_FILENO);
        close(descriptor);
    }
    InPlaceOfOutput(const InPlaceOfOutput&) = delete;
    InPlaceOfOutput& operator=(const InPlaceOfOutput&) = delete;
    ~InPlaceOfOutput() {
        dup2(m_before, STDOUT_FILENO);
        close(m_before);
    }

private:
    const int m_before;
};

// With what the output ends when several lines are written to the descriptor.
std::vector<ExitStatus> EndsOf(int descriptor, bool failed) {
    const InPlaceOfOutput place(descriptor);
    std::vector<ExitStatus> ends;
    Output output;
    output.OnEnd([&ends](ExitStatus status) { ends.push_back(status); });
    if (failed) output.Failed();
    for (const char* const line : {"a", "b", "c"}) output.Line(line);
    return ends;
}

int WithoutReader() {
    int ends[2];
    EXPECT_EQ(pipe(ends), 0);
    close(ends[0]);
    return ends[1];
}

TEST(Output, EndsOnceWhenItsReaderHasGone) {
    testing::internal::CaptureStderr();
    EXPECT_THAT(EndsOf(WithoutReader(), false), ElementsAre(kDone));
    EXPECT_THAT(EndsOf(WithoutReader(), true), ElementsAre(kInputWrong));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(Output, TellsOnceThatItCannotBeWritten) {
    testing::internal::CaptureStderr();
    EXPECT_THAT(EndsOf(open("/dev/full", O_WRONLY), false), ElementsAre(kInputWrong));
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "error: standard output: No space left on device; results are lost\n");
}

}  // namespace
