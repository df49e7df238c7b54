// Calendar folders as strangers, other programs and accidents leave them.

#include "MCPStdio/json/JSONValue.hpp"
#include "MCPStdio/text/UTF8.hpp"
#include "tests/process/ServerUnderTest.hpp"
#include "tests/support/FailingCalls.hpp"
#include "tests/support/ScriptedHost.hpp"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <random>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace velmiro::test;
using MCPStdio::JSONValue;
namespace fs = std::filesystem;

namespace {

std::string eventFile(const std::string& uid, const std::string& summary) {
    return "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//t//EN\r\nBEGIN:VEVENT\r\nUID:" + uid +
           "\r\nDTSTAMP:20260901T080000Z\r\nDTSTART:20261014T080000Z\r\nDTEND:20261014T090000Z\r\n"
           "SUMMARY:" +
           summary + "\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n";
}

const std::string listAll =
    callLine(1, "calendar_list_events", R"({"start":"2026-10-14","days":1})");

/// Returns the text of a tool's answer, from its line.
std::string textOf(const std::optional<std::string>& line) {
    if (!line) {
        return "(no reply)";
    }
    EXPECT_TRUE(MCPStdio::isValidUTF8(*line));
    const auto reply = JSONValue::parse(*line);
    return std::string{*(*(*(*(*reply["result"])["content"])[0])["text"]).stringValue()};
}

std::vector<std::string> titlesIn(const std::string& text) {
    std::vector<std::string> titles;
    const auto payload = JSONValue::parse(text);
    for (const auto events = *payload["events"]->arrayValue(); const JSONValue& event : events) {
        titles.emplace_back(*event["title"]->stringValue());
    }
    return titles;
}

class CalendarFiles : public testing::Test {
protected:
    TemporaryFolder home;
    fs::path folder = calendarsIn(home) / "Büro und Zuhause";

    void write(const std::string& name, const std::string& content) const {
        home.write(folder / name, content);
    }
    std::string list() const { return list(serverIn(home)); }
    static std::string list(const ChildProcess::Options& options) {
        ChildProcess server{options};
        server.writeLine(listAll);
        return textOf(server.readLine());
    }
    static void allow(int connection) {
        readQuestion(connection);
        answerWith(connection, "{\"allow\":true}\n");
    }
};

using Titles = std::vector<std::string>;

} // namespace

TEST_F(CalendarFiles, WhatCannotBeReadIsPassedOverAndNeverTouched) {
    write("a good one.ics", eventFile("good", "Good"));
    write("broken.ics", "BEGIN:VCALENDAR\r\nnonsense");
    write("empty.ics", "");
    write("ünïcode 日本.ics", eventFile("unicode", "Ünïcode 日本"));
    write("huge.ics", eventFile("huge", "Huge"));
    fs::resize_file(folder / "huge.ics", std::uintmax_t{200} << 20U);
    fs::create_symlink("loop.ics", folder / "loop.ics");
    fs::create_symlink("..", folder / "up");
    fs::create_directory(folder / "folder.ics");
    ASSERT_EQ(::mkfifo((folder / "pipe.ics").c_str(), 0600), 0);
    write("unreadable.ics", eventFile("unreadable", "Unreadable"));
    fs::permissions(folder / "unreadable.ics", fs::perms::none);
    const bool canReadAll = ::access((folder / "unreadable.ics").c_str(), R_OK) == 0; // root
    Titles expected{"Good", "Ünïcode 日本"};
    if (canReadAll) {
        expected.insert(expected.begin() + 1, "Unreadable");
    }
    const auto times = [&] {
        std::map<std::string, fs::file_time_type> found;
        for (const auto& entry : fs::directory_iterator{folder}) {
            std::error_code loop;
            found[entry.path()] = fs::last_write_time(entry.path(), loop);
        }
        return found;
    };
    const auto before = times();
    EXPECT_EQ(titlesIn(list()), expected);
    EXPECT_EQ(times(), before);
}

TEST_F(CalendarFiles, EveryLineIsValidWhateverBytesAFileHolds) {
    write("latin.ics", eventFile("latin", "Caf\xE9 \xFF"));
    write("nul.ics", eventFile("nul", std::string{"A\0B\x01\x1F", 5}));
    const std::string text = list();
    EXPECT_NE(text.find("Caf\xEF\xBF\xBD"), std::string::npos) << text;
    EXPECT_EQ(titlesIn(text).size(), 2U);
}

