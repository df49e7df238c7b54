#include "tests/velmiro_mcp/platform/local/Support.hpp"

#include "velmiro_mcp/platform/local/zones/SystemZone.hpp"
#include "velmiro_mcp/platform/local/zones/VTimeZone.hpp"
#include "velmiro_mcp/platform/local/zones/ZoneCatalogue.hpp"

#include <gtest/gtest.h>
#include <libical/ical.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <span>

// Writes every zone of the system as the large calendar programs write VTIMEZONEs, and reads it
// back. The C library is the reference: it knows when each zone changes its offset, and to what.

namespace velmiro::local {
namespace {

using std::chrono::days;
using std::chrono::hours;
using std::chrono::seconds;
using std::chrono::sys_days;
using std::chrono::year;
using std::chrono::year_month_day;
using std::chrono::years;

const char* const zoneFolder = "/usr/share/zoneinfo";
constexpr UTCTime firstWritten{sys_days{year{1900} / 1 / 1}};
constexpr UTCTime firstCompared{sys_days{year{1970} / 1 / 1}};
constexpr UTCTime lastCompared{sys_days{year{2038} / 1 / 1}};

/// Returns every name in the system's zone data, aliases included.
std::vector<std::string> allZones() {
    namespace fs = std::filesystem;
    std::vector<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator{zoneFolder}) {
        const std::string name = entry.path().lexically_relative(zoneFolder).string();
        // Two folders contain all zones again, and three files are not zones of their own.
        if (entry.is_regular_file() && !name.starts_with("posix/") && !name.starts_with("right/") &&
            name != "posixrules" && name != "localtime" && name != "Factory" &&
            systemZone(name, zoneFolder)) {
            names.push_back(name);
        }
    }
    std::ranges::sort(names);
    return names;
}

struct Clock {
    seconds offset;
    bool isSummer;

    friend bool operator==(const Clock&, const Clock&) = default;
};

Clock clockOfLibrary(UTCTime time) {
    const std::time_t instant = time.time_since_epoch().count();
    std::tm local{};
    localtime_r(&instant, &local);
    return {seconds{local.tm_gmtoff}, local.tm_isdst > 0};
}

/// A change of offset, as the C library knows it.
struct Transition {
    UTCTime at;
    Clock before;
    Clock after;

