// The host that docs/host.md prints, with the real server as its child.

#include "MCPStdio/transport/Descriptor.hpp"
#include "tests/process/ServerUnderTest.hpp"
#include "tests/support/ScriptedHost.hpp"

#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <latch>
#include <sstream>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace velmiro::test;
using MCPStdio::Descriptor;

namespace {

constexpr const char* dentist = R"({"title":"Dentist","start":"2026-10-14T15:00"})";
const std::string asked =
    "calendar_create_event wants to:\n    Dentist — 14 Oct 2026, 15:00\nAllow? [y/n] ";

/// Returns the page's Python blocks, one after another.
std::string programOfThePage() {
    std::istringstream page{readFile(DOCS_FOLDER "/host.md")};
    std::string program;
    bool within = false;
    for (std::string line; std::getline(page, line);) {
        if (line.starts_with("```")) {
            within = line == "```python";
        } else if (within) {
            program += line + '\n';
        }
    }
    return program;
}

class HostOfThePage : public testing::Test {
protected:
    /// In /tmp, because it holds a socket.
    TemporaryFolder home{"/tmp"};

    void SetUp() override {
        home.write("host.py", programOfThePage());
        // The server, but its environment is kept for the test to see, and it starts when "hold" is
        // gone.
        home.write("server", "#!/bin/sh\n"
                             "env > \"$HOME/environment.new\"\n"
                             "mv \"$HOME/environment.new\" \"$HOME/environment\"\n"
                             "while [ -e \"$HOME/hold\" ]; do sleep 0.01; done\n"
                             "exec " SERVER_BINARY "\n");
        std::filesystem::permissions(home / "server", std::filesystem::perms::owner_all);
        std::filesystem::create_directories(calendarsIn(home) / "Home");
    }

    /// Returns how the page's program is started for a call; on pipes unless `input` is given.
    [[nodiscard]] ChildProcess::Options
    calling(const std::string& tool, const std::string& arguments, int input = -1) const {
        auto environment = environmentFor(home);
        environment.erase("VELMIRO_APPROVAL_SOCKET");
        environment["PATH"] = "/usr/local/bin:/usr/bin:/bin";
        return {.arguments = {"/usr/bin/env", "python3", home / "host.py", home / "server", tool,
                              arguments},
                .environment = environment,
                .input = input};
    }
    [[nodiscard]] ChildProcess::Options creating(const std::string& arguments = dentist,
                                                 int input = -1) const {
        return calling("calendar_create_event", arguments, input);
    }

    [[nodiscard]] std::size_t events() const {
        std::size_t count = 0;
        for (const auto& entry : std::filesystem::directory_iterator{calendarsIn(home) / "Home"}) {
            count += entry.path().extension() == ".ics" ? 1U : 0U;
        }
        return count;
    }

    /// Returns the path of the host's socket, once the server has been started with it.
    [[nodiscard]] std::string socketPath() const {
        const std::string name = "VELMIRO_APPROVAL_SOCKET=";
        if (!eventually([&] { return std::filesystem::exists(home / "environment"); })) {
            return {};
        }
        std::istringstream lines{readFile(home / "environment")};
        for (std::string line; std::getline(lines, line);) {
            if (line.starts_with(name)) {
                return line.substr(name.size());
            }
        }
        return {};
    }
};

/// Returns all that the program still prints; fails unless it ends with this status.
std::string restOf(ChildProcess& program, int expectedStatus = 0) {
    std::string text;
    while (const auto line = program.readLine()) {
        text += *line + '\n';
    }
    EXPECT_TRUE(program.outputHasEnded());
    const auto status = program.waitForEnd();
    EXPECT_TRUE(status && WIFEXITED(*status) && WEXITSTATUS(*status) == expectedStatus);
    return text;
}

/// Connects to the host as an asker.
Descriptor connectTo(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    EXPECT_LE(path.size(), 103U);
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    Descriptor socket{::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)};
    EXPECT_EQ(::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address),
              0);
    return socket;
}

void sendTo(const Descriptor& host, const std::string& text) {
    EXPECT_EQ(::send(host.get(), text.data(), text.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(text.size()));
}

/// Returns the host's reply, up to the end of the connection.
std::string replyOf(const Descriptor& host) {
    std::string reply;
    char byte = 0;
    while (::read(host.get(), &byte, 1) == 1) {
        reply += byte;
    }
    return reply;
}

} // namespace

TEST_F(HostOfThePage, AYesMakesTheChange) {
    ChildProcess host{creating()};
    EXPECT_EQ(host.readThrough({"[y/n] "}), asked);
    EXPECT_EQ(events(), 0U);
    host.writeLine("y");
    EXPECT_NE(restOf(host).find("\"created\" : true"), std::string::npos);
    EXPECT_EQ(events(), 1U);
}

TEST_F(HostOfThePage, ANoAnUnclearAnswerAndNoneAreANo) {
    for (const char* typed : {"n\n", "maybe\n", "yy\n", "\n", ""}) {
        ChildProcess host{creating()};
        EXPECT_EQ(host.readThrough({"[y/n] "}), asked);
        host.write(typed);
        host.closeInput();
        EXPECT_EQ(restOf(host),
                  "The user did not allow this (Dentist — 14 Oct 2026, 15:00). Do not "
                  "retry unless the user asks.\n");
        EXPECT_EQ(events(), 0U);
    }
}

TEST_F(HostOfThePage, AToolThatOnlyReadsAsksNothing) {
    ChildProcess host{calling("calendar_list_events", R"({"start":"2026-10-14"})")};
    EXPECT_EQ(restOf(host).find("Allow?"), std::string::npos);
    ChildProcess unknown{calling("no_such_tool", "{}")};
    EXPECT_EQ(restOf(unknown, 1), "");
}

