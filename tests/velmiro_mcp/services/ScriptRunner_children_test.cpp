// The environment in which a script starts, and many scripts at the same time.

#include "velmiro_mcp/services/ScriptRunner.hpp"

#include "MCPStdio/MCPTool.hpp"
#include "MCPStdio/concurrency/SyncWait.hpp"
#include "MCPStdio/concurrency/TaskGroup.hpp"
#include "support/Eventually.hpp"
#include "support/ScopedVariable.hpp"
#include "support/TemporaryFolder.hpp"
#include "tests/support/FakeScript.hpp"
#include "tests/support/ScopedDescriptorLimit.hpp"
#include "velmiro_mcp/base/DescriptorLimit.hpp"
#include "velmiro_mcp/ports/OSAScriptPath.hpp"
#include "velmiro_mcp/services/Subprocess.hpp"

#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <future>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

using namespace velmiro;
using namespace std::chrono_literals;
using MCPStdio::JSONValue;
using MCPStdio::Task;
using velmiro::support::eventually;
using velmiro::support::ScopedVariable;
using velmiro::support::TemporaryFolder;
using velmiro::test::ample;
using velmiro::test::run;
using velmiro::test::ScopedDescriptorLimit;
using velmiro::test::steps;

namespace {

JSONValue run(const std::string& script) {
    ScriptRunner runner{FAKE_OSASCRIPT};
    return velmiro::test::run(runner, script);
}

/// Returns the descriptor that would be opened next: as a limit, it lets none be opened.
rlim_t nextDescriptor() {
    const int next = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    ::close(next);
    return static_cast<rlim_t>(next);
}

/// Counts the calls that returned the expected value.
class Outcomes {
public:
    explicit Outcomes(ScriptRunner& runner) : runner_{runner} {}

    Task<void> runAll(int count, std::string script, JSONValue expected) {
        MCPStdio::TaskGroup group;
        for (int i = 0; i < count; ++i) {
            group.add(runOne(script, expected));
        }
        co_await group.finish();
    }
    [[nodiscard]] int good() const { return good_; }

private:
    Task<void> runOne(std::string script, JSONValue expected) {
        try {
            auto running = runner_.run(std::move(script), {}, ample);
            const auto value = co_await std::move(running);
            good_ += value == expected ? 1 : 0;
        } catch (const MCPStdio::MCPToolError& error) {
            ADD_FAILURE() << error.message;
        }
    }

    ScriptRunner& runner_;
    std::atomic<int> good_{0};
};

} // namespace

TEST(ScriptChildren, HaveTheThreeStandardDescriptorsAndNoOther) {
    // Descriptors that somebody opened without close-on-exec.
    const int careless = ::open("/dev/null", O_RDONLY); // NOLINT(android-cloexec-open)
    const int high = ::fcntl(careless, F_DUPFD, 700);
    EXPECT_EQ(run("descriptors"), JSONValue::array(0, 1, 2));
    ::close(careless);
    ::close(high);
}

TEST(ScriptChildren, HaveTheirSignalsAsAFreshProgramDoes) {
    for (const int signal : {SIGPIPE, SIGTERM, SIGCHLD, SIGUSR1, SIGHUP}) {
        std::signal(signal, SIG_IGN);
    }
    auto signals = std::async(std::launch::async, [] {
        sigset_t all;
        sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, nullptr);
        Subprocess child{FAKE_OSASCRIPT, {FAKE_OSASCRIPT, "-l", "JavaScript", "-e", "signals"}};
        return child.readOutputToEnd();
    });
    EXPECT_EQ(signals.get(), "[]");
    for (const int signal : {SIGPIPE, SIGTERM, SIGCHLD, SIGUSR1, SIGHUP}) {
        std::signal(signal, SIG_DFL);
    }
}

TEST(ScriptChildren, LeaveTheSignalsOfThisProcessAlone) {
    std::signal(SIGUSR2, SIG_IGN);
    run("out 1");
    EXPECT_EQ(std::signal(SIGUSR2, SIG_DFL), SIG_IGN);
    sigset_t blocked;
    ::pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
    EXPECT_EQ(sigismember(&blocked, SIGTERM), 0);
}

