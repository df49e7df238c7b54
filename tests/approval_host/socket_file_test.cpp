#include "tests/approval_host/Asker.hpp"
#include "tests/approval_host/HostProcess.hpp"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <memory>
#include <vector>

namespace velmiro::host::test {
namespace {

Start listenAt(const std::string& path) {
    return {.arguments = {"--yes", "--socket", path}};
}

mode_t modeOf(const std::string& path) {
    struct stat found{};
    EXPECT_EQ(::lstat(path.c_str(), &found), 0) << path;
    return found.st_mode & 07777U;
}

bool allowsAt(const std::string& path) {
    Asker asker{path};
    asker.ask("notes_create", "Shopping list");
    return asker.reply() == yes;
}

TEST(SocketFile, LiesInFoldersThatOnlyTheirOwnerEntersWhateverTheMask) {
    const TemporaryFolder home;
    const std::string path = home / "a/b/approval.sock";
    HostProcess host{listenAt(path)}; // starts with a umask of 0
    host.waitFor("listening at " + path + "\n");
    EXPECT_EQ(modeOf(home / "a"), 0700U);
    EXPECT_EQ(modeOf(home / "a/b"), 0700U);
    EXPECT_EQ(modeOf(path), 0600U);
    EXPECT_TRUE(allowsAt(path));
}

TEST(SocketFile, LeavesTheModeOfAFolderThatIsThere) {
    const TemporaryFolder home;
    std::filesystem::create_directory(home / "shared");
    ASSERT_EQ(::chmod((home / "shared").c_str(), 0755), 0);
    HostProcess host{listenAt(home / "shared/s")};
    host.waitFor("listening at");
    EXPECT_EQ(modeOf(home / "shared"), 0755U);
}

TEST(SocketFile, LiesInApplicationSupportWhenNothingElseIsNamed) {
    const TemporaryFolder home;
    HostProcess host{{.arguments = {"--yes"},
                      .environment = {{"HOME", home.path()}, {"VELMIRO_APPROVAL_SOCKET", ""}}}};
    host.waitFor("listening at ");
    EXPECT_TRUE(allowsAt(home / "Library/Application Support/Velmiro/approval.sock"));
}

TEST(SocketFile, IsWhereTheEnvironmentSaysUnlessTheCommandLineSaysOtherwise) {
    const TemporaryFolder home;
    const std::map<std::string, std::string> environment{
        {"VELMIRO_APPROVAL_SOCKET", home / "named"}};
    HostProcess named{{.arguments = {"--yes"}, .environment = environment}};
    named.waitFor("listening at " + (home / "named") + '\n');
    HostProcess asked{
        {.arguments = {"--yes", "--socket", home / "asked"}, .environment = environment}};
    asked.waitFor("listening at " + (home / "asked") + '\n');
}

TEST(SocketFile, ReplacesTheOneOfAHostThatWasKilled) {
    const TemporaryFolder home;
    HostProcess killed{listenAt(home / "s")};
    killed.waitFor("listening at");
    killed.signal(SIGKILL);
    EXPECT_EQ(killed.waitForExit(), -1);
    ASSERT_TRUE(std::filesystem::is_socket(home / "s"));
    EXPECT_FALSE(Asker{home / "s"}.isConnected());

    HostProcess host{listenAt(home / "s")};
    host.waitFor("listening at");
    EXPECT_TRUE(allowsAt(home / "s"));
}

TEST(SocketFile, RefusesToReplaceTheOneOfALiveHost) {
    const TemporaryFolder home;
    HostProcess first{listenAt(home / "s")};
    first.waitFor("listening at");
    HostProcess second{listenAt(home / "s")};
    EXPECT_EQ(second.waitForExit(), 1);
    EXPECT_EQ(second.errors(),
              "approval_host: another approval host is listening at " + (home / "s") + '\n');
    EXPECT_TRUE(allowsAt(home / "s"));
}

TEST(SocketFile, RefusesToReplaceTheOneOfAHostThatHasStoppedAccepting) {
    const TemporaryFolder home;
    const Descriptor busy = bindSocket(home / "s", true);
    std::vector<std::unique_ptr<Asker>> queue;
    do {
        queue.push_back(std::make_unique<Asker>(home / "s", false));
    } while (queue.back()->isConnected());
    HostProcess host{listenAt(home / "s")};
    EXPECT_EQ(host.waitForExit(), 1);
    EXPECT_NE(host.errors().find("another approval host is listening"), std::string::npos);
}

TEST(SocketFile, NeverTouchesAFileThatIsNoSocket) {
    const TemporaryFolder home;
    std::ofstream{home / "file"} << "precious";
    std::filesystem::create_directory(home / "folder");
    std::filesystem::create_symlink(home / "nowhere", home / "link");
    for (const std::string name : {"file", "folder", "link"}) {
        HostProcess host{listenAt(home / name)};
        EXPECT_EQ(host.waitForExit(), 1);
        EXPECT_EQ(host.errors(),
                  "approval_host: " + (home / name) + " is not a socket; it is left as it is\n");
    }
    std::string content;
    std::ifstream{home / "file"} >> content;
    EXPECT_EQ(content, "precious");
    EXPECT_TRUE(std::filesystem::is_directory(home / "folder"));
    EXPECT_TRUE(std::filesystem::is_symlink(home / "link"));
}

TEST(SocketFile, HasAPathOf103BytesAtMost) {
    const TemporaryFolder home;
    const std::string longest = home / std::string(103 - home.path().native().size() - 1, 's');
    ASSERT_EQ(longest.size(), 103U);
    HostProcess host{listenAt(longest)};
    host.waitFor("listening at");
    EXPECT_TRUE(allowsAt(longest));
    HostProcess other{listenAt(longest + 's')};
    EXPECT_EQ(other.waitForExit(), 1);
    EXPECT_EQ(other.errors(), "approval_host: the socket's path has 104 bytes, and 103 is the "
                              "most: " +
                                  longest + "s\n");
}

TEST(SocketFile, SaysWhyAFolderCannotBeMade) {
    const TemporaryFolder home;
    std::ofstream{home / "file"} << "precious";
    HostProcess host{listenAt(home / "file/s")};
    EXPECT_EQ(host.waitForExit(), 1);
    EXPECT_EQ(host.errors(),
              "approval_host: cannot open the folder " + (home / "file") + ": Not a directory\n");
}

class StopSignal : public testing::TestWithParam<int> {};

TEST_P(StopSignal, RemovesTheSocketAndRefusesWhatIsOpen) {
    const TemporaryFolder home;
    HostProcess host{{.arguments = {"--socket", home / "s"}}};
    host.waitFor("listening at");
    Asker shown{home / "s"};
    shown.ask("notes_create", "Shopping list");
    host.waitFor("Allow? [y/n] ");
    Asker unfinished{home / "s"};
    unfinished.send("{\"summ");
    host.signal(GetParam());
    EXPECT_EQ(host.waitForExit(), 0);
    EXPECT_EQ(shown.reply(), no);
    EXPECT_NE(unfinished.reply(), yes);
    EXPECT_TRUE(std::filesystem::is_empty(home.path()));
}

INSTANTIATE_TEST_SUITE_P(Each, StopSignal, testing::Values(SIGINT, SIGTERM, SIGHUP));

TEST(IgnoredSignal, StaysIgnored) {
    const TemporaryFolder home;
    Start start = listenAt(home / "s");
    start.ignoredSignal = SIGHUP;
    HostProcess host{start};
    host.waitFor("listening at");
    host.signal(SIGHUP);
    EXPECT_TRUE(allowsAt(home / "s"));
    host.signal(SIGTERM);
    EXPECT_EQ(host.waitForExit(), 0);
}

TEST(SocketFile, IsLeftAloneAtTheEndWhenItIsNoLongerOurs) {
    const TemporaryFolder home;
    HostProcess host{listenAt(home / "s")};
    host.waitFor("listening at");
    std::filesystem::rename(home / "s", home / "moved");
    const Descriptor other = bindSocket(home / "s", true);
    host.signal(SIGTERM);
    EXPECT_EQ(host.waitForExit(), 0);
    EXPECT_TRUE(Asker{home / "s"}.isConnected());
}

TEST(SocketFile, IsNotTouchedWhileAnotherHostIsAboutToTakeItsPlace) {
    const TemporaryFolder home;
    bindSocket(home / "s", false);
    Descriptor lock{::open(home.path().c_str(), O_RDONLY | O_CLOEXEC)};
    ASSERT_EQ(::flock(lock.get(), LOCK_EX), 0);
    HostProcess host{listenAt(home / "s")};
    EXPECT_EQ(host.printedWithin(500), "");
    std::filesystem::remove(home / "s");
    const Descriptor other = bindSocket(home / "s", true);
    lock.close();
    EXPECT_EQ(host.waitForExit(), 1);
    EXPECT_NE(host.errors().find("another approval host is listening"), std::string::npos);
    EXPECT_TRUE(Asker{home / "s"}.isConnected());
}

TEST(SocketFile, BelongsToExactlyOneOfManyHostsThatStartAtOnce) {
    const TemporaryFolder home;
    for (int round = 0; round < 10; ++round) {
        std::filesystem::remove(home / "s");
        bindSocket(home / "s", false); // abandoned, so all hosts try to replace it
        Descriptor lock{::open(home.path().c_str(), O_RDONLY | O_CLOEXEC)};
        ASSERT_EQ(::flock(lock.get(), LOCK_EX), 0); // so that no host gets ahead of the others
        std::vector<std::unique_ptr<HostProcess>> hosts(8);
        for (auto& host : hosts) {
            host = std::make_unique<HostProcess>(listenAt(home / "s"));
        }
        lock.close();
        int listening = 0;
        for (const auto& host : hosts) {
            listening += host->listens() ? 1 : 0;
        }
        EXPECT_EQ(listening, 1);
        EXPECT_TRUE(allowsAt(home / "s"));
    }
}

} // namespace
} // namespace velmiro::host::test
