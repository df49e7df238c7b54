#include "velmiro_mcp/services/Subprocess.hpp"

#include <csignal>
#include <ctime>
#include <gtest/gtest.h>
#include <string>
#include <sys/wait.h>

using namespace velmiro;
using namespace std::chrono_literals;

namespace {

using Clock = Subprocess::Clock;

Subprocess shell(const std::string& command) {
    return {"/bin/sh", {"/bin/sh", "-c", command}};
}

/// Returns whether this process used little processor time since `before`.
bool wasIdleSince(std::clock_t before) {
    return std::clock() - before < CLOCKS_PER_SEC / 5;
}

} // namespace

TEST(ScriptProcess, IsEndedWithItsOwner) {
    const auto before = Clock::now();
    {
        const auto process = shell("exec sleep 60");
    }
    EXPECT_LT(Clock::now() - before, 30s);
    siginfo_t child{};
    EXPECT_EQ(::waitid(P_ALL, 0, &child, WEXITED | WNOHANG | WNOWAIT), -1) << "a child is left";
}

TEST(ScriptProcess, IsAwaitedAlsoWhereChildrenAreIgnored) {
    std::signal(SIGCHLD, SIG_IGN);
    auto process = shell("exit 0");
    EXPECT_TRUE(process.waitUntilExit());
    std::signal(SIGCHLD, SIG_DFL);
}

TEST(ScriptProcess, IsAwaitedWithoutTakingProcessorTime) {
    const auto before = std::clock();
    auto process = shell("sleep 1; exec >&- 2>&-; sleep 1");
    process.readOutputToEnd();
    process.waitUntilExit();
    EXPECT_TRUE(wasIdleSince(before));
}

TEST(ScriptProcess, IsAwaitedUntilItsDeadlineWithoutTakingProcessorTime) {
    const auto before = std::clock();
    auto process = shell("exec sleep 60");
    process.terminateAt(Clock::now() + 1s, [] {});
    process.readOutputToEnd();
    EXPECT_FALSE(process.waitUntilExit());
    EXPECT_TRUE(wasIdleSince(before));
}

TEST(ScriptProcess, IsToldOnceThatItsTimeIsUpAndAwaitedWithoutTakingProcessorTime) {
    const auto before = std::clock();
    auto process = shell("trap 'echo told' TERM; echo ready; "
                         "for i in 1 2 3 4 5 6 7 8 9 10; do sleep 0.1; done");
    int passed = 0;
    process.terminateAt(Clock::now() + 300ms, [&] { ++passed; });
    EXPECT_EQ(process.readOutputToEnd(), "ready\ntold\n");
    EXPECT_TRUE(process.waitUntilExit());
    EXPECT_EQ(passed, 1);
    EXPECT_TRUE(wasIdleSince(before));
}