TEST(ScriptChildren, HaveTheDescriptorLimitThisProcessWasStartedWith) {
    const ScopedDescriptorLimit startedWith{123};
    raiseDescriptorLimit();
    rlimit raised{};
    ::getrlimit(RLIMIT_NOFILE, &raised);
    // Where infinity is refused as a soft limit, this much is not.
    EXPECT_TRUE(raised.rlim_cur == raised.rlim_max || raised.rlim_cur == 10'240) << raised.rlim_cur;
    raiseDescriptorLimit(); // only the first call remembers the limit
    EXPECT_EQ(run("descriptor-limit"), JSONValue{123});
}

TEST(ScriptChildren, HaveOurEnvironmentFolderAndInput) {
    const ScopedVariable variable{"FAKE_VARIABLE", "as it is"};
    const auto seen = run("surroundings");
    EXPECT_EQ(*seen["variable"], JSONValue{"as it is"});
    EXPECT_EQ(*seen["folder"], JSONValue{std::filesystem::current_path().string()});
    struct stat input{};
    ::fstat(0, &input);
    EXPECT_EQ(*seen["input"], JSONValue{input.st_ino});
}

TEST(ScriptChildren, AreAllReaped) {
    ScriptRunner runner{FAKE_OSASCRIPT};
    Outcomes outcomes{runner};
    MCPStdio::syncWait(outcomes.runAll(20, "out 1", 1));
    EXPECT_EQ(outcomes.good(), 20);
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

TEST(ScriptChildren, OneThatHangsDelaysNoneOfAHundredAndNinetyNine) {
    const TemporaryFolder folder;
    const std::string hangs = (folder.path() / "hangs").string();
    const std::string go = (folder.path() / "go").string();
    ScriptRunner runner{FAKE_OSASCRIPT};
    auto late = std::async(std::launch::async, [&] {
        return run(runner, steps({"mark " + hangs, "await " + go, "out 2"}));
    });
    Outcomes before{runner};
    auto many =
        std::async(std::launch::async, [&] { MCPStdio::syncWait(before.runAll(199, "out 1", 1)); });
    EXPECT_EQ(many.wait_for(ample), std::future_status::ready);
    EXPECT_EQ(before.good(), 199);
    EXPECT_TRUE(eventually([&] { return std::filesystem::exists(hangs); }));
    EXPECT_EQ(late.wait_for(0s), std::future_status::timeout);
    folder.write("go", "");
    EXPECT_EQ(late.get(), JSONValue{2});
}

TEST(ScriptChildren, ThatRefuseToEndNoLongerCount) {
    const TemporaryFolder folder;
    const std::string go = (folder.path() / "go").string();
    ScriptRunner runner{FAKE_OSASCRIPT};
    std::vector<std::future<JSONValue>> refusing;
    for (std::size_t i = 0; i < ScriptRunner::mostAtOnce; ++i) {
        const auto ready = (folder.path() / std::to_string(i)).string();
        refusing.push_back(std::async(std::launch::async, [&, ready] {
            return MCPStdio::syncWait(runner.run(
                steps({"ignore-termination", "mark " + ready, "await " + go, "out 1"}), {}, 2s));
        }));
        EXPECT_TRUE(eventually([&] { return std::filesystem::exists(ready); }));
    }
    auto next = std::async(std::launch::async, [&] { return run(runner, "out 2"); });
    EXPECT_EQ(next.wait_for(ample), std::future_status::ready);
    folder.write("go", "");
    for (auto& call : refusing) {
        EXPECT_EQ(call.get(), JSONValue{1});
    }
    EXPECT_EQ(next.get(), JSONValue{2});
}

TEST(ScriptChildren, StartWhenAShortageOfDescriptorsIsOver) {
    std::future<JSONValue> value;
    {
        const ScopedDescriptorLimit none{nextDescriptor()};
        value = std::async(std::launch::async, [] { return run(steps({"out 1"})); });
        EXPECT_EQ(value.wait_for(200ms), std::future_status::timeout);
    }
    EXPECT_EQ(value.get(), JSONValue{1});
}

TEST(ScriptChildren, AShortageOfDescriptorsIsReportedAfterAsLongAsTheScriptMayTake) {
    ScriptRunner runner{FAKE_OSASCRIPT};
    std::string failure;
    const auto begin = std::chrono::steady_clock::now();
    {
        const ScopedDescriptorLimit none{nextDescriptor()};
        try {
            MCPStdio::syncWait(runner.run("out 1", {}, 100ms));
        } catch (const MCPStdio::MCPToolError& error) {
            failure = error.message;
        }
    }
    const auto passed = std::chrono::steady_clock::now() - begin;
    EXPECT_EQ(failure, "osascript could not start: Too many open files");
    EXPECT_GE(passed, 100ms);
}

TEST(ScriptChildren, AreReadAndAwaitedToTheirEndsBetweenSignals) {
    struct sigaction handled{};
    handled.sa_handler = [](int) {}; // without SA_RESTART: calls are interrupted
    struct sigaction before{};
    ::sigaction(SIGUSR1, &handled, &before);
    std::atomic<bool> ended{false};
    std::string output;
    bool succeeded = false;
    std::thread reading{[&] {
        Subprocess process{"/bin/sh",
                           {"/bin/sh", "-c", "for i in 1 2 3 4 5; do echo $i; sleep 0.02; done"}};
        output = process.readOutputToEnd();
        succeeded = process.waitUntilExit();
        ended = true;
    }};
    while (!ended) {
        ::pthread_kill(reading.native_handle(), SIGUSR1);
        std::this_thread::sleep_for(1ms);
    }
    reading.join();
    ::sigaction(SIGUSR1, &before, nullptr);
    EXPECT_EQ(output, "1\n2\n3\n4\n5\n");
    EXPECT_TRUE(succeeded);
}

TEST(OSAScriptPath, IsBesideTheProgramWhereTheSystemHasNone) {
    const std::filesystem::path ofTheSystem = "/usr/bin/osascript";
    if (std::filesystem::exists(ofTheSystem)) {
        EXPECT_EQ(osascriptPath(), ofTheSystem);
        return;
    }
    const auto program = std::filesystem::read_symlink("/proc/self/exe");
    EXPECT_EQ(osascriptPath(),
              program.parent_path().parent_path() / "libexec" / "velmiro" / "osascript");
}