    /// Returns what the clocks would show at the change, had they not changed.
    [[nodiscard]] CivilTime shown() const {
        return CivilTime{(at + before.offset).time_since_epoch()};
    }
    [[nodiscard]] year_month_day date() const { return year_month_day{dayOf(shown())}; }
};

/// Returns the changes of the zone that TZ names.
std::vector<Transition> transitions() {
    std::vector<Transition> found;
    Clock before = clockOfLibrary(firstWritten);
    constexpr days stride{4}; // changes undone within less are not compared
    for (UTCTime time = firstWritten + stride; time < lastCompared; time += stride) {
        const Clock after = clockOfLibrary(time);
        if (after == before) {
            continue;
        }
        UTCTime low = time - stride;
        UTCTime high = time;
        while (high - low > seconds{1}) {
            const UTCTime middle = low + (high - low) / 2;
            (clockOfLibrary(middle) == before ? low : high) = middle;
        }
        found.push_back({high, before, after});
        before = after;
    }
    return found;
}

std::string text(const char* format, auto... values) {
    std::array<char, 200> buffer{};
    std::snprintf(buffer.data(), buffer.size(), format, values...);
    return buffer.data();
}

std::string textOf(CivilTime time) {
    const year_month_day date{dayOf(time)};
    const std::chrono::hh_mm_ss clock{time - dayOf(time)};
    return text("%04d%02u%02uT%02d%02d%02d", int{date.year()}, unsigned{date.month()},
                unsigned{date.day()}, static_cast<int>(clock.hours().count()),
                static_cast<int>(clock.minutes().count()),
                static_cast<int>(clock.seconds().count()));
}

std::string textOf(seconds offset) {
    const std::chrono::hh_mm_ss size{std::chrono::abs(offset)};
    const auto shown =
        text("%s%02d%02d", offset < seconds{0} ? "-" : "+", static_cast<int>(size.hours().count()),
             static_cast<int>(size.minutes().count()));
    return size.seconds() == seconds{0}
               ? shown
               : shown + text("%02d", static_cast<int>(size.seconds().count()));
}

/// The ways to name the day of the month of a change, the usual one first.
std::string lastWeekday(const Transition& change) {
    const auto date = change.date();
    const year_month_day end{date.year() / date.month() / std::chrono::last};
    if (unsigned{date.day()} + 7 <= unsigned{end.day()}) {
        return "";
    }
    static constexpr std::array names{"SU", "MO", "TU", "WE", "TH", "FR", "SA"};
    return std::string{";BYDAY=-1"} +
           names[std::chrono::weekday{dayOf(change.shown())}.c_encoding()];
}
std::string countedWeekday(const Transition& change) {
    static constexpr std::array names{"SU", "MO", "TU", "WE", "TH", "FR", "SA"};
    return text(";BYDAY=%u", (unsigned{change.date().day()} - 1) / 7 + 1) +
           names[std::chrono::weekday{dayOf(change.shown())}.c_encoding()];
}
std::string fixedDay(const Transition& change) {
    return text(";BYMONTHDAY=%u", unsigned{change.date().day()});
}

/// Changes that one rule describes: a year apart, on the same day of the same month in one of the
/// ways above, at the same time, between the same offsets.
struct Run {
    std::vector<Transition> changes;
    std::string day;
};

bool areAlike(const Transition& left, const Transition& right) {
    return left.before == right.before && left.after == right.after &&
           left.date().month() == right.date().month() &&
           left.shown() - dayOf(left.shown()) == right.shown() - dayOf(right.shown());
}

/// Removes the longest run that begins with the first of `changes`, and returns it.
Run takeRun(std::vector<Transition>& changes) {
    Run longest;
    for (const auto& way : {lastWeekday, countedWeekday, fixedDay}) {
        Run run{{changes.front()}, way(changes.front())};
        for (const Transition& change : changes) {
            const auto wanted = run.changes.back().date().year() + years{1};
            if (!run.day.empty() && change.date().year() == wanted &&
                areAlike(change, changes.front()) && way(change) == run.day) {
                run.changes.push_back(change);
            }
        }
        if (run.changes.size() > longest.changes.size()) {
            longest = run;
        }
    }
    std::erase_if(changes, [&](const Transition& change) {
        return std::ranges::find(longest.changes, change.at, &Transition::at) !=
               longest.changes.end();
    });
    return longest;
}

bool goesOn(const Run& run) {
    return run.changes.size() > 1 && run.changes.back().date().year() == year{2037};
}

std::string observance(const Run& run) {
    const Transition& first = run.changes.front();
    const Transition& last = run.changes.back();
    const char* const name = first.after.isSummer ? "DAYLIGHT" : "STANDARD";
    std::string lines = "DTSTART:" + textOf(first.shown()) + "\r\n";
    if (run.changes.size() > 1) {
        lines += text("RRULE:FREQ=YEARLY;BYMONTH=%u", unsigned{first.date().month()}) + run.day;
        lines += goesOn(run) ? "\r\n"
                             : ";UNTIL=" + textOf(CivilTime{last.at.time_since_epoch()}) + "Z\r\n";
    }
    return std::string{"BEGIN:"} + name + "\r\nTZOFFSETFROM:" + textOf(first.before.offset) +
           "\r\nTZOFFSETTO:" + textOf(first.after.offset) + "\r\n" + lines + "END:" + name + "\r\n";
}

std::string vtimezone(const std::string& name, const std::string& observances) {
    return "BEGIN:VTIMEZONE\r\nTZID:" + name + "\r\n" + observances + "END:VTIMEZONE\r\n";
}

/// Returns a VTIMEZONE with the zone's whole history, one observance for each rule, under a name
/// that hints at no zone.
std::string wholeHistory(std::vector<Transition> changes, Clock first) {
    const Transition beginning{firstWritten - first.offset, first, first};
    std::string observances = observance({{beginning}, ""});
    while (!changes.empty()) {
        observances += observance(takeRun(changes));
    }
    return vtimezone("A zone of ours", observances);
}

/// Returns a VTIMEZONE with today's rules, from the time on at which they describe all changes; or
/// with the last change, if the clocks no longer change.
std::string lastRules(std::vector<Transition> changes, const std::string& name,
                      const std::string& more) {
    std::vector<Run> lasting;
    UTCTime from{seconds{0}};
    const Transition last = changes.empty() ? Transition{} : changes.back();
    while (!changes.empty()) {
        Run run = takeRun(changes);
        if (goesOn(run)) {
            lasting.push_back(std::move(run));
        } else {
            from = std::max(from, run.changes.back().at);
        }
    }
    std::string observances;
    for (Run& run : lasting) {
        std::erase_if(run.changes, [&](const Transition& change) { return change.at <= from; });
        observances += run.changes.size() > 1 ? observance(run) : "";
    }
    const bool neverChanged = last.at == UTCTime{};
    return vtimezone(name, more + (observances.empty() && !neverChanged ? observance({{last}, ""})
                                                                        : observances));
}

struct ReadZone {
    std::shared_ptr<const Zone> zone;
    std::uint64_t steps;
};

/// Reads a VTIMEZONE as the reader of a file does.
ReadZone read(const std::string& vtimezone) {
    const std::string text = unfoldedText(vtimezone);
    const auto components = readComponents(text);
    WorkBudget budget{1'000'000};
    ZoneCatalogue catalogue;
    auto zone = catalogue.fromVTimeZone(components.at(0), budget);
    return {std::move(zone), budget.spent()};
}

/// The times at which a VTIMEZONE and the system differ, of those at and around the changes.
struct Comparison {
    std::vector<UTCTime> differences;
    std::uint64_t steps = 0;
};

Comparison compare(const std::string& vtimezone, std::span<const Transition> changes) {
    Comparison result;
    const auto [zone, steps] = read(vtimezone);
    result.steps = steps;
    std::vector<UTCTime> times{firstCompared, lastCompared - seconds{1}};
    for (const Transition& change : changes) {
        for (const seconds beside : {seconds{-3600}, seconds{-1}, seconds{0}, seconds{3600}}) {
            times.push_back(change.at + beside);
        }
    }
    for (const UTCTime time : times) {
        if (time >= firstCompared && time < lastCompared &&
            (!zone || zone->offsetAt(time) != clockOfLibrary(time).offset)) {
            result.differences.push_back(time);
        }
    }
    return result;
}

/// Calls `check` for each zone and its changes, while the C library is set to that zone.
void forEachZone(
    const std::function<void(const std::string&, const std::vector<Transition>&)>& check) {
    static const std::vector<std::string> names = allZones();
    static std::map<std::string, std::vector<Transition>> known; // by data: many have aliases
    EXPECT_GE(names.size(), 300U);
    for (const std::string& name : names) {
        const ScopedVariable machine{"TZ", name.c_str()};
        const auto [changes, isNew] =
            known.try_emplace(readFile(std::string{zoneFolder} + "/" + name));
        if (isNew) {
            changes->second = transitions();
        }
        check(name, changes->second);
    }
}

std::string shown(UTCTime time) {
    return textOf(CivilTime{time.time_since_epoch()}) + "Z";
}

void expectRight(const std::string& name, const Comparison& result) {
    EXPECT_TRUE(result.differences.empty()) << name << " " << shown(result.differences.front());
}

TEST(EveryZone, IsRightWithItsWholeHistoryInRulesThatEnd) {
    std::uint64_t mostSteps = 0;
    int zones = 0;
    forEachZone([&](const std::string& name, const std::vector<Transition>& changes) {
        const auto result = compare(wholeHistory(changes, clockOfLibrary(firstWritten)), changes);
        expectRight(name, result);
        ++zones;
        mostSteps = std::max(mostSteps, result.steps);
    });
    RecordProperty("zones", std::to_string(zones));
    RecordProperty("most steps of a zone", std::to_string(mostSteps));
    EXPECT_LE(mostSteps, mostStepsOfVTimeZone / 2);
}

TEST(EveryZone, IsRightWithItsLastRulesAndANameAfterAPrefix) {
    forEachZone([&](const std::string& name, const std::vector<Transition>& changes) {
        const auto result =
            compare(lastRules(changes, "/example.org/20050126_1/" + name, ""), changes);
        expectRight(name, result);
    });
}

TEST(EveryZone, IsRightWithItsLastRulesAndALocation) {
    forEachZone([&](const std::string& name, const std::vector<Transition>& changes) {
        const auto result =
            compare(lastRules(changes, "Ours", "X-LIC-LOCATION:" + name + "\r\n"), changes);
        expectRight(name, result);
    });
}

/// The zone that libical reads from a VTIMEZONE.
class LibicalZone {
public:
    explicit LibicalZone(const std::string& vtimezone)
        : zone_{icaltimezone_new(), [](icaltimezone* zone) { icaltimezone_free(zone, 1); }} {
        icaltimezone_set_component(zone_.get(), icalparser_parse_string(vtimezone.c_str()));
    }

