// The outcomes of a script. The interpreter is fake_osascript, a real child process; a script is
// the list of steps that it takes.

#include "velmiro_mcp/services/ScriptRunner.hpp"

#include "MCPStdio/MCPTool.hpp"
#include "MCPStdio/concurrency/SyncWait.hpp"
#include "support/TemporaryFolder.hpp"
#include "tests/support/FakeScript.hpp"
#include "velmiro_mcp/AppleTools/Scripts.hpp"

#include <csignal>
#include <future>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <vector>

using namespace velmiro;
using namespace std::chrono_literals;
using MCPStdio::JSONValue;
using MCPStdio::MCPToolError;
using velmiro::support::TemporaryFolder;
using velmiro::test::steps;

namespace {

/// Longer than any script here runs, unless it is meant to be late.
constexpr auto ample = 60s;

const std::string notAllowed =
    "Velmiro may not control this app yet. Ask the user to allow it in System Settings › Privacy & "
    "Security › Automation.";

JSONValue run(const std::string& script, const std::vector<std::string>& arguments = {},
              std::chrono::milliseconds timeout = ample) {
    ScriptRunner runner{FAKE_OSASCRIPT};
    return MCPStdio::syncWait(runner.run(script, arguments, timeout));
}

JSONValue run(std::initializer_list<std::string_view> list,
              std::chrono::milliseconds timeout = ample) {
    return run(steps(list), {}, timeout);
}

std::string failureOf(ScriptRunner& runner, const std::vector<std::string>& arguments,
                      const std::string& script = "out x") {
    try {
        MCPStdio::syncWait(runner.run(script, arguments, ample));
        return "no failure";
    } catch (const MCPToolError& error) {
        return error.message;
    }
}

std::string failure(std::initializer_list<std::string_view> list,
                    std::chrono::milliseconds timeout = ample) {
    try {
        run(list, timeout);
        return "no failure";
    } catch (const MCPToolError& error) {
        return error.message;
    }
}

std::string startFailure(const std::string& interpreter) {
    ScriptRunner runner{interpreter};
    return failureOf(runner, {});
}

std::string nested(int depth) {
    return std::string(static_cast<std::size_t>(depth), '[') +
           std::string(static_cast<std::size_t>(depth), ']');
}

} // namespace

TEST(ScriptRunner, PassesLanguageScriptAndArgumentsToTheInterpreterInThisOrder) {
    EXPECT_EQ(run("command", {"one", "", "-e", "--", "two words"}),
              JSONValue::array(FAKE_OSASCRIPT, "-l", "JavaScript", "-e", "command", "one", "", "-e",
                               "--", "two words"));
}

TEST(ScriptRunner, AFirstArgumentThatWouldBeAnOptionComesAfterTwoDashes) {
    for (const std::string first : {"-milk", "-e1", "-e", "-i", "-1", "--", "--x", "-\n"}) {
        EXPECT_EQ(run("command", {first, "-e"}),
                  JSONValue::array(FAKE_OSASCRIPT, "-l", "JavaScript", "-e", "command", "--", first,
                                   "-e"));
    }
    for (const std::string first : {"", "-", "milk", " -e", "—e"}) {
        EXPECT_EQ(
            run("command", {first, "-e"}),
            JSONValue::array(FAKE_OSASCRIPT, "-l", "JavaScript", "-e", "command", first, "-e"));
    }
}

TEST(ScriptRunner, EveryScriptReceivesItsArgumentsWhateverTheyBeginWith) {
    for (const std::string_view script :
         {scripts::mailCreateDraft, scripts::mailList, scripts::mailRead, scripts::notesCreate,
          scripts::notesSearch}) {
        for (const std::string first :
             {"-efunction run(argv) { return 'mine'; }", "-e", "-i", "-so", "--", "-", "-1", ""}) {
            const auto call = run(std::string{script}, {first, first, "-l"});
            EXPECT_EQ(call["script"]->stringValue(), script);
            EXPECT_EQ(*call["arguments"], JSONValue::array(first, first, "-l")) << first;
        }
    }
}

