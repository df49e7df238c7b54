// An exception of a framework, wherever it is raised, becomes an error of the port or is ignored.
// It never ends the process.

#include "support/ScopedVariable.hpp"
#include "support/TemporaryFolder.hpp"
#include "tests/macos/Failure.hpp"
#include "tests/macos/standin/StandIn.hpp"
#include "tests/support/FakeEventDatabase.hpp"
#include "velmiro_mcp/base/Dates.hpp"

#include <gtest/gtest.h>

using namespace velmiro;
using velmiro::support::ScopedVariable;
using velmiro::support::TemporaryFolder;
using velmiro::test::failureOf;
using velmiro::test::FakeEventDatabase;
using velmiro::test::StandIn;

namespace {

/// Returns calls of every method of the ports that use a framework.
std::vector<std::function<void()>> operations(EventDatabase& database) {
    static const Calendar work{"c2", "Work"};
    static const Calendar list{"l2", "Work"};
    const Instant start = parseDate("2026-10-14").value();
    const Instant end = parseDate("2026-10-15").value();
    return {
        [&database] { database.authorizationStatus(EntityType::event); },
        [&database] { database.authorizationStatus(EntityType::reminder); },
        [&database] { database.calendars(EntityType::event); },
        [&database] { database.defaultCalendarForNewEvents(); },
        [&database] { database.defaultListForNewReminders(); },
        [=, &database] { database.events(start, end, &work); },
        [=, &database] { database.saveEvent({"Fair", start, end, true, "L", "N"}, work); },
        [=, &database] { database.fetchReminders({false, start, &list}, [](const auto&) {}); },
        [&database] { database.fetchReminders({true, {}, nullptr}, [](const auto&) {}); },
        [&database] { database.reminder("milk"); },
        [=, &database] { database.saveReminder({"Milk", "N", 5, start}, list); },
        [&database] { database.completeReminder("milk"); },
        [] { contactsAuthorizationStatus(); },
        [] { openContactStore()->contactsMatchingName("Zoe"); },
    };
}

class ExceptionsTest : public testing::Test {
protected:
    ExceptionsTest() {
        standIn.reset();
        standIn.database = std::make_shared<FakeEventDatabase>(data);
        const Instant start = parseDate("2026-10-14").value();
        data->stored = {{"e", "E", start, start, false, "Work", "L", "N"}};
        data->reminders = {{"milk", "Milk", "Work", false, 9, start, "N"}};
        home.write("Library/Application Support/Velmiro/Contacts/zoe.vcf",
                   "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:zoe\r\nFN:Zoe Tan\r\nN:Tan;Zoe;;;\r\n"
                   "EMAIL:z@example.org\r\nTEL:1\r\nEND:VCARD\r\n");
    }
    ~ExceptionsTest() override { standIn.reset(); }

    StandIn& standIn = StandIn::shared();
    std::shared_ptr<FakeEventDatabase::Script> data = std::make_shared<FakeEventDatabase::Script>();
    ScopedVariable zone{"TZ", "Europe/Berlin"};
    TemporaryFolder home;
    ScopedVariable homeVariable{"HOME", home.path().c_str()};
};

} // namespace

TEST_F(ExceptionsTest, NoneLeavesAPort) {
    const auto first = openEventDatabase();
    for (const auto& operation : operations(*first)) {
        EXPECT_EQ(failureOf(operation), "no failure");
    }
    const std::set<std::string> calls = standIn.allCalled();
    EXPECT_GT(calls.size(), 60U);
    for (const std::string& call : calls) {
        int failures = 0;
        int others = 0;
        standIn.raises = {{call, "raised"}};
        const auto database = openEventDatabase();
        for (const auto& operation : operations(*database)) {
            const std::string failure = failureOf(operation);
            failures += failure == "raised" ? 1 : 0;
            others += failure == "raised" || failure == "no failure" ? 0 : 1;
        }
        // A property that raises hides only its own item.
        EXPECT_TRUE(failures > 0 || call.find(':') == std::string::npos) << call;
        EXPECT_EQ(others, 0) << call;
    }
}
