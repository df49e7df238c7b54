#include "MCPStdio/concurrency/SyncWait.hpp"
#include "support/ScopedVariable.hpp"
#include "tests/support/FakeEventDatabase.hpp"
#include "velmiro_mcp/AppleTools/AppleTools.hpp"
#include "velmiro_mcp/base/Dates.hpp"
#include "velmiro_mcp/services/EventStore.hpp"

#include <gtest/gtest.h>

using namespace velmiro;
using MCPStdio::JSONValue;
using MCPStdio::MCPToolError;
using MCPStdio::MCPToolResult;
using MCPStdio::syncWait;
using MCPStdio::Task;
using velmiro::support::ScopedVariable;
using velmiro::test::FakeEventDatabase;

namespace {

class CalendarTools : public testing::Test {
protected:
    std::shared_ptr<FakeEventDatabase::Script> database =
        std::make_shared<FakeEventDatabase::Script>();
    EventStore store{std::make_unique<FakeEventDatabase>(database)};
    bool answer = true;
    ScopedVariable zone{"TZ", "Europe/Berlin"};
    ScopedVariable locale{"LC_ALL", "en_GB.UTF-8"};
    std::vector<MCPStdio::MCPTool> tools =
        calendarTools(store, [this](std::string tool, std::string summary) -> Task<bool> {
            database->journal.push_back("ask " + tool + ": " + summary);
            co_return answer;
        });

    MCPToolResult list(std::string_view arguments) { return call(0, arguments); }
    MCPToolResult create(std::string_view arguments) { return call(1, arguments); }
    MCPToolResult call(std::size_t tool, std::string_view arguments) {
        return syncWait(tools.at(tool).handler(JSONValue::parse(arguments)));
    }
    std::string failure(std::size_t tool, std::string_view arguments) {
        try {
            call(tool, arguments);
            return "no failure";
        } catch (const MCPToolError& error) {
            return error.message;
        }
    }
    [[nodiscard]] std::string range() const {
        const std::string& last = database->journal.back();
        return last.substr(0, last.rfind(' '));
    }
    static std::string eventsCall(const char* from, const char* to) {
        const auto seconds = [](const char* text) {
            return std::to_string(parseDate(text)->time_since_epoch() / std::chrono::seconds{1});
        };
        return "events " + seconds(from) + " " + seconds(to);
    }
};

} // namespace

TEST_F(CalendarTools, AnnounceThemselves) {
    EXPECT_EQ(tools.at(0).name, "calendar_list_events");
    EXPECT_TRUE(tools.at(0).readOnly);
    EXPECT_EQ(tools.at(1).name, "calendar_create_event");
    EXPECT_FALSE(tools.at(1).readOnly);
}

TEST_F(CalendarTools, ListFromTheStartOfTodayForADayByDefault) {
    EXPECT_EQ(list("{}"), (MCPToolResult{"{\n  \"events\" : []\n}", false}));
    const auto today = startOfToday();
    EXPECT_EQ(range(), eventsCall(dateText(today).c_str(),
                                  dateText(today + std::chrono::hours{24}).c_str()));
}

TEST_F(CalendarTools, ListDaysOfTwentyFourHoursEvenIfTheClockChanges) {
    list(R"({"start":"2026-10-25","days":1})");
    EXPECT_EQ(range(), eventsCall("2026-10-25", "2026-10-25T23:00"));
    list(R"({"start":"2026-10-01","days":62})");
    EXPECT_EQ(range(), eventsCall("2026-10-01", "2026-12-01T23:00"));
}

TEST_F(CalendarTools, ListBetweenStartAndEnd) {
    list(R"({"start":"2026-10-14T08:00","end":"2026-10-14 09:30","days":3})");
    EXPECT_EQ(range(), eventsCall("2026-10-14T08:00", "2026-10-14T09:30"));
}

TEST_F(CalendarTools, ListRefusesDaysOutOfRangeEvenIfThereIsAnEnd) {
    const std::string message = "‘days’ must be a whole number from 1 to 62";
    EXPECT_EQ(failure(0, R"({"days":63})"), message);
    EXPECT_EQ(failure(0, R"({"days":0})"), message);
    EXPECT_EQ(failure(0, R"({"start":"2026-10-14","end":"2026-10-15","days":99})"), message);
    EXPECT_EQ(failure(0, R"({"start":"x","days":0})"),
              "‘start’ is not a date: use 2026-10-14, 2026-10-14T15:00 or ISO 8601 with an offset");
    EXPECT_TRUE(database->journal.empty());
}

TEST_F(CalendarTools, AnEndThatIsNotAfterTheStartIsRefused) {
    const std::string message = "‘end’ must be after ‘start’";
    EXPECT_EQ(failure(0, R"({"start":"2026-10-14","end":"2026-10-14"})"), message);
    EXPECT_EQ(failure(0, R"({"start":"2026-10-14","end":"2026-10-13"})"), message);
    EXPECT_EQ(failure(1, R"({"title":"x","start":"2026-10-14","end":"2026-10-14"})"), message);
    EXPECT_TRUE(database->journal.empty());
}

