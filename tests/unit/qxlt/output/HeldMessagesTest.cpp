// Standard error while something else stands on the terminal.
#include "HeldMessages.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <stdlib.h>
#include <unistd.h>

#include <stdexcept>

#include "Messages.h"

namespace {

using qxlt::HeldMessages;
using qxlt::PrintNote;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

// Standard error is a terminal of its own as long as this lives.
class TestTerminal {
public:
    TestTerminal() : m_before(dup(STDERR_FILENO)), m_master(posix_openpt(O_RDWR | O_NOCTTY)) {
        if (m_master < 0 || grantpt(m_master) != 0 || unlockpt(m_master) != 0) throw std::runtime_error("terminal");
        const int terminal = open(ptsname(m_master), O_RDWR | O_NOCTTY);
        if (dup2(terminal, STDERR_FILENO) < 0) throw std::runtime_error("terminal");
        close(terminal);
    }
    ~TestTerminal() {
        dup2(m_before, STDERR_FILENO);
        close(m_before);
        close(m_master);
    }

    // What has come on it so far.
    std::string Text() const {
        std::string text;
        pollfd source{m_master, POLLIN, 0};
        char bytes[4096];
        while (poll(&source, 1, 0) == 1) {
            const ssize_t count = read(m_master, bytes, sizeof bytes);
            if (count <= 0) break;
            text.append(bytes, static_cast<std::size_t>(count));
        }
        return text;
    }

private:
    const int m_before;
    const int m_master;
};

void Write(const std::string& text) {
    ASSERT_EQ(write(STDERR_FILENO, text.data(), text.size()), static_cast<ssize_t>(text.size()));
}

TEST(HeldMessages, AreReadWhileTheyAreHeldAndWrittenOutAfterwards) {
    const TestTerminal terminal;
    {
        HeldMessages held;
        ASSERT_GE(held.Source(), 0);
        EXPECT_THAT(held.Read(), IsEmpty());
        PrintNote("one");
        Write("\r\033[Ktwo\nth\x1bree");
        EXPECT_THAT(held.Read(), ElementsAre("one", "two"));
        Write(" and more\nlast");
        EXPECT_THAT(held.Read(), ElementsAre("th\\x1bree and more"));
        EXPECT_EQ(terminal.Text(), "");
    }
    const std::string text = terminal.Text();
    for (const char* const line : {"one\r\n", "two\r\n", "th\\x1bree and more\r\n", "last\r\n"}) {
        EXPECT_THAT(text, HasSubstr(line));
    }
}

TEST(HeldMessages, AreTheLastOfMany) {
    const TestTerminal terminal;
    {
        HeldMessages held;
        for (int i = 0; i < 1000; ++i) {
            PrintNote("line " + std::to_string(i));
            EXPECT_EQ(held.Read().size(), 1U);
        }
        Write(std::string(5000, 'x') + "\n");
        EXPECT_EQ(held.Read().size(), 2U);  // a line of any length takes bounded memory
    }
    const std::string text = terminal.Text();
    EXPECT_THAT(text, HasSubstr("902 lines before these left out\r\n"));
    EXPECT_THAT(text, HasSubstr("line 902\r\n"));
    EXPECT_THAT(text, Not(HasSubstr("line 901\r\n")));
}

TEST(HeldMessages, GoToAFileAtOnce) {
    testing::internal::CaptureStderr();
    HeldMessages held;
    EXPECT_LT(held.Source(), 0);
    PrintNote("one");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "one\n");
}

}  // namespace
