#pragma once

#include "velmiro_mcp/base/Instant.hpp"
#include "velmiro_mcp/ports/EventDatabase.hpp"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// What the tests of the local platform share.
namespace velmiro::local {

/// An environment variable that has another value for as long as this object lives.
class EnvironmentGuard {
public:
    EnvironmentGuard(std::string name, const std::optional<std::string>& value);
    EnvironmentGuard(const EnvironmentGuard&) = delete;
    EnvironmentGuard& operator=(const EnvironmentGuard&) = delete;
    ~EnvironmentGuard();

private:
    std::string name_;
    std::optional<std::string> before_;
};

/// The machine's time zone, as long as this object lives.
class ZoneGuard {
public:
    explicit ZoneGuard(const std::string& zone);
    ZoneGuard(const ZoneGuard&) = delete;
    ZoneGuard& operator=(const ZoneGuard&) = delete;
    ~ZoneGuard();

private:
    std::optional<EnvironmentGuard> variable_;
};

/// A folder that goes with this object.
class TemporaryFolder {
public:
    TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder();

    [[nodiscard]] const std::string& path() const { return path_; }

private:
    std::string path_;
};

/// A user's home with calendars in it, and the user of this process while it lives.
class TemporaryHome {
public:
    [[nodiscard]] const std::string& path() const { return folder_.path(); }
    [[nodiscard]] std::string calendars() const;
    [[nodiscard]] std::string reminders() const;

    /// Writes a file into a calendar, which is made when it is missing.
    void write(const std::string& calendar, const std::string& file, std::string_view contents);

    /// The same for a list of reminders.
    void writeReminder(const std::string& list, const std::string& file,
                       std::string_view contents) const;

    /// Lets others enter the folders above the calendars.
    void openTheWay() const;

private:
    TemporaryFolder folder_;
    EnvironmentGuard home_{"HOME", folder_.path()};
};

/// Acts as a user without any rights for as long as it lives, where this process may.
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

/// All names in a folder, also the hidden ones, in order.
std::vector<std::string> namesIn(const std::string& folder);

/// A date as the agent writes it.
Instant at(std::string_view date);

/// A file that holds one VEVENT with these lines, and before it whatever else is given.
std::string eventFile(std::string_view lines, std::string_view before = "");

/// The same for one VTODO.
std::string reminderFile(std::string_view lines, std::string_view before = "");

/// The reminders that a query gives, in its order.
std::vector<Reminder> fetched(EventDatabase& database, const ReminderQuery& query = {});

/// The events from `start` to `end`, each as "start..end title", by start.
std::vector<std::string> listed(std::string_view start, std::string_view end);

/// The same for a home that holds only one file.
std::vector<std::string> listedFrom(std::string_view file, std::string_view start,
                                    std::string_view end);

} // namespace velmiro::local