TEST_F(CalendarTools, ListOneCalendarByName) {
    list(R"({"calendar":" WORK "})");
    EXPECT_TRUE(database->journal.back().ends_with(" c2"));
    EXPECT_EQ(failure(0, R"({"calendar":"Garden"})"),
              "no calendar named ‘Garden’. Known: Home, Work");
    list(R"({"calendar":"  "})");
    EXPECT_TRUE(database->journal.back().ends_with(" all"));
}

TEST_F(CalendarTools, CreateAsksFirstAndThenSaves) {
    const auto result =
        create(R"({"title":" Dentist ","start":"2026-10-14T15:00","location":"Room 4",)"
               R"("notes":" Card ","calendar":"work"})");
    EXPECT_EQ(result, (MCPToolResult{"{\n  \"created\" : true,\n  \"id\" : \"new-id\"\n}", false}));
    EXPECT_EQ(database->journal,
              (std::vector<std::string>{"ask calendar_create_event: Dentist — 14 Oct 2026, 15:00",
                                        "authorizationStatus 0", "calendars 0",
                                        "saveEvent Dentist in c2"}));
    EXPECT_EQ(database->saved.end - database->saved.start, std::chrono::minutes{60});
    EXPECT_EQ(database->saved.location, "Room 4");
    EXPECT_EQ(database->saved.notes, "Card");
    EXPECT_FALSE(database->saved.allDay);
}

TEST_F(CalendarTools, CreateOfAnAllDayEventTakesADayAndShowsNoTime) {
    create(R"({"title":"Fair","start":"2026-10-14","all_day":true})");
    EXPECT_EQ(database->journal.front(), "ask calendar_create_event: Fair — 14 Oct 2026");
    EXPECT_EQ(database->saved.end - database->saved.start, std::chrono::minutes{1440});
    EXPECT_TRUE(database->saved.allDay);
    EXPECT_EQ(database->saved.location, std::nullopt);
}

TEST_F(CalendarTools, AllDayIsOffUnlessItIsTheValueTrue) {
    create(R"({"title":"Fair","start":"2026-10-14","all_day":"true"})");
    EXPECT_FALSE(database->saved.allDay);
    EXPECT_EQ(database->saved.end - database->saved.start, std::chrono::minutes{60});
}

TEST_F(CalendarTools, ADurationIsCheckedButHasNoEffectIfThereIsAnEnd) {
    create(R"({"title":"x","start":"2026-10-14T15:00","end":"2026-10-14T15:10",)"
           R"("duration_minutes":500})");
    EXPECT_EQ(database->saved.end - database->saved.start, std::chrono::minutes{10});
    EXPECT_EQ(failure(1, R"({"title":"x","start":"2026-10-14T15:00","end":"2026-10-14T15:10",)"
                         R"("duration_minutes":10081})"),
              "‘duration_minutes’ must be a whole number from 1 to 10080");
}

TEST_F(CalendarTools, CreateReportsTheFirstWrongArgumentBeforeAnythingElse) {
    EXPECT_EQ(failure(1, R"({})"), "‘title’ is required");
    EXPECT_EQ(failure(1, R"({"title":5,"start":"2026-10-14"})"), "‘title’ is required");
    EXPECT_EQ(failure(1, R"({"title":"x"})"), "‘start’ is required");
    EXPECT_EQ(failure(1, R"({"title":"x","start":"soon"})"),
              "‘start’ is not a date: use 2026-10-14, 2026-10-14T15:00 or ISO 8601 with an offset");
    EXPECT_EQ(failure(1, R"({"title":"x","start":"2026-10-14","end":"late"})"),
              "‘end’ is not a date: use 2026-10-14, 2026-10-14T15:00 or ISO 8601 with an offset");
    EXPECT_TRUE(database->journal.empty());
}

TEST_F(CalendarTools, ANoChangesNothing) {
    answer = false;
    EXPECT_EQ(create(R"({"title":"Dentist","start":"2026-10-14T15:00","calendar":"nowhere"})"),
              MCPToolResult::error("The user did not allow this (Dentist — 14 Oct 2026, 15:00). Do "
                                   "not retry unless the user asks."));
    EXPECT_EQ(database->journal.size(), 1U); // only the question
}

TEST_F(CalendarTools, AccessAndTheCalendarAreCheckedOnlyAfterTheQuestion) {
    database->eventAccess = AuthorizationStatus::writeOnly;
    EXPECT_EQ(failure(1, R"({"title":"x","start":"2026-10-14"})"),
              "Velmiro has no full access to Calendars. Ask the user to turn it on in Velmiro › "
              "Settings › Connectors.");
    EXPECT_TRUE(database->journal.front().starts_with("ask "));
    EXPECT_FALSE(database->changed());
}
