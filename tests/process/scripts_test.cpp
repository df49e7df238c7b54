// Notes and Mail through the real server, installed next to a program that runs in place of
// osascript.

#include "MCPStdio/json/JSONValue.hpp"
#include "tests/process/ServerUnderTest.hpp"
#include "tests/support/Answer.hpp"
#include "tests/support/FailingCalls.hpp"
#include "tests/support/ScriptedHost.hpp"

#include <csignal>
#include <fstream>
#include <gtest/gtest.h>
#include <set>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace velmiro::test;
using namespace std::chrono_literals;
using MCPStdio::JSONValue;
namespace fs = std::filesystem;

namespace {

class ScriptsThroughTheServer : public testing::Test {
protected:
    TemporaryFolder home;
    fs::path program = home.path() / "bin" / "velmiro_mcp";
    fs::path interpreter = home.path() / "libexec" / "velmiro" / "osascript";
    fs::path go = home.path() / "go";

    void SetUp() override {
        if (fs::exists("/usr/bin/osascript")) {
            GTEST_SKIP() << "the system's own osascript would run";
        }
        install(SERVER_BINARY, program);
        install(FAKE_OSASCRIPT, interpreter);
    }
    [[nodiscard]] ChildProcess::Options server() const {
        auto options = serverIn(home);
        options.arguments = {program.string()};
        return options;
    }
    /// Returns options for a server that a shell starts after a command.
    [[nodiscard]] ChildProcess::Options serverAfter(const std::string& command) const {
        auto options = serverIn(home);
        options.arguments = {"/bin/sh", "-c", command + " \"$0\"", program.string()};
        options.environment["PATH"] = "/usr/bin:/bin";
        return options;
    }
    [[nodiscard]] static std::string search(int id, const std::string& query) {
        const auto arguments = JSONValue::object({{"query", query}});
        return callLine(id, "notes_search", arguments.jsonString());
    }
    [[nodiscard]] std::string awaitThenPrint(int number) const {
        return "do await " + go.string() + "\x1eout " + std::to_string(number);
    }
    Answer call(const std::string& tool, const std::string& arguments) const {
        ChildProcess child{server()};
        child.writeLine(callLine(1, tool, arguments));
        return answerIn(child.readLine());
    }
    /// Calls a tool and checks how it called the interpreter: with the tool's own script, and with
    /// the arguments `before` and `handedOn`, of which the script receives the latter.
    void isRun(const std::string& tool, const std::string& arguments,
               const std::vector<std::string>& handedOn,
               const std::vector<std::string>& before = {}) const {
        const std::string script = readFile(fs::path{SCRIPTS_FOLDER} / (tool + ".js"));
        auto command = JSONValue::array(interpreter.string(), "-l", "JavaScript", "-e", script);
        for (const std::string& text : before) {
            command.append(text);
        }
        auto received = JSONValue::array();
        for (const std::string& text : handedOn) {
            command.append(text);
            received.append(text);
        }
        const Answer answer = call(tool, arguments);
        EXPECT_FALSE(answer.isError) << answer.text;
        const auto expected =
            JSONValue::object({{"command", command}, {"script", script}, {"arguments", received}});
        EXPECT_EQ(answer.text, expected.jsonString());
    }
    /// Checks that as many calls are answered, each with the number that its script printed.
    void areAnsweredByTheirNumbers(ChildProcess& child, int count) {
        std::set<std::int64_t> answered;
        for (int i = 0; i < count; ++i) {
            const Answer answer = answerIn(child.readLine(120s));
            ASSERT_EQ(answer.text, std::to_string(answer.id));
            ASSERT_FALSE(answer.isError);
            answered.insert(answer.id);
        }
        EXPECT_EQ(answered.size(), static_cast<std::size_t>(count));
    }
};

ScriptedHost::Serve answering(const std::string& line) {
    return [line](int connection) {
        readQuestion(connection);
        answerWith(connection, line);
    };
}

} // namespace

TEST_F(ScriptsThroughTheServer, EveryToolRunsItsOwnWithItsArguments) {
    const ScriptedHost host{home.path() / "approval.sock", answering("{\"allow\":true}\n")};
    isRun("notes_search", R"({"query":" milk "})", {"milk", "10"});
    isRun("notes_create", R"({"title":"</h1>${x}","body":"a\n\n\"b\" \\ 😀\u200f","folder":"F"})",
          {"</h1>${x}", "a\n\n\"b\" \\ 😀\u200f", "F"});
    isRun("mail_list", R"({"unread_only":true})", {"3", "20", "true"});
    isRun("mail_read", R"({"id":42})", {"42"});
    isRun("mail_create_draft", R"({"to":["a@x"],"cc":["b"],"subject":"s","body":"t"})",
          {R"(["a@x"])", R"(["b"])", "s", "t"});
}

