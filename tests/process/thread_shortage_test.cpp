// More questions than the system has threads for: they take turns, and delay nothing else.

#include "tests/process/ServerUnderTest.hpp"
#include "tests/support/ScriptedHost.hpp"

#include <csignal>
#include <gtest/gtest.h>
#include <latch>
#include <set>
#include <thread>
#include <unistd.h>

using namespace velmiro::test;
using namespace std::chrono_literals;
namespace fs = std::filesystem;

namespace {

/// Returns a user with no other processes, a new one for each run of these tests.
std::string user() {
    return std::to_string(20'000 + ::getpid() % 40'000);
}

/// Returns options that run a program as that user, with a limit on the number of threads.
ChildProcess::Options limited(ChildProcess::Options options, int threads) {
    std::vector<std::string> before{"/usr/bin/setpriv",  "--reuid=" + user(),
                                    "--regid=" + user(), "--clear-groups",
                                    "/usr/bin/prlimit",  "--nproc=" + std::to_string(threads)};
    options.arguments.insert(options.arguments.begin(), before.begin(), before.end());
    return options;
}

/// Releases whoever waits at a latch, at the latest on destruction, so that a failed test ends.
class CountedDownAtTheEnd {
public:
    explicit CountedDownAtTheEnd(std::latch& latch) : latch_{latch} {}
    CountedDownAtTheEnd(const CountedDownAtTheEnd&) = delete;
    CountedDownAtTheEnd& operator=(const CountedDownAtTheEnd&) = delete;
    ~CountedDownAtTheEnd() { now(); }
    void now() const {
        if (!latch_.try_wait()) {
            latch_.count_down();
        }
    }

private:
    std::latch& latch_;
};

class ThreadShortage : public testing::Test {
protected:
    TemporaryFolder home;

    void SetUp() override {
        ChildProcess::Options nothing;
        nothing.arguments = {"/usr/bin/true"};
        if (::geteuid() != 0 || ChildProcess{limited(nothing, 1)}.waitForEnd() != 0) {
            GTEST_SKIP() << "only root can become a user with no other processes";
        }
        // That user needs a folder to enter, and a program there.
        fs::permissions(home.path(),
                        fs::perms::owner_all | fs::perms::others_exec | fs::perms::others_read);
        fs::copy_file(SERVER_BINARY, home.path() / "velmiro_mcp");
    }
    [[nodiscard]] ChildProcess::Options limitedServer(int threads) const {
        auto options = serverIn(home);
        options.arguments = {(home.path() / "velmiro_mcp").string()};
        return limited(std::move(options), threads);
    }
};

} // namespace

TEST_F(ThreadShortage, WaitingQuestionsHoldUpNothing) {
    constexpr int most = 60;
    constexpr int count = 200;
    const fs::path socket = home.path() / "approval.sock";
    std::latch release{1};
    const ScriptedHost host{socket, [&](int connection) {
                                readQuestion(connection);
                                release.wait();
                                answerWith(connection, "{\"allow\":false}\n");
                            }};
    const CountedDownAtTheEnd released{release};
    fs::permissions(socket, fs::perms::all);
    ChildProcess server{limitedServer(most)};
    for (int i = 1; i <= count; ++i) {
        server.writeLine(creation(i));
    }
    // Every available thread asks, except the few that read, watch and do the rest.
    EXPECT_TRUE(eventually([&] { return host.accepted() >= most - 10; })) << host.accepted();
    for (int i = 0; i < 100; ++i) {
        server.writeLine(ping(5000 + i));
        ASSERT_EQ(server.readLine(), pong(5000 + i));
        server.writeLine(callLine(9000, "calendar_list_events", "{}"));
        const auto listed = server.readLine();
        ASSERT_TRUE(listed);
        ASSERT_TRUE(listed->starts_with(R"({"id":9000,)")) << *listed;
    }
    EXPECT_LE(server.threadCount(), std::size_t{most});
    EXPECT_LT(host.accepted(), std::size_t{count});
    released.now();
    std::set<std::string> replies;
    for (int i = 0; i < count; ++i) {
        const auto reply = server.readLine();
        ASSERT_TRUE(reply) << i;
        EXPECT_NE(reply->find("did not allow"), std::string::npos) << *reply;
        replies.insert(*reply);
    }
    EXPECT_EQ(replies.size(), std::size_t{count});
    EXPECT_EQ(host.accepted(), std::size_t{count}); // each question was asked, none was dropped
    server.closeInput();
    EXPECT_EQ(server.waitForEnd(), 0);
}

TEST_F(ThreadShortage, OneThreadBesideTheReaderDoesAll) {
    ChildProcess server{limitedServer(2)};
    constexpr int count = 50;
    for (int i = 0; i < count; ++i) {
        server.writeLine(creation(2 * i)); // there is no host to ask
        server.writeLine(callLine(2 * i + 1, "contacts_search", R"({"query":"x"})"));
    }
    server.closeInput();
    std::set<std::string> replies;
    while (const auto reply = server.readLine()) {
        EXPECT_TRUE(reply->find("did not allow") != std::string::npos ||
                    reply->find(R"(\"contacts\" : [])") != std::string::npos)
            << *reply;
        replies.insert(*reply);
    }
    EXPECT_EQ(replies.size(), std::size_t{2} * count);
    EXPECT_EQ(server.waitForEnd(), 0);
}

TEST_F(ThreadShortage, TheFirstThreadIsAwaitedUntilTheSystemHasOne) {
    ChildProcess::Options sleeping;
    sleeping.arguments = {"/usr/bin/sleep", "1000"};
    ChildProcess other{limited(sleeping, 2)};
    const auto isAsleep = [&] {
        return readFile("/proc/" + std::to_string(other.pid()) + "/comm") == "sleep\n";
    };
    ASSERT_TRUE(eventually(isAsleep));
    ChildProcess server{limitedServer(2)};
    server.writeLine(ping(1));
    ASSERT_EQ(server.readLine(), pong(1));
    server.writeLine(callLine(2, "contacts_search", R"({"query":"x"})"));
    std::this_thread::sleep_for(200ms);
    EXPECT_EQ(server.threadCount(), 1U);
    other.signal(SIGKILL);
    ASSERT_TRUE(other.waitForEnd());
    const auto reply = server.readLine();
    ASSERT_TRUE(reply);
    EXPECT_TRUE(reply->starts_with(R"({"id":2,)")) << *reply;
    server.closeInput();
    EXPECT_EQ(server.waitForEnd(), 0);
}
