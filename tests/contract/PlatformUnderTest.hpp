#pragma once

#include "support/ScopedVariable.hpp"
#include "support/TemporaryFolder.hpp"
#include "velmiro_mcp/base/Dates.hpp"
#include "velmiro_mcp/base/Instant.hpp"
#include "velmiro_mcp/ports/EventDatabase.hpp"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

/// The promises that every platform keeps, as tests that know only the ports. They are compiled
/// once for each platform, into programs with the same cases.
namespace velmiro::test {

/// Things that a platform may be unable to do in the environment of these tests.
enum class Ability {
    charactersOfEmoji,      ///< several emoji joined into one character
    accentsInNames,         ///< distinguishing letters with and without an accent
    textFromByteOrderMark,  ///< a text that begins with U+FEFF
    applicationSupportName, ///< the folder's name
    startingPrograms,
};

/// Returns why the platform lacks an ability; empty if it has it. Each platform's program defines
/// this function and the next.
std::string_view whyNot(Ability ability);

/// Makes the platform start afresh, with the data of a new home.
void resetPlatform();

/// A home with the user's data, the time zone of Berlin and the language of Great Britain.
class PlatformTest : public testing::Test {
protected:
    PlatformTest() { resetPlatform(); }

    /// Adds an event or a reminder, given by the lines of its component. The calendar is created if
    /// it is missing; its title is its folder's name.
    void addEvent(const std::string& calendar, const std::string& uid,
                  std::string_view lines) const;
    void addReminder(const std::string& list, const std::string& uid, std::string_view lines) const;
    void addCalendar(const std::string& folder) const; ///< "Calendars/Work", "Reminders/Home"
    void addContact(const std::string& uid, std::string_view lines) const;
    void addFile(const std::string& path) const; ///< where a folder should be
    void remove(const std::string& path) const;

    static Instant at(std::string_view date);
    /// Returns the titles found, sorted; of events, those from `start` to `end`.
    std::vector<std::string> titles(std::string_view start, std::string_view end,
                                    const Calendar* calendar = nullptr) const;
    std::vector<std::string> titles(const ReminderQuery& query) const;
    std::vector<Reminder> fetched(const ReminderQuery& query) const;
    Event onlyEvent(std::string_view start, std::string_view end) const;
    Calendar calendar(EntityType type, const std::string& title) const;

    support::ScopedVariable zone{"TZ", "Europe/Berlin"};
    support::ScopedVariable language{"LC_ALL", "en_GB.UTF-8"};
    support::TemporaryFolder folder;
    support::ScopedVariable home{"HOME", folder.path().c_str()};
    std::unique_ptr<EventDatabase> database = openEventDatabase();
};

} // namespace velmiro::test

/// Skips a test that the platform cannot pass in this environment, with the reason.
#define SKIP_UNLESS_ABLE(ability)                                                                  \
    if (const auto reason = whyNot(ability); !reason.empty()) {                                    \
        GTEST_SKIP() << reason;                                                                    \
    }