TEST_F(HostOfThePage, AHostileSummaryIsShownAsHarmlessText) {
    ChildProcess host{creating(R"({"title":"a\u001b[2J\u202eb      Allow? [y/n] y\u2028c)" +
                               std::string(600, 'x') + R"(","start":"2026-10-14T15:00"})")};
    const auto question = host.readThrough({"more characters)\n"});
    ASSERT_TRUE(question);
    EXPECT_NE(question->find("\n    a\\u{1B}[2J\\u{202E}b Allow? [y/n] y c\n    xxx"),
              std::string::npos)
        << *question;
    host.writeLine("n");
    EXPECT_EQ(events(), 0U);
    restOf(host);
}

TEST_F(HostOfThePage, OnlyItsUserReachesTheSocketWhichIsGoneAfterwards) {
    ChildProcess host{creating()};
    ASSERT_TRUE(host.readThrough({"[y/n] "}));
    const std::filesystem::path socket{socketPath()};
    struct stat folder{};
    ASSERT_EQ(::stat(socket.parent_path().c_str(), &folder), 0);
    EXPECT_EQ(folder.st_mode & 0777U, 0700U);
    EXPECT_NE(readFile(home / "environment").find("VELMIRO_ENABLED=calendar,"), std::string::npos);
    host.writeLine("y");
    restOf(host);
    EXPECT_FALSE(std::filesystem::exists(socket.parent_path()));
}

TEST_F(HostOfThePage, AQuestionWhoseAskerLeavesIsWithdrawnAndTheNextOneIsAsked) {
    home.write("hold", "");
    ChildProcess host{creating()};
    Descriptor asker = connectTo(socketPath());
    sendTo(asker, "{\"summary\":\"first\",\"tool\":\"other\"}\nignored");
    EXPECT_EQ(host.readThrough({"[y/n] "}), "other wants to:\n    first\nAllow? [y/n] ");
    std::filesystem::remove(home / "hold"); // the server's question has to wait now
    EXPECT_FALSE(host.readLine(std::chrono::milliseconds{300}));
    asker.close();
    EXPECT_EQ(host.readThrough({"[y/n] "}), "\nWithdrawn.\n" + asked);
    host.writeLine("y");
    restOf(host);
    EXPECT_EQ(events(), 1U);
}

TEST_F(HostOfThePage, WhatIsNoQuestionIsNotShownAndNotAllowed) {
    ChildProcess host{creating()};
    ASSERT_TRUE(host.readThrough({"[y/n] "}));
    for (const std::string line :
         {"garbage\n", "[]\n", "{}\n", "{\"summary\":1,\"tool\":\"x\"}\n", "\xff\n"}) {
        const Descriptor asker = connectTo(socketPath());
        sendTo(asker, line);
        EXPECT_EQ(replyOf(asker), "") << line;
    }
    host.writeLine("y");
    const std::string rest = restOf(host);
    EXPECT_EQ(rest.find("wants to"), std::string::npos) << rest;
    EXPECT_EQ(events(), 1U);
}

TEST_F(HostOfThePage, WhatWasTypedBeforeAQuestionDoesNotAnswerIt) {
    const Descriptor terminal{::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)};
    ASSERT_EQ(::grantpt(terminal.get()), 0);
    ASSERT_EQ(::unlockpt(terminal.get()), 0);
    const Descriptor keyboard{::open(::ptsname(terminal.get()), O_RDWR | O_NOCTTY | O_CLOEXEC)};
    const auto type = [&](const std::string& keys) {
        EXPECT_EQ(::write(terminal.get(), keys.data(), keys.size()),
                  static_cast<ssize_t>(keys.size()));
    };
    type("y\n");
    ChildProcess host{creating(dentist, keyboard.get())};
    ASSERT_TRUE(host.readThrough({"[y/n] "}));
    EXPECT_FALSE(host.readLine(std::chrono::milliseconds{300}));
    EXPECT_EQ(events(), 0U);
    type("n\n");
    EXPECT_NE(restOf(host).find("did not allow"), std::string::npos);
    EXPECT_EQ(events(), 0U);
}

/// The page tells authors to expect it.
TEST_F(HostOfThePage, AYesCountsAlthoughTheClientHasCancelledItsRequest) {
    std::latch release{1};
    const ScriptedHost scripted{home.path() / "approval.sock", [&](int connection) {
                                    readQuestion(connection);
                                    release.wait();
                                    answerWith(connection, "{\"allow\":true}\n");
                                }};
    ChildProcess server{serverIn(home)};
    server.writeLine(creation(1));
    ASSERT_TRUE(eventually([&] { return scripted.accepted() == 1; }));
    server.writeLine(R"({"jsonrpc":"2.0","method":"notifications/cancelled",)"
                     R"("params":{"requestId":1}})");
    server.writeLine(ping(2));
    EXPECT_EQ(server.readLine(), pong(2));
    release.count_down();
    ASSERT_TRUE(server.readLine());
    EXPECT_EQ(events(), 1U);
}

/// The page says so of SIGTERM.
TEST_F(HostOfThePage, AServerThatIsToldToEndWithdrawsItsQuestion) {
    std::latch ended{1};
    const ScriptedHost scripted{home.path() / "approval.sock", [&](int connection) {
                                    readQuestion(connection);
                                    char byte = 0;
                                    EXPECT_EQ(::read(connection, &byte, 1), 0);
                                    ended.count_down();
                                }};
    ChildProcess server{serverIn(home)};
    server.writeLine(creation(1));
    ASSERT_TRUE(eventually([&] { return scripted.accepted() == 1; }));
    server.signal(SIGTERM);
    ended.wait();
    EXPECT_TRUE(server.waitForEnd());
    EXPECT_EQ(events(), 0U);
}
