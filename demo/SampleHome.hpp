#pragma once

#include "support/TemporaryFolder.hpp"

#include <chrono>
#include <filesystem>
#include <map>
#include <string>

namespace velmiro::demo {

/// A temporary home with some data of every kind, dated in the weeks around today. It is removed on
/// destruction.
class SampleHome {
public:
    /// `samples` is the folder of the initial notes and messages.
    explicit SampleHome(const std::string& samples);

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

    support::TemporaryFolder folder_;
};

/// Returns the day that many days from today, in the demo's time zone.
std::chrono::year_month_day dayFromToday(int days);
/// Returns 2026-10-14.
std::string isoDay(std::chrono::year_month_day day);

} // namespace velmiro::demo