TEST(ScriptRunner, ReturnsTheJSONThatIsPrinted) {
    EXPECT_EQ(run({R"(out {"b":[1,null,true],"a":"x/y"})"}),
              JSONValue::parse(R"({"a":"x/y","b":[1,null,true]})"));
    EXPECT_EQ(run({"out 17"}), JSONValue{17});
    EXPECT_EQ(run({"out null"}), JSONValue{});
    EXPECT_EQ(run({R"(out "text")"}), JSONValue{"text"});
}

TEST(ScriptRunner, IgnoresBlankLinesAroundTheJSON) {
    EXPECT_EQ(run({"out \n\r\n\t {\"a\":1} \n\n"}), JSONValue::parse(R"({"a":1})"));
}

TEST(ScriptRunner, ReturnsOtherOutputAsAString) {
    EXPECT_EQ(run({"out word\n"}), JSONValue{"word"});
    EXPECT_EQ(run({"out {\"a\":1} {\"b\":2}"}), JSONValue{"{\"a\":1} {\"b\":2}"});
    EXPECT_EQ(run({"out {'a':1}"}), JSONValue{"{'a':1}"});
    EXPECT_EQ(run({"out " + nested(513)}), JSONValue{nested(513)});
    EXPECT_EQ(run({"out " + nested(512)}), JSONValue::parse(nested(512)));
}

TEST(ScriptRunner, ReturnsTheEmptyStringIfThereIsNoOutput) {
    EXPECT_EQ(run({"exit 0"}), JSONValue{""});
    EXPECT_EQ(run({"out  \n\u3000\n"}), JSONValue{""});
}

TEST(ScriptRunner, TrimsUnicodeWhiteSpaceAtBothEndsOnly) {
    EXPECT_EQ(run({"out \u00A0\u2003\u2028 a \u00A0\n\n b\t\u0085\u202F\u2029\v\f"}),
              JSONValue{"a \u00A0\n\n b"});
}

TEST(ScriptRunner, RepairsOutputThatIsNotUTF8) {
    EXPECT_EQ(run({"out a\xFFz\xE2\x82"}), JSONValue{"a\uFFFDz\uFFFD"});
    EXPECT_EQ(run({"out {\"a\":\"\xC3\"}"}), JSONValue::parse("{\"a\":\"\uFFFD\"}"));
}

TEST(ScriptRunner, RepairsHalvesOfCharactersThatACutLeft) {
    const std::map<std::string, std::string> repaired{
        {R"(["a\ud83d"])", R"(["a\ufffd"])"},
        {R"(["\ude00a","\uD83D\ude00"])", R"(["\ufffda","\ud83d\ude00"])"},
        {R"(["\ud83d\ud83d\ude00\n"])", R"(["\ufffd\ud83d\ude00\n"])"},
        {R"(["\\ud83d","\ud83dx"])", R"(["\\ud83d","\ufffdx"])"},
        {R"(["\nd83d","\n\ud83d"])", R"(["\nd83d","\n\ufffd"])"},
    };
    for (const auto& [printed, meant] : repaired) {
        EXPECT_EQ(run({"out " + printed}), JSONValue::parse(meant)) << printed;
    }
    for (const std::string text : {R"(["\ud83d")", R"(["\ud83d\x"])", R"(["\ud8"])", R"(\ud83d)"}) {
        EXPECT_EQ(run({"out " + text}), JSONValue{text}) << "not JSON in any case";
    }
}

