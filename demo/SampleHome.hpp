#pragma once

#include "support/TemporaryFolder.hpp"

#include <chrono>
#include <filesystem>
#include <map>
#include <string>

namespace velmiro::demo {

/// A temporary home with some data of every kind. Events and reminders are dated in the weeks
/// around the session's day, notes and messages in the hours before now. It is removed on
/// destruction.
class SampleHome {
public:
    /// `samples` is the folder of the initial notes and messages, `today` the session's day.
    SampleHome(const std::string& samples, std::chrono::sys_days today);

    /// Returns the day that many days from the session's, as 2026-10-14.
    [[nodiscard]] std::string day(int daysFromToday) const;

    /// Returns the environment variables of a program whose home this is.
    [[nodiscard]] std::map<std::string, std::string> environment() const;

    /// Returns the content of every file of the user's data, by its path in the data folder.
    [[nodiscard]] std::map<std::string, std::string> files() const;

private:
    [[nodiscard]] std::filesystem::path data() const;
    void write(const std::string& name, const std::string& content) const;
    void fillCalendars() const;
    void fillReminders() const;
    void fillContacts() const;
    void copy(const std::string& samples) const;
    [[nodiscard]] std::string icsDay(int daysFromToday) const;
    [[nodiscard]] std::string berlin(const std::string& property, int daysFromToday,
                                     const std::string& time) const;

    std::chrono::sys_days today_;
    support::TemporaryFolder folder_;
};

/// Returns today, in the demo's time zone.
std::chrono::sys_days localToday();

} // namespace velmiro::demo