TEST_F(CalendarFiles, OneThatIsReplacedWhileItIsReadIsReadAnew) {
    FailingCalls calls{FAILING_CALLS};
    auto options = serverIn(home);
    options.environment.merge(calls.environment());
    ChildProcess server{options};
    bool wasReached = true;
    for (int skip = 0; wasReached; ++skip) {
        write("lunch.ics", eventFile("lunch", "Lunch " + std::to_string(skip)));
        calls.arm({.calls = static_cast<std::uint32_t>(Call::read),
                   .error = ESTALE,
                   .skip = skip,
                   .count = 2});
        server.writeLine(listAll);
        const std::string text = textOf(server.readLine());
        calls.disarm();
        wasReached = calls.failed() > 0;
        EXPECT_EQ(titlesIn(text), std::vector{"Lunch " + std::to_string(skip)}) << text;
        EXPECT_TRUE(skip > 1 || wasReached);
    }
}

TEST_F(CalendarFiles, ATitleThatCannotBeStoredAsAskedIsAnErrorAndNoFile) {
    write("displayname", "Office");
    const auto before = snapshot(home.path() / "Library");
    {
        const ScriptedHost host{home.path() / "approval.sock", allow};
        ChildProcess server{serverIn(home)};
        for (const char* title : {"A\\u0000B", "A\\u0001B", "A\\u007fB"}) {
            server.writeLine(creation(1, title));
            const auto line = server.readLine();
            ASSERT_TRUE(line);
            EXPECT_NE(line->find("\"isError\":true"), std::string::npos) << *line;
        }
    }
    EXPECT_EQ(snapshot(home.path() / "Library"), before);
}

TEST_F(CalendarFiles, ALimitOnTheSizeOfFilesIsAnErrorAndNoFile) {
    write("displayname", "Office");
    const auto before = snapshot(home.path() / "Library");
    {
        const ScriptedHost host{home.path() / "approval.sock", allow};
        auto options = serverIn(home);
        options.arguments = {"/usr/bin/prlimit", "--fsize=100", SERVER_BINARY};
        ChildProcess server{options};
        server.writeLine(creation(1));
        EXPECT_EQ(textOf(server.readLine()),
                  "the calendar ‘Office’ cannot be written: File too large");
        server.writeLine(ping(2));
        EXPECT_EQ(server.readLine(), pong(2));
    }
    EXPECT_EQ(snapshot(home.path() / "Library"), before);
}

TEST_F(CalendarFiles, WithoutHomeZoneOrLanguageTheServerWorks) {
    write("good.ics", eventFile("good", "Good"));
    auto options = serverIn(home);
    options.environment = {{"VELMIRO_ENABLED", "calendar"}};
    ChildProcess server{options};
    server.writeLine(callLine(1, "calendar_list_events", R"({"calendar":"no such calendar"})"));
    // The home of the account is used. Its content is unknown here, so only an answer is required.
    const std::string text = textOf(server.readLine());
    EXPECT_NE(text.find("no calendar named ‘no such calendar’"), std::string::npos) << text;
    server.writeLine(creation(2));
    EXPECT_NE(textOf(server.readLine()).find("did not allow"), std::string::npos);

    options.environment = {{"HOME", home.path().string()}};
    EXPECT_EQ(titlesIn(list(options)), Titles{"Good"});
}

TEST_F(CalendarFiles, AChangeOfTheMachinesZoneIsSeenByTheNextCall) {
    if (::system("unshare --mount true >/dev/null 2>&1") != 0) {
        GTEST_SKIP() << "this machine allows no mount namespace of its own";
    }
    write("good.ics", eventFile("good", "Good"));
    // The server sees a folder of ours as /etc. The link in it is replaced the way root would do
    // it.
    const fs::path etc = home.path() / "etc";
    fs::create_directory(etc);
    fs::copy_file("/etc/passwd", etc / "passwd");
    fs::create_symlink("/usr/share/zoneinfo/Europe/Berlin", etc / "localtime");
    auto options = serverIn(home);
    options.environment.erase("TZ");
    options.environment["PATH"] = "/usr/bin:/bin:/usr/sbin:/sbin";
    options.arguments = {
        "/usr/bin/unshare", "--mount",   "/bin/sh", "-c", "mount --bind \"$1\" /etc && exec \"$0\"",
        SERVER_BINARY,      etc.string()};
    ChildProcess server{options};
    server.writeLine(listAll);
    EXPECT_NE(textOf(server.readLine()).find("2026-10-14T10:00:00+02:00"), std::string::npos);
    fs::create_symlink("/usr/share/zoneinfo/Asia/Tokyo", etc / "new");
    fs::rename(etc / "new", etc / "localtime");
    server.writeLine(listAll);
    EXPECT_NE(textOf(server.readLine()).find("2026-10-14T17:00:00+09:00"), std::string::npos);
}

