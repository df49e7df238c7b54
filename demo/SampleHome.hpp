#pragma once

#include <chrono>
#include <filesystem>
#include <map>
#include <string>

namespace velmiro::demo {

/// A temporary home with two calendars, whose events lie in the weeks from today on. It is removed
/// with this object.
class SampleHome {
public:
    SampleHome();
    SampleHome(const SampleHome&) = delete;
    SampleHome& operator=(const SampleHome&) = delete;
    ~SampleHome();

    /// What a program needs in its environment to live in this home.
    [[nodiscard]] std::map<std::string, std::string> environment() const;

    /// Every file of the calendars, by its path below them, and what is in it.
    [[nodiscard]] std::map<std::string, std::string> calendarFiles() const;

    [[nodiscard]] const std::filesystem::path& path() const { return path_; }

private:
    [[nodiscard]] std::filesystem::path calendars() const;
    void write(const std::string& name, const std::string& content) const;
    void fill() const;

    std::filesystem::path path_;
};

/// The day this many days from today, in the zone of the demo.
std::chrono::year_month_day dayFromToday(int days);
/// 2026-10-14
std::string isoDay(std::chrono::year_month_day day);

} // namespace velmiro::demo