TEST(ScriptRunner, RepairsHalvesOnlyWhereverTheyStand) {
    // Every sequence of three of the first and last units of each kind.
    const std::vector<std::string> units{"0041", "d7ff", "d800", "dbff", "dc00", "dfff", "e000"};
    const auto isFirstHalf = [](const std::string& unit) {
        return unit >= "d800" && unit < "dc00";
    };
    const auto isSecondHalf = [](const std::string& unit) {
        return unit >= "dc00" && unit < "e000";
    };
    const auto orReplaced = [&](const std::string& unit, bool paired) {
        const bool half = isFirstHalf(unit) || isSecondHalf(unit);
        return "\\u" + (half && !paired ? "fffd" : unit);
    };
    std::string printed = "[0";
    std::string meant = "[0";
    for (const std::string& first : units) {
        for (const std::string& second : units) {
            for (const std::string& third : units) {
                const bool begins = isFirstHalf(first) && isSecondHalf(second);
                const bool ends = !begins && isFirstHalf(second) && isSecondHalf(third);
                printed += ",\"\\u" + first + "\\u" + second + "\\u" + third + "\"";
                meant += ",\"" + orReplaced(first, begins) + orReplaced(second, begins || ends) +
                         orReplaced(third, ends) + "\"";
            }
        }
    }
    EXPECT_EQ(run({"out " + printed + "]"}), JSONValue::parse(meant + "]"));
}

TEST(ScriptRunner, IgnoresStandardErrorOfAScriptThatSucceeds) {
    EXPECT_EQ(run({"err Not authorized -1743", "out 1", "exit 0"}), JSONValue{1});
}

TEST(ScriptRunner, ReadsFiftyMegabytes) {
    const auto value = run({"fill-out 50000000"});
    EXPECT_EQ(value.stringValue().value_or("").size(), 50'000'000U);
}

TEST(ScriptRunner, AFailingScriptSaysWhyOnStandardError) {
    EXPECT_EQ(failure({"err  \n execution error: Error: Error: no  such\nthing (-2700)\n\u2003",
                       "exit 1"}),
              "execution error: Error: Error: no  such\nthing (-2700)");
    EXPECT_EQ(failure({"err a\xFFz", "exit 255"}), "a\uFFFDz");
    EXPECT_EQ(failure({"err not authorized, -1742", "exit 1"}), "not authorized, -1742");
}

TEST(ScriptRunner, AFailingScriptWithoutAMessageIsReportedAsFailed) {
    EXPECT_EQ(failure({"exit 1"}), "the script failed");
    EXPECT_EQ(failure({"err  \n\u2028\t", "exit 3"}), "the script failed");
}

TEST(ScriptRunner, OutputOfAFailingScriptIsIgnored) {
    EXPECT_EQ(failure({"out {\"a\":1} -1743", "exit 1"}), "the script failed");
}

TEST(ScriptRunner, ARefusedPermissionTellsWhereToGrantIt) {
    EXPECT_EQ(
        failure({"err 32:47: execution error: Error: An error occurred. (-1743)\n", "exit 1"}),
        notAllowed);
    EXPECT_EQ(failure({"err Error: Not authorized to send Apple events to Notes.", "exit 1"}),
              notAllowed);
}

TEST(ScriptRunner, AScriptEndedByASignalHasFailed) {
    EXPECT_EQ(failure({"out 1", "raise 9"}), "the script failed");
    EXPECT_EQ(failure({"err why", "raise 9"}), "why");
}

TEST(ScriptRunner, AnInterpreterThatCannotStartIsReported) {
    EXPECT_EQ(startFailure("/nowhere/osascript"),
              "osascript could not start: No such file or directory");
    EXPECT_EQ(startFailure("/"), "osascript could not start: Permission denied");
    const TemporaryFolder folder;
    folder.write("osascript", "no program");
    const auto file = folder.path() / "osascript";
    EXPECT_EQ(startFailure(file), "osascript could not start: Permission denied");
    std::filesystem::permissions(file, std::filesystem::perms::owner_all);
    EXPECT_EQ(startFailure(file), "osascript could not start: Exec format error");
}