    seconds offsetAt(UTCTime time) {
        icaltimetype moment = icaltime_from_timet_with_zone(time.time_since_epoch().count(), 0,
                                                            icaltimezone_get_utc_timezone());
        return seconds{icaltimezone_get_utc_offset_of_utc_time(zone_.get(), &moment, nullptr)};
    }

private:
    std::unique_ptr<icaltimezone, void (*)(icaltimezone*)> zone_;
};

/// libical 3 writes some old changes of a zone as rules that do not describe them: it combines days
/// of different years into BYDAY=SA;BYMONTHDAY=1,6, which matches in only one year. If its
/// VTIMEZONE is not the zone, it must be read as libical itself reads it.
TEST(EveryZone, IsReadFromWhatLibicalWritesAsLibicalReadsIt) {
    int written = 0;
    std::string misstated;
    forEachZone([&](const std::string& name, const std::vector<Transition>& changes) {
        icaltimezone* const builtin = icaltimezone_get_builtin_timezone(name.c_str());
        icalcomponent* const component =
            builtin != nullptr ? icaltimezone_get_component(builtin) : nullptr;
        if (component == nullptr) {
            return;
        }
        ++written;
        char* const lines = icalcomponent_as_ical_string_r(component);
        const std::string vtimezone{lines};
        std::free(lines);
        const Comparison result = compare(vtimezone, changes);
        if (result.differences.empty()) {
            return;
        }
        misstated += name + " until " + shown(result.differences.back()) + ", ";
        EXPECT_LT(result.differences.back(), sys_days(year{2023} / 1 / 1)) << name;
        LibicalZone theirs{vtimezone};
        const auto ours = read(vtimezone).zone;
        for (const UTCTime time : result.differences) {
            EXPECT_EQ(ours->offsetAt(time), theirs.offsetAt(time)) << name << " " << shown(time);
        }
    });
    RecordProperty("misstated zones", misstated);
    EXPECT_GE(written, 300);
}

} // namespace
} // namespace velmiro::local
