// The libraries that the server loads on demand: none earlier, and none that is missing or broken
// ends the server.

#include "tests/process/ServerUnderTest.hpp"
#include "tests/support/Answer.hpp"

#include <csignal>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <libical/ical.h>
#include <unicode/uvernum.h>

using namespace velmiro::test;
namespace fs = std::filesystem;

namespace {

const std::string libical = "libical.so." + std::to_string(ICAL_MAJOR_VERSION);
const std::string icuCommon = "libicuuc.so." U_ICU_VERSION_SHORT;
const std::string icuDates = "libicui18n.so." U_ICU_VERSION_SHORT;

/// Returns the mappings of the process.
std::string mapsOf(const ChildProcess& process) {
    std::ifstream stream{"/proc/" + std::to_string(process.pid()) + "/maps"};
    return {std::istreambuf_iterator<char>{stream}, {}};
}

bool holds(const std::string& text, std::string_view part) {
    return text.find(part) != std::string::npos;
}

/// A calendar in which one event needs no library, one needs libical for its duration, and one
/// needs ICU for its zone and its notes. The server looks for libraries in a folder of its own
/// first.
class Libraries : public testing::Test {
protected:
    Libraries() {
        std::signal(SIGPIPE, SIG_IGN); // a server that has ended fails its test, not this program
        write("Plain", "plain", "DTSTART:20261014T080000Z");
        write("Lasting", "lasting", "DTSTART:20261014T080000Z\r\nDURATION:PT1H");
        write("Zoned", "zoned", "DTSTART;TZID=W. Europe Standard Time:20261014T100000");
        std::string notes;
        for (int count = 0; count < 501; ++count) {
            notes += "é";
        }
        write("Noted", "noted", "DTSTART:20261014T080000Z\r\nDESCRIPTION:" + notes);
    }

    void write(const std::string& calendar, const std::string& uid,
               const std::string& lines) const {
        home.write(calendarsIn(home) / calendar / (uid + ".ics"),
                   "BEGIN:VCALENDAR\r\nBEGIN:VEVENT\r\nUID:" + uid + "\r\n" + lines +
                       "\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n");
    }

    /// Returns options for a server that finds a broken file instead of this library.
    ChildProcess::Options serverWithBroken(const std::string& library) const {
        home.write(folder / library, "no library");
        auto options = serverIn(home);
        options.environment["LD_LIBRARY_PATH"] = folder.string();
        return options;
    }

    static Answer list(ChildProcess& server, const std::string& calendar) {
        server.writeLine(
            callLine(1, "calendar_list_events",
                     R"({"start":"2026-10-14","days":3,"calendar":")" + calendar + R"("})"));
        return answerIn(server.readLine());
    }

    static void expectFailure(ChildProcess& server, const std::string& calendar,
                              const std::string& beginning, const std::string& library) {
        const auto answer = list(server, calendar);
        EXPECT_TRUE(answer.isError);
        EXPECT_TRUE(answer.text.starts_with(beginning + " could not be loaded: ")) << answer.text;
        EXPECT_TRUE(holds(answer.text, library)) << answer.text;
    }

    static void expectEvent(ChildProcess& server, const std::string& calendar) {
        const auto answer = list(server, calendar);
        EXPECT_FALSE(answer.isError) << answer.text;
        EXPECT_TRUE(holds(answer.text, R"("id" : ")")) << answer.text;
    }

    TemporaryFolder home;
    fs::path folder = home.path() / "libraries";
};

} // namespace

TEST_F(Libraries, AreNotThereBeforeTheyAreNeeded) {
    ChildProcess server{serverIn(home)};
    server.writeLine(R"({"jsonrpc":"2.0","id":1,"method":"tools/list"})");
    ASSERT_TRUE(server.readLine());
    expectEvent(server, "Plain");
    EXPECT_TRUE(holds(mapsOf(server), "/libc.so"));
    EXPECT_FALSE(holds(mapsOf(server), "/libicu"));
    EXPECT_FALSE(holds(mapsOf(server), "/libical"));

    expectEvent(server, "Noted");
    EXPECT_TRUE(holds(mapsOf(server), "/libicuuc.so"));
    EXPECT_FALSE(holds(mapsOf(server), "/libical"));

    expectEvent(server, "Lasting");
    EXPECT_TRUE(holds(mapsOf(server), "/libical.so"));
}

TEST_F(Libraries, WithoutLibicalOnlyTheCallsThatReadDurationsFail) {
    ChildProcess server{serverWithBroken(libical)};
    expectFailure(server, "Lasting", "libical", libical);
    server.writeLine(ping(2));
    EXPECT_EQ(server.readLine(), pong(2));
    for (const char* calendar : {"Plain", "Zoned", "Noted"}) {
        expectEvent(server, calendar);
    }
}

TEST_F(Libraries, WithoutICUOnlyTheCallsThatNeedItFail) {
    ChildProcess server{serverWithBroken(icuCommon)};
    expectFailure(server, "Zoned", "ICU", icuCommon);
    expectFailure(server, "Noted", "ICU", icuCommon);
    expectEvent(server, "Plain");
    server.writeLine(callLine(1, "contacts_search", R"({"query":"Zoë"})"));
    EXPECT_TRUE(answerIn(server.readLine()).text.starts_with("ICU could not be loaded: "));
    server.writeLine(callLine(1, "contacts_search", R"({"query":"Zoe"})"));
    EXPECT_FALSE(answerIn(server.readLine()).isError);
}

TEST_F(Libraries, WithoutICUsDatesItsCharactersAreThere) {
    ChildProcess server{serverWithBroken(icuDates)};
    expectFailure(server, "Zoned", "ICU", icuDates);
    server.writeLine(creation(1));
    EXPECT_TRUE(answerIn(server.readLine()).text.starts_with("ICU could not be loaded: "));
    expectEvent(server, "Noted");
}

TEST_F(Libraries, AreFoundByTheFirstCallAfterTheyCame) {
    ChildProcess server{serverWithBroken(libical)};
    expectFailure(server, "Lasting", "libical", libical);
    expectFailure(server, "Lasting", "libical", libical);
    fs::remove(folder / libical);
    expectEvent(server, "Lasting");
}