TEST(ScriptRunner, AnArgumentThatCannotBePassedWholeIsNotPassedAtAll) {
    const TemporaryFolder folder;
    const std::string mark = (folder.path() / "ran").string();
    ScriptRunner runner{FAKE_OSASCRIPT};
    EXPECT_EQ(failureOf(runner, {"a", std::string{"b\0c", 3}}, "mark " + mark),
              "osascript could not start: an argument holds a NUL character");
    EXPECT_EQ(failureOf(runner, {std::string(3'000'000, 'x')}, "mark " + mark),
              "osascript could not start: Argument list too long. A text is longer than the "
              "system hands to a script: make it shorter than 128 KiB, in UTF-8");
    EXPECT_FALSE(std::filesystem::exists(mark));
}

TEST(ScriptRunner, ArgumentsArriveUnchanged) {
    std::vector<std::string> texts{
        "\"double\" 'single' `back`",
        R"(\ \\ \n \")",
        "</h1><script>",
        "${x} $(x) $x %s",
        "one\ntwo\r\n\n three ",
        "😀 e\u0301 \u200f\u202eabc\u202c",
        "\x01\x1b[2J\x7f",
        "-l",
        "",
        " \t",
        "\u2028\u2029",
    };
    texts.push_back(std::string(100'000, 'x') + "end");
    auto expected = JSONValue::array();
    for (const std::string& text : texts) {
        expected.append(text);
    }
    EXPECT_EQ(run("arguments", texts), expected);
}

TEST(ScriptRunner, AScriptThatIsLateIsEndedAndHasFailed) {
    EXPECT_EQ(failure({"out 1", "hang"}, 200ms), "the script failed");
    EXPECT_EQ(failure({"err too late -1743", "hang"}, 200ms), notAllowed);
    EXPECT_EQ(failure({"err why", "hang"}, 200ms), "why");
}

TEST(ScriptRunner, AScriptThatClosesItsDescriptorsAndStaysIsEndedWhenItIsLate) {
    EXPECT_EQ(failure({"close-out", "close-err", "hang"}, 200ms), "the script failed");
    EXPECT_EQ(failure({"err why", "close-out", "close-err", "hang"}, 200ms), "why");
}

TEST(ScriptRunner, AScriptThatPrintsWithoutEndIsEndedWhenItIsLate) {
    EXPECT_EQ(failure({"fill-out 4000000000"}, 100ms), "the script failed");
}

TEST(ScriptRunner, AScriptThatFillsStandardErrorFirstStallsUntilItIsLate) {
    EXPECT_EQ(failure({"fill-err 200000", "out 1", "exit 0"}, 300ms).size(), 65'536U);
    // With its output closed, standard error is read immediately.
    EXPECT_EQ(failure({"close-out", "fill-err 200000", "exit 1"}).size(), 200'000U);
}

TEST(ScriptRunner, AScriptThatIgnoresTerminationKeepsTheCallWaiting) {
    const TemporaryFolder folder;
    const std::string ready = (folder.path() / "ready").string();
    const std::string go = (folder.path() / "go").string();
    auto call = std::async(std::launch::async, [&] {
        return run(steps({"ignore-termination", "mark " + ready, "await " + go, "out 5"}), {},
                   300ms);
    });
    EXPECT_EQ(call.wait_for(1s), std::future_status::timeout);
    ASSERT_TRUE(std::filesystem::exists(ready));
    folder.write("go", "");
    EXPECT_EQ(call.get(), JSONValue{5});
}

TEST(ScriptRunner, AGrandchildThatHoldsTheOutputKeepsTheCallWaiting) {
    const TemporaryFolder folder;
    const std::string go = (folder.path() / "go").string();
    auto call = std::async(std::launch::async, [&] {
        return run(steps({"out on time, ", "grandchild " + go, "exit 0"}), {}, 300ms);
    });
    EXPECT_EQ(call.wait_for(1s), std::future_status::timeout);
    folder.write("go", "");
    EXPECT_EQ(call.get(), JSONValue{"on time, late"});
}

TEST(ScriptRunner, AScriptThatExitsWithZeroWhenToldToEndHasSucceeded) {
    // A program that is told to end may still finish its work in good order.
    EXPECT_EQ(run({"end-well-when-told", "out 7", "hang"}, 300ms), JSONValue{7});
}
