// A host that is killed while a question of its server is waiting for the user.

#include "support/Pipe.hpp"
#include "tests/process/ServerUnderTest.hpp"
#include "tests/support/ScriptedHost.hpp"

#include <array>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <latch>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace velmiro::test;
using velmiro::support::makePipe;
using namespace std::chrono_literals;
namespace fs = std::filesystem;

namespace {

/// While this lives, orphaned descendants become children of this process, which can then wait for
/// them.
class ScopedGuardianship {
public:
    ScopedGuardianship() { ::prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0); }
    ScopedGuardianship(const ScopedGuardianship&) = delete;
    ScopedGuardianship& operator=(const ScopedGuardianship&) = delete;
    ~ScopedGuardianship() { ::prctl(PR_SET_CHILD_SUBREAPER, 0, 0, 0, 0); }
};

bool endedByBrokenPipe(std::optional<int> status) {
    return status && WIFSIGNALED(*status) && WTERMSIG(*status) == SIGPIPE;
}

class AnOrphan : public testing::Test {
protected:
    ScopedGuardianship guardianship;
    TemporaryFolder home;
    fs::path program = home.path() / "bin" / "velmiro_mcp";
    std::string said = "{\"allow\":true}\n";
    std::latch answer{1};
    ScriptedHost host{home.path() / "approval.sock", [this](int connection) {
                          readQuestion(connection);
                          answer.wait();
                          answerWith(connection, said);
                      }};
    pid_t pid = -1;

    void SetUp() override {
        install(SERVER_BINARY, program);
        install(FAKE_OSASCRIPT, home.path() / "libexec" / "velmiro" / "osascript");
    }
    [[nodiscard]] ChildProcess::Options server() const {
        auto options = serverIn(home);
        options.arguments = {program.string()};
        return options;
    }
    /// Starts a server from a parent that sends it a call, and kills the parent when the condition
    /// holds.
    template <typename Condition>
    void losesItsParent(const ChildProcess::Options& options, const std::string& call,
                        Condition when) {
        auto identity = makePipe();
        const pid_t parent = ::fork();
        if (parent == 0) {
            const ChildProcess child{options};
            const pid_t started = child.pid();
            child.writeLine(call);
            if (::write(identity.writing.get(), &started, sizeof started) == sizeof started) {
                ::pause();
            }
            ::_exit(1);
        }
        identity.writing.close();
        ASSERT_EQ(::read(identity.reading.get(), &pid, sizeof pid), ssize_t{sizeof pid});
        EXPECT_TRUE(eventually(when));
        ::kill(parent, SIGKILL);
        ASSERT_EQ(::waitpid(parent, nullptr, 0), parent);
    }
    void TearDown() override {
        answer.count_down(answer.try_wait() ? 0 : 1);
        if (pid > 0) {
            ::kill(pid, SIGKILL);
            ::waitpid(pid, nullptr, 0);
        }
    }
    void losesItsParentOverAQuestion(const ChildProcess::Options& options) {
        losesItsParent(options, creation(1), [&] { return host.accepted() == 1; });
    }
    void stays() {
        std::this_thread::sleep_for(300ms);
        ASSERT_EQ(::waitpid(pid, nullptr, WNOHANG), 0);
    }
    void staysUntilTheAnswer() {
        stays();
        EXPECT_TRUE(snapshot(calendarsIn(home)).empty());
        answer.count_down();
    }
    /// Returns the wait status of the server once it has ended by itself and left no process
    /// behind.
    std::optional<int> end() {
        int status = 0;
        if (!eventually([&] { return ::waitpid(pid, &status, WNOHANG) == pid; })) {
            return std::nullopt;
        }
        pid = -1;
        EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1); // no child is left to wait for
        return status;
    }
    [[nodiscard]] std::size_t events() const {
        std::size_t count = 0;
        for (const auto& [path, content] : snapshot(calendarsIn(home))) {
            count += path.ends_with(".ics") ? 1U : 0U;
        }
        return count;
    }
};

} // namespace

TEST_F(AnOrphan, DoesWhatItsUserAllowsAndEndsWellWhereSomebodyReadsItsReply) {
    auto output = makePipe();
    auto options = server();
    options.output = output.writing.get();
    losesItsParentOverAQuestion(options);
    output.writing.close();
    staysUntilTheAnswer();
    std::string reply;
    std::array<char, 1024> chunk{};
    for (ssize_t count = 0;
         (count = ::read(output.reading.get(), chunk.data(), chunk.size())) > 0;) {
        reply.append(chunk.data(), static_cast<std::size_t>(count));
    }
    EXPECT_TRUE(reply.starts_with(R"({"id":1,)") && reply.ends_with("}\n")) << reply;
    EXPECT_NE(reply.find(R"(\"created\" : true)"), std::string::npos) << reply;
    const auto status = end();
    ASSERT_TRUE(status);
    EXPECT_TRUE(WIFEXITED(*status) && WEXITSTATUS(*status) == 0) << *status;
    EXPECT_EQ(events(), 1U);
}

TEST_F(AnOrphan, DoesWhatItsUserAllowsAndEndsByTheSignalWhereNobodyReadsItsReply) {
    losesItsParentOverAQuestion(server());
    staysUntilTheAnswer();
    EXPECT_TRUE(endedByBrokenPipe(end()));
    EXPECT_EQ(events(), 1U);
}

TEST_F(AnOrphan, EndsWhenItsUserSaysNo) {
    said = "{\"allow\":false}\n";
    losesItsParentOverAQuestion(server());
    staysUntilTheAnswer();
    EXPECT_TRUE(endedByBrokenPipe(end()));
    EXPECT_EQ(events(), 0U);
}

TEST_F(AnOrphan, AwaitsItsScriptAndLeavesNoChildBehind) {
    if (fs::exists("/usr/bin/osascript")) {
        GTEST_SKIP() << "the system's own osascript would run";
    }
    const fs::path ready = home.path() / "ready";
    const std::string query = "do mark " + ready.string() + "\\u001eawait " +
                              (home.path() / "go").string() + "\\u001eout 1";
    losesItsParent(server(), callLine(1, "notes_search", R"({"query":")" + query + R"("})"),
                   [&] { return fs::exists(ready); });
    stays();
    home.write("go", "");
    EXPECT_TRUE(endedByBrokenPipe(end()));
}