TEST_F(CalendarFiles, AServerKilledAtAnyMomentLeavesNoPartOfAnEvent) {
    write("displayname", "Office");
    const ScriptedHost host{home.path() / "approval.sock", allow};
    std::atomic<bool> stop{false};
    std::atomic<int> partial{0};
    std::atomic<int> temporary{0};
    // Meanwhile another program reads the folder.
    std::thread reader{[&] {
        while (!stop) {
            for (const auto& entry : fs::directory_iterator{folder}) {
                const std::string name = entry.path().filename();
                if (name.ends_with(".ics")) {
                    const auto content = readFile(entry.path());
                    partial += content.ends_with("END:VCALENDAR\r\n") ? 0 : 1;
                } else if (!name.starts_with(".") && name != "displayname") {
                    ++temporary;
                }
            }
        }
    }};
    std::mt19937 random{7};
    int sent = 0;
    while (sent < 500) {
        ChildProcess server{serverIn(home)};
        for (int i = 0; i < 25; ++i) {
            server.writeLine(creation(sent++));
        }
        const std::size_t kill = random() % 25;
        for (std::size_t i = 0; i < kill; ++i) {
            ASSERT_TRUE(server.readLine());
        }
        const timespec nap{0, static_cast<long>(random() % 2'000'000)};
        ::nanosleep(&nap, nullptr);
        server.signal(SIGKILL);
        ASSERT_TRUE(server.waitForEnd());
    }
    stop = true;
    reader.join();
    EXPECT_EQ(partial, 0);
    EXPECT_EQ(temporary, 0);
    {
        ChildProcess server{serverIn(home)}; // the next creation removes the leftovers
        server.writeLine(creation(1));
        ASSERT_TRUE(server.readLine());
    }
    std::size_t files = 0;
    for (const auto& entry : fs::directory_iterator{folder}) {
        const std::string name = entry.path().filename();
        if (name == "displayname") {
            continue;
        }
        EXPECT_TRUE(name.ends_with(".ics")) << name;
        EXPECT_TRUE(readFile(entry.path()).ends_with("END:VCALENDAR\r\n")) << name;
        ++files;
    }
    EXPECT_GT(files, 100U);
}

TEST_F(CalendarFiles, AnInvitationIsListedOnceAtTheTimeOfItsLatestVersion) {
    const std::string zone =
        "BEGIN:VTIMEZONE\r\nTZID:(UTC+02:00) Athens\\, Bucharest\\, Istanbul\r\n"
        "BEGIN:STANDARD\r\nDTSTART:16010101T040000\r\nTZOFFSETFROM:+0300\r\nTZOFFSETTO:+0200\r\n"
        "RRULE:FREQ=YEARLY;INTERVAL=1;BYDAY=-1SU;BYMONTH=10\r\nEND:STANDARD\r\n"
        "BEGIN:DAYLIGHT\r\nDTSTART:16010101T030000\r\nTZOFFSETFROM:+0200\r\nTZOFFSETTO:+0300\r\n"
        "RRULE:FREQ=YEARLY;INTERVAL=1;BYDAY=-1SU;BYMONTH=3\r\nEND:DAYLIGHT\r\nEND:VTIMEZONE\r\n";
    const auto version = [](const std::string& title, const std::string& sequence,
                            const std::string& hour) {
        return "BEGIN:VEVENT\r\nUID:meeting\r\nSEQUENCE:" + sequence + "\r\nSUMMARY:" + title +
               "\r\nDTSTART;TZID=\"(UTC+02:00) Athens, Bucharest, Istanbul\":20261014T" + hour +
               "0000\r\nRRULE:FREQ=DAILY; COUNT=2;X-FOO=1\r\nEND:VEVENT\r\n";
    };
    write("a.ics", "BEGIN:VCALENDAR\r\nMETHOD:REQUEST\r\n" + zone +
                       version("Now at three", "1", "15") + version("At one", "0", "13") +
                       "END:VCALENDAR\r\n");
    const auto payload = JSONValue::parse(list());
    const auto events = *payload["events"]->arrayValue();
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(*events[0]["title"]->stringValue(), "Now at three");
    EXPECT_EQ(*events[0]["start"]->stringValue(), "2026-10-14T14:00:00+02:00");
}