TEST_F(ScriptsThroughTheServer, TakeNoArgumentForAnOption) {
    const ScriptedHost host{home.path() / "approval.sock", answering("{\"allow\":true}\n")};
    for (const std::string text :
         {"-milk", "-efunction run(argv) { return 'mine'; }", "-e", "-i", "-so", "--", "---"}) {
        const std::string quoted = JSONValue{text}.jsonString();
        isRun("notes_search", R"({"query":)" + quoted + "}", {text, "10"}, {"--"});
        isRun("notes_create",
              R"({"title":)" + quoted + R"(,"body":)" + quoted + R"(,"folder":)" + quoted + "}",
              {text, text, text}, {"--"});
        isRun("mail_create_draft",
              R"({"to":["-e@x"],"subject":)" + quoted + R"(,"body":)" + quoted + "}",
              {R"(["-e@x"])", "[]", text, text});
    }
    isRun("mail_read", R"({"id":-1})", {"-1"}, {"--"});
    isRun("notes_search", R"({"query":"-"})", {"-", "10"});
    isRun("notes_create", R"({"title":"-","body":"-e"})", {"-", "-e", ""});
    isRun("notes_create", R"({"title":"t","body":"-e","folder":"--"})", {"t", "-e", "--"});
}

TEST_F(ScriptsThroughTheServer, RunOnlyAfterAYes) {
    const fs::path mark = home.path() / "ran";
    const auto note =
        JSONValue::object({{"title", "do mark " + mark.string()}, {"body", "b"}}).jsonString();
    const std::string denial = "The user did not allow this (do mark " + mark.string() +
                               "). Do not retry unless the user asks.";
    const fs::path socket = home.path() / "approval.sock";
    EXPECT_EQ(call("notes_create", note).text, denial); // there is no host to ask
    {
        const ScriptedHost host{socket, answering("{\"allow\":false}\n")};
        EXPECT_EQ(call("notes_create", note).text, denial);
    }
    EXPECT_FALSE(fs::exists(mark));
    fs::remove(socket);
    const ScriptedHost host{socket, answering("{\"allow\":true}\n")};
    EXPECT_FALSE(call("notes_create", note).isError);
    EXPECT_TRUE(fs::exists(mark));
}

TEST_F(ScriptsThroughTheServer, FailInTheirOwnWords) {
    const auto failing = [&](const std::string& steps) {
        const Answer answer =
            call("notes_search", JSONValue::object({{"query", "do " + steps}}).jsonString());
        EXPECT_TRUE(answer.isError);
        return answer.text;
    };
    EXPECT_EQ(failing("err why\n\x1e"
                      "exit 1"),
              "why");
    EXPECT_EQ(failing("exit 1"), "the script failed");
    EXPECT_EQ(failing("err (-1743)\x1e"
                      "exit 1"),
              "Velmiro may not control this app yet. Ask the user to allow it in System Settings › "
              "Privacy & Security › Automation.");
    fs::remove(interpreter);
    EXPECT_EQ(failing("exit 0"), "osascript could not start: No such file or directory");
}

TEST_F(ScriptsThroughTheServer, FindTheProcessAsItWasStarted) {
    auto options = serverAfter("trap '' PIPE CHLD TERM; ulimit -S -n 77; exec");
    options.ignoreBrokenPipe = true;
    ChildProcess child{options};
    child.writeLine(search(1, "do signals"));
    EXPECT_EQ(answerIn(child.readLine()).text, "[]");
    child.writeLine(search(2, "do descriptor-limit"));
    EXPECT_EQ(answerIn(child.readLine()).text, "77");
    child.writeLine(search(3, "do descriptors"));
    EXPECT_EQ(answerIn(child.readLine()).text, "[0,1,2]");
}

