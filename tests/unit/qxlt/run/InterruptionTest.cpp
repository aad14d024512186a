#include "Interruption.h"

#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdint>

#include "Descriptor.h"

namespace {

using qxlt::Interruption;

Interruption::Clock::time_point Soon() {
    return Interruption::Clock::now() + std::chrono::milliseconds(50);
}

TEST(Interruption, AHandledSignalEndsNothing) {
    Interruption interruption;
    int handled = 0;
    interruption.Handle(SIGUSR1, [&handled] { ++handled; });
    interruption.Handle(SIGHUP, [&handled] { handled += 10; });
    raise(SIGUSR1);
    raise(SIGHUP);
    EXPECT_EQ(interruption.Wait(Soon()), Interruption::Cause::TimeOver);
    EXPECT_EQ(handled, 11);
    raise(SIGTERM);
    EXPECT_EQ(interruption.Wait(std::nullopt), Interruption::Cause::Signal);
}

TEST(Interruption, AHandlerMayEndTheWait) {
    Interruption interruption;
    interruption.Handle(SIGHUP, [&interruption] { interruption.EndBySignal(); });
    raise(SIGHUP);
    EXPECT_EQ(interruption.Wait(std::nullopt), Interruption::Cause::Signal);
    EXPECT_EQ(interruption.Wait(Soon()), Interruption::Cause::TimeOver);
}

TEST(Interruption, AWatchedDescriptorEndsNothing) {
    Interruption interruption;
    const qxlt::Descriptor event(eventfd(1, EFD_CLOEXEC));
    std::uint64_t seen = 0;
    interruption.Watch(event.Get(), [&] { ASSERT_EQ(read(event.Get(), &seen, sizeof seen), 8); });
    EXPECT_EQ(interruption.Wait(Soon()), Interruption::Cause::TimeOver);
    EXPECT_EQ(seen, 1U);
    interruption.Request();
    EXPECT_EQ(interruption.Wait(std::nullopt), Interruption::Cause::Request);
}

TEST(Interruption, AHangupThatIsIgnoredEndsNothing) {
    std::signal(SIGHUP, SIG_IGN);
    Interruption interruption;
    raise(SIGHUP);
    EXPECT_EQ(interruption.Wait(Soon()), Interruption::Cause::TimeOver);
    std::signal(SIGHUP, SIG_DFL);
}

}  // namespace
