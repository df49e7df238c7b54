#pragma once

#include "support/ScopedVariable.hpp"
#include "support/TemporaryFolder.hpp"
#include "velmiro_mcp/base/Instant.hpp"
#include "velmiro_mcp/ports/EventDatabase.hpp"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Helpers for the tests of the local platform.
namespace velmiro::local {

using support::ScopedVariable;
using support::TemporaryFolder;

/// A home folder with calendars, used by this process while this object lives.
class TemporaryHome {
public:
    [[nodiscard]] const std::string& path() const { return folder_.path().native(); }
    [[nodiscard]] std::string calendars() const;
    [[nodiscard]] std::string reminders() const;

    /// Writes a file into a calendar, which is created if it is missing.
    void write(const std::string& calendar, const std::string& file, std::string_view contents);

    /// Writes a file into a reminder list likewise.
    void writeReminder(const std::string& list, const std::string& file,
                       std::string_view contents) const;

    /// Lets other users enter the folders above the calendars.
    void openTheWay() const;

private:
    TemporaryFolder folder_;
    ScopedVariable home_{"HOME", folder_.path().c_str()};
};

/// Acts as a user without any rights while this object lives, if this process is allowed to.
class Nobody {
public:
    Nobody();
    Nobody(const Nobody&) = delete;
    Nobody& operator=(const Nobody&) = delete;
    ~Nobody();

    [[nodiscard]] bool allowed() const { return allowed_; }

private:
    bool allowed_;
};

void writeFile(const std::string& path, std::string_view contents);
std::string readFile(const std::string& path);

/// Returns all names in a folder, including hidden ones, in order.
std::vector<std::string> namesIn(const std::string& folder);

/// Returns the instant of a date as the agent writes it.
Instant at(std::string_view date);

/// Returns a file with one VEVENT of these lines, after the components in `before`.
std::string eventFile(std::string_view lines, std::string_view before = "");

/// Returns the same with one VTODO.
std::string reminderFile(std::string_view lines, std::string_view before = "");

/// Returns the reminders that a query finds, in its order.
std::vector<Reminder> fetched(EventDatabase& database, const ReminderQuery& query = {});

/// Returns the events from `start` to `end`, each as "start..end title", sorted by start.
std::vector<std::string> listed(std::string_view start, std::string_view end);

/// Returns the same for a home that holds only this file.
std::vector<std::string> listedFrom(std::string_view file, std::string_view start,
                                    std::string_view end);

} // namespace velmiro::local
