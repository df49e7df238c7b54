// The contract of every platform: its process, and those that it starts.

#include "tests/contract/PlatformUnderTest.hpp"
#include "velmiro_mcp/ports/MainQueue.hpp"
#include "velmiro_mcp/ports/OSAScriptPath.hpp"
#include "velmiro_mcp/ports/ProgramStart.hpp"
#include "velmiro_mcp/ports/SupportFolder.hpp"

#include <poll.h>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <unistd.h>

using namespace velmiro;
using velmiro::test::Ability;
using velmiro::test::whyNot;

namespace {

class ProcessContract : public test::PlatformTest {};

/// Runs a shell script and returns its exit status, or -1 if it did not exit. Appends its output to
/// `output`.
int statusOf(const std::string& script, std::string& output) {
    int ends[2];
    EXPECT_EQ(::pipe(ends), 0);
    const pid_t child = startProgram("/bin/sh", {"sh", "-c", script}, ends[1], ends[1]);
    ::close(ends[1]);
    char chunk[256];
    for (ssize_t count = 0; (count = ::read(ends[0], chunk, sizeof chunk)) > 0;) {
        output.append(chunk, static_cast<std::size_t>(count));
    }
    ::close(ends[0]);
    int status = -1;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace

TEST_F(ProcessContract, ApplicationSupportIsAFullPath) {
    const std::string path = applicationSupportDirectory();
    EXPECT_TRUE(path.starts_with('/')) << path;
    EXPECT_FALSE(path.ends_with('/')) << path;
}

TEST_F(ProcessContract, ApplicationSupportIsInTheUsersLibrary) {
    SKIP_UNLESS_ABLE(Ability::applicationSupportName);
    EXPECT_EQ(applicationSupportDirectory(),
              folder.path().string() + "/Library/Application Support");
}

TEST_F(ProcessContract, TheScriptInterpreterIsAFullPath) {
    EXPECT_TRUE(osascriptPath().ends_with("/osascript")) << osascriptPath();
    EXPECT_TRUE(osascriptPath().starts_with('/')) << osascriptPath();
}

TEST_F(ProcessContract, WorkBesideTheMainQueueIsDoneWhenTheCallReturns) {
    int done = 0;
    runBesideMainQueue([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds{20});
        ++done;
    });
    EXPECT_EQ(done, 1);
    runBesideMainQueue([&] { ++done; });
    EXPECT_EQ(done, 2);
}

TEST_F(ProcessContract, AProgramReceivesItsArgumentsAndWritesToItsDescriptors) {
    SKIP_UNLESS_ABLE(Ability::startingPrograms);
    std::string output;
    EXPECT_EQ(statusOf("echo out; echo error >&2; exit 7", output), 7);
    EXPECT_EQ(output, "out\nerror\n");
}

TEST_F(ProcessContract, AMissingProgramIsAnError) {
    SKIP_UNLESS_ABLE(Ability::startingPrograms);
    EXPECT_THROW(startProgram("/does/not/exist", {"exist"}, 1, 2), std::system_error);
}

TEST_F(ProcessContract, TheEndOfAChildCanBeWaitedForBeforeItIsReaped) {
    SKIP_UNLESS_ABLE(Ability::startingPrograms);
    const pid_t child = startProgram("/bin/sh", {"sh", "-c", "sleep 0.05"}, 1, 2);
    const int exit = openExitDescriptor(child);
    ASSERT_GE(exit, 0);
    pollfd readable{exit, POLLIN, 0};
    EXPECT_EQ(::poll(&readable, 1, 60'000), 1);
    ::close(exit);
    EXPECT_EQ(::waitpid(child, nullptr, WNOHANG), child);
}