TEST_F(ScriptsThroughTheServer, AThousandAtOnceAreAllRunAndHoldUpNothing) {
    constexpr int count = 1000;
    ChildProcess child{server()};
    child.writeLine(ping(0));
    EXPECT_EQ(child.readLine(), pong(0));
    const std::size_t idleDescriptors = child.descriptorCount();
    for (int i = 1; i <= count; ++i) {
        child.writeLine(search(i, awaitThenPrint(i)));
    }
    // Sixty-four scripts run, each read by a thread; the others wait without one.
    EXPECT_TRUE(eventually([&] { return child.descriptorCount() >= idleDescriptors + 128; }));
    for (int i = 0; i < 100; ++i) {
        child.writeLine(ping(5000 + i));
        ASSERT_EQ(child.readLine(), pong(5000 + i));
    }
    EXPECT_LT(child.threadCount(), 80U);
    home.write(go, "");
    areAnsweredByTheirNumbers(child, count);
    EXPECT_TRUE(eventually([&] { return child.threadCount() == 1; }));
    EXPECT_EQ(child.descriptorCount(), idleDescriptors);
}

TEST_F(ScriptsThroughTheServer, ShareFewDescriptors) {
    constexpr int count = 300;
    home.write(go, "");
    ChildProcess child{serverAfter("ulimit -n 40; exec")};
    for (int i = 1; i <= count; ++i) {
        child.writeLine(search(i, awaitThenPrint(i)));
    }
    areAnsweredByTheirNumbers(child, count);
}

TEST_F(ScriptsThroughTheServer, ShareFewProcessesAndThreads) {
    if (::geteuid() != 0 || !fs::exists("/usr/bin/setpriv")) {
        GTEST_SKIP() << "takes a user with no other processes";
    }
    constexpr int count = 300;
    home.write(go, "");
    fs::permissions(home.path(),
                    fs::perms::owner_all | fs::perms::others_exec | fs::perms::others_read);
    // No other script has this number.
    ChildProcess child{
        serverAfter("exec prlimit --nproc=20 setpriv --reuid=31337 --regid=31337 --clear-groups")};
    for (int i = 1; i <= count; ++i) {
        child.writeLine(search(i, awaitThenPrint(i)));
    }
    areAnsweredByTheirNumbers(child, count);
}

TEST_F(ScriptsThroughTheServer, ThatRunWhenTheInputEndsAreStillAnswered) {
    ChildProcess child{server()};
    child.writeLine(search(1, awaitThenPrint(1)));
    child.closeInput();
    home.write(go, "");
    areAnsweredByTheirNumbers(child, 1);
    const auto status = child.waitForEnd();
    ASSERT_TRUE(status);
    EXPECT_EQ(*status, 0);
}

TEST_F(ScriptsThroughTheServer, WhoseOutputCannotBeReadAreNoSuccess) {
    FailingCalls calls{FAILING_CALLS};
    calls.arm({.calls = static_cast<std::uint32_t>(Call::receive),
               .count = 100,
               .program = "velmiro_mcp"});
    auto options = server();
    options.environment.merge(calls.environment());
    ChildProcess child{options};
    child.writeLine(search(1, "do out 1"));
    const Answer answer = answerIn(child.readLine());
    EXPECT_TRUE(answer.isError);
    EXPECT_EQ(answer.text,
              "what the script wrote cannot be read: Input/output error. Whether it changed "
              "anything cannot be told: look before trying again");
}

TEST_F(ScriptsThroughTheServer, DoNotOutliveTheServerAndLiveAsLongAsItDoes) {
    const auto childOf = [](pid_t parent) {
        for (const auto& thread :
             fs::directory_iterator{"/proc/" + std::to_string(parent) + "/task"}) {
            const std::string children = readFile(thread.path() / "children");
            if (!children.empty()) {
                return std::stoi(children);
            }
        }
        return 0;
    };
    const auto hasEnded = [](int process) {
        const std::string about = readFile("/proc/" + std::to_string(process) + "/stat");
        return about.empty() || about.find(") Z") != std::string::npos;
    };
    const std::string stubborn = "do ignore-termination\x1e" + awaitThenPrint(1).substr(3);
    int script = 0;
    {
        ChildProcess child{server()};
        child.writeLine(search(1, stubborn));
        ASSERT_TRUE(eventually([&] { return (script = childOf(child.pid())) != 0; }));
        // Long enough for all idle threads to leave, including the first one.
        std::this_thread::sleep_for(2500ms);
        EXPECT_FALSE(hasEnded(script));
        child.signal(SIGKILL);
        ASSERT_TRUE(child.waitForEnd());
    }
    EXPECT_TRUE(eventually([&] { return hasEnded(script); }));

    ChildProcess child{server()};
    child.writeLine(search(1, stubborn));
    child.closeInput();
    std::this_thread::sleep_for(2500ms);
    std::ofstream{go}.close();
    EXPECT_EQ(answerIn(child.readLine()).text, "1");
}
