#include "velmiro_mcp/services/LocalSocket.hpp"

#include "support/Eventually.hpp"
#include "support/TemporaryFolder.hpp"
#include "tests/support/ScriptedHost.hpp"

#include <array>
#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <future>
#include <gtest/gtest.h>
#include <pthread.h>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>

// The connection itself: its limits of time, which end neither sooner nor later when a signal
// interrupts a call. What is said over it has its tests in Approval_test.cpp.

using namespace velmiro;
using namespace velmiro::support;
using namespace velmiro::test;
using namespace std::chrono_literals;
using std::chrono::milliseconds;

namespace {

/// Returns this process's descriptor that is connected to the socket of that name, or -1 if there
/// is none.
int descriptorConnectedTo(const std::string& name) {
    for (int descriptor = 0; descriptor < 1024; ++descriptor) {
        sockaddr_un peer{};
        socklen_t size = sizeof peer;
        if (::getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &size) == 0 &&
            peer.sun_family == AF_UNIX && name == peer.sun_path) {
            return descriptor;
        }
    }
    return -1;
}

/// Returns how long a call waits, as `option` of the socket says; zero is without limit.
milliseconds limitOf(int descriptor, int option) {
    timeval limit{};
    socklen_t size = sizeof limit;
    EXPECT_EQ(::getsockopt(descriptor, SOL_SOCKET, option, &limit, &size), 0);
    return std::chrono::seconds{limit.tv_sec} +
           std::chrono::duration_cast<milliseconds>(std::chrono::microseconds{limit.tv_usec});
}

/// Lets SIGUSR1 interrupt calls while this object lives.
class InterruptingSignal {
public:
    InterruptingSignal() {
        struct sigaction action{};
        action.sa_handler = [](int) {};
        ::sigaction(SIGUSR1, &action, &before_);
    }
    InterruptingSignal(const InterruptingSignal&) = delete;
    InterruptingSignal& operator=(const InterruptingSignal&) = delete;
    ~InterruptingSignal() { ::sigaction(SIGUSR1, &before_, nullptr); }

private:
    struct sigaction before_{};
};

class LocalSocketTest : public testing::Test {
protected:
    /// Connects to a host that writes a text when told to and hangs up, reads that on a thread of
    /// its own, and returns what was read. Before the host is told, `meanwhile` is called with the
    /// thread and the descriptor.
    template <typename Meanwhile>
    std::string read(milliseconds patience, const std::string& text, Meanwhile meanwhile) {
        std::promise<void> told;
        const ScriptedHost host{path_, [&](int connection) {
                                    told.get_future().wait();
                                    answerWith(connection, text);
                                }};
        const auto socket = LocalSocket::connect(path_.native(), patience);
        EXPECT_TRUE(socket);
        const int descriptor = descriptorConnectedTo(path_);
        std::string found;
        std::thread reader{[&] {
            std::array<char, 16> bytes{};
            found.assign(bytes.data(), socket->read(bytes));
        }};
        meanwhile(reader, descriptor);
        told.set_value();
        reader.join();
        return found;
    }

    /// Interrupts a thread that reads until it has taken up what is left of its time.
    static void interrupt(std::thread& reader, int descriptor, milliseconds patience) {
        EXPECT_TRUE(eventually([&] { return limitOf(descriptor, SO_RCVTIMEO) == patience; }));
        EXPECT_TRUE(eventually([&] {
            ::pthread_kill(reader.native_handle(), SIGUSR1);
            return limitOf(descriptor, SO_RCVTIMEO) < patience;
        })) << "it does not wait for the rest of the time";
        EXPECT_GT(limitOf(descriptor, SO_RCVTIMEO), patience - 60s);
    }

    TemporaryFolder folder_;
    std::filesystem::path path_ = folder_.path() / "host.sock";
};

} // namespace

TEST_F(LocalSocketTest, IsNotInheritedByPrograms) {
    read(1min, "",
         [](std::thread&, int descriptor) { EXPECT_EQ(::fcntl(descriptor, F_GETFD), FD_CLOEXEC); });
}

TEST_F(LocalSocketTest, LimitsReadingToTheMillisecondAndNotWriting) {
    constexpr milliseconds patience = 60'500ms;
    EXPECT_EQ(read(patience, "a",
                   [&](std::thread&, int descriptor) {
                       EXPECT_TRUE(eventually(
                           [&] { return limitOf(descriptor, SO_RCVTIMEO) == patience; }));
                       EXPECT_EQ(limitOf(descriptor, SO_SNDTIMEO), 0ms);
                   }),
              "a");
}

TEST_F(LocalSocketTest, ASignalDoesNotEndTheWait) {
    const InterruptingSignal signal;
    EXPECT_EQ(
        read(10min, "yes",
             [](std::thread& reader, int descriptor) { interrupt(reader, descriptor, 10min); }),
        "yes");
}

TEST_F(LocalSocketTest, AHangUpAfterASignalEndsIt) {
    const InterruptingSignal signal;
    EXPECT_EQ(
        read(10min, "",
             [](std::thread& reader, int descriptor) { interrupt(reader, descriptor, 10min); }),
        "");
}
