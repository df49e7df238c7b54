// Scripts in a process without free descriptors. Not unit tests: the sanitizers, under which those
// run, need descriptors themselves.

#include "MCPStdio/MCPTool.hpp"
#include "MCPStdio/concurrency/SyncWait.hpp"
#include "MCPStdio/transport/Descriptor.hpp"
#include "support/Eventually.hpp"
#include "support/TemporaryFolder.hpp"
#include "tests/support/FakeScript.hpp"
#include "tests/support/ScopedDescriptorLimit.hpp"
#include "velmiro_mcp/services/ScriptRunner.hpp"

#include <fcntl.h>
#include <filesystem>
#include <future>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

using namespace velmiro;
using namespace std::chrono_literals;
using MCPStdio::Descriptor;
using MCPStdio::JSONValue;
using velmiro::support::eventually;
using velmiro::support::TemporaryFolder;
using velmiro::test::run;
using velmiro::test::ScopedDescriptorLimit;
using velmiro::test::steps;

TEST(ScriptShortage, WaitForDescriptorsThatOthersHave) {
    ScriptRunner runner{FAKE_OSASCRIPT};
    const ScopedDescriptorLimit few{200};
    std::vector<Descriptor> taken;
    while (Descriptor next{::open("/dev/null", O_RDONLY | O_CLOEXEC)}) {
        taken.push_back(std::move(next));
    }
    ASSERT_EQ(errno, EMFILE);
    auto call = std::async(std::launch::async, [&] { return run(runner, "out 1"); });
    EXPECT_EQ(call.wait_for(100ms), std::future_status::timeout);
    taken.clear();
    EXPECT_EQ(call.get(), JSONValue{1});
}

TEST(ScriptShortage, FailToStartWhenDescriptorsAreNeverToBeHad) {
    ScriptRunner runner{FAKE_OSASCRIPT};
    for (rlim_t limit = 3; limit <= 12; ++limit) {
        std::string outcome;
        {
            const ScopedDescriptorLimit few{limit};
            try {
                outcome = MCPStdio::syncWait(runner.run("out 1", {}, 50ms)).jsonString();
            } catch (const MCPStdio::MCPToolError& error) {
                outcome = error.message;
            }
        }
        const std::string failure = "osascript could not start: Too many open files";
        EXPECT_TRUE(outcome == failure || (outcome == "1" && limit > 6)) << limit << outcome;
    }
}

TEST(ScriptShortage, AreAwaitedAlsoWhereThatTakesADescriptorNobodyHas) {
    const TemporaryFolder folder;
    const std::string ready = (folder.path() / "ready").string();
    const std::string close = (folder.path() / "close").string();
    const std::string go = (folder.path() / "go").string();
    ScriptRunner runner{FAKE_OSASCRIPT};
    auto call = std::async(std::launch::async, [&] {
        return run(runner, steps({"out 1", "mark " + ready, "await " + close, "close-out",
                                  "close-err", "await " + go, "exit 0"}));
    });
    EXPECT_TRUE(eventually([&] { return std::filesystem::exists(ready); }));
    const ScopedDescriptorLimit none{3};
    std::filesystem::create_directory(close); // which needs none
    EXPECT_EQ(call.wait_for(100ms), std::future_status::timeout);
    std::filesystem::create_directory(go);
    EXPECT_EQ(call.get(), JSONValue{1});
}

TEST(ScriptShortage, DoesNotKeepAScriptFromEndingInTime) {
    const TemporaryFolder folder;
    const std::string ready = (folder.path() / "ready").string();
    const std::string never = (folder.path() / "never").string();
    ScriptRunner runner{FAKE_OSASCRIPT};
    auto call = std::async(std::launch::async, [&] {
        const std::string script =
            steps({"mark " + ready, "close-out", "close-err", "await " + never});
        try {
            return MCPStdio::syncWait(runner.run(script, {}, 1s)).jsonString();
        } catch (const MCPStdio::MCPToolError& error) {
            return error.message;
        }
    });
    EXPECT_TRUE(eventually([&] { return std::filesystem::exists(ready); }));
    const ScopedDescriptorLimit none{3};
    EXPECT_EQ(call.get(), "the script failed");
}
