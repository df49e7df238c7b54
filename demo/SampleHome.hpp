#pragma once

#include "support/TemporaryFolder.hpp"

#include <chrono>
#include <filesystem>
#include <map>
#include <string>

namespace velmiro::demo {

/// A temporary home with some data of every kind, whose dates lie in the weeks around today. It is
/// removed with this object.
class SampleHome {
public:
    /// `samples` is the folder of the notes and messages to start with.
    explicit SampleHome(const std::string& samples);

    /// What a program needs in its environment to live in this home.
    [[nodiscard]] std::map<std::string, std::string> environment() const;

    /// Every file of the user's data, by its path in their folder, and what is in it.
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

/// The day this many days from today, in the zone of the demo.
std::chrono::year_month_day dayFromToday(int days);
/// 2026-10-14
std::string isoDay(std::chrono::year_month_day day);

} // namespace velmiro::demo
