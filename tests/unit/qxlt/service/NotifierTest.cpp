#include "Notifier.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "Descriptor.h"
#include "Failure.h"
#include "ServicePart.h"
#include "Workplace.h"

namespace qxlt {
namespace {

TEST(Notifier, DoesNotWaitForAReader) {
    const Workplace place;
    const std::string path = place.At("notify");
    const Descriptor socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    ASSERT_EQ(bind(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    const Notifier notifier(path);
    int sent = 0;
    while (notifier.Send("STATUS=x") && sent < 1000000) ++sent;
    EXPECT_GT(sent, 0);
    EXPECT_LT(sent, 1000000) << "the queue of nobody's datagrams is bounded";
    char text[64];
    EXPECT_EQ(recv(socket.Get(), text, sizeof text, 0), 8);
    EXPECT_TRUE(notifier.Send("STATUS=x")) << "there is room again";
}

TEST(Notifier, NobodyListensIsNoFailure) {
    const Workplace place;
    EXPECT_FALSE(Notifier(place.At("nobody")).Send("READY=1"));
    EXPECT_FALSE(Notifier("@nobody-" + place.At("nobody").substr(1)).Send("READY=1"));
}

TEST(Notifier, RefusesOtherAddresses) {
    for (const std::string address : {"", "relative", "vsock:2:1"}) EXPECT_THROW(Notifier{address}, Failure) << address;
    EXPECT_THROW(Notifier("/" + std::string(107, 'x')), Failure);
    EXPECT_NO_THROW(Notifier("/" + std::string(106, 'x')));
}

TEST(ServiceWishes, AreTakenOutOfTheEnvironment) {
    setenv("NOTIFY_SOCKET", "/run/x", 1);
    setenv("WATCHDOG_USEC", "3000000", 1);
    setenv("WATCHDOG_PID", std::to_string(getpid()).c_str(), 1);
    const ServiceWishes wishes = TakeServiceWishes();
    EXPECT_EQ(wishes.socket, "/run/x");
    EXPECT_EQ(wishes.watchdog, std::chrono::microseconds(3000000));
    for (const char* const name : {"NOTIFY_SOCKET", "WATCHDOG_USEC", "WATCHDOG_PID"}) {
        EXPECT_EQ(std::getenv(name), nullptr) << name;
    }
}

TEST(ServiceWishes, AWatchdogOfAnotherProcessOrOfNoNumberIsNone) {
    const struct {
        const char* usec;
        const char* pid;
    } rows[] = {
        {"3000000", "1"}, {"soon", nullptr}, {"0", nullptr}, {"-1", nullptr}, {"99999999999999999999", nullptr}};
    for (const auto& row : rows) {
        setenv("WATCHDOG_USEC", row.usec, 1);
        if (row.pid != nullptr) setenv("WATCHDOG_PID", row.pid, 1);
        EXPECT_EQ(TakeServiceWishes().watchdog, std::nullopt) << row.usec;
    }
}

}  // namespace
}  // namespace qxlt
