// Calendar files: every event is expanded within its bounds, and every reminder can be completed
// without a change to anything else, or is refused because its series could not go on as before, or
// only in a year that the format does not have.

#include "tests/fuzz/Fuzz.hpp"
#include "velmiro_mcp/platform/local/calendars/CalendarFile.hpp"
#include "velmiro_mcp/platform/local/calendars/Occurrences.hpp"
#include "velmiro_mcp/platform/local/editing/ReminderCompletion.hpp"
#include "velmiro_mcp/platform/local/recurrence/WorkBudget.hpp"
#include "velmiro_mcp/ports/PlatformError.hpp"

#include <algorithm>
#include <chrono>
#include <optional>
#include <string_view>

namespace {

using namespace velmiro;
using namespace velmiro::local;
using fuzz::require;

constexpr Instant now{std::chrono::milliseconds{1'792'000'000'000}};
constexpr std::size_t mostCompleted = 8; // so that a file of many reminders takes no longer

void expand(const CalendarFile& file) {
    WorkBudget budget{stepsOfFile(file.events.size())};
    UserClock clock;
    const TimeRange range{now - std::chrono::hours{24 * 30}, now + std::chrono::hours{24 * 60}};
    for (const Occurrence& one : occurrences(file.events, range, clock, budget)) {
        require(one.event != nullptr && one.start <= one.end, "an occurrence ends after its start");
    }
}

/// Returns nullopt if the rest of a recurring reminder could not be kept as it is.
std::optional<Completion> completedOrRefused(const std::string& bytes, std::size_t index,
                                             ZoneCatalogue& zones) {
    try {
        return completed(bytes, index, now, zones); // reads its result back
    } catch (const PlatformError& error) {
        const std::string_view reason{error.what()};
        require(reason.starts_with("the rest of this recurring reminder") ||
                    reason.starts_with("a calendar file can only hold dates of the years"),
                "no reminder is refused for another reason");
        return std::nullopt;
    }
}

void complete(const std::string& bytes, const CalendarFile& file, ZoneCatalogue& zones) {
    for (std::size_t index = 0; index < std::min(file.reminders.size(), mostCompleted); ++index) {
        if (!file.reminders[index].isListed()) {
            continue;
        }
        const auto completion = completedOrRefused(bytes, index, zones);
        if (!completion) {
            continue;
        }
        const auto after = readCalendarFile(completion->text, "file.ics", zones);
        require(after.reminders.size() == file.reminders.size() &&
                    after.events.size() == file.events.size(),
                "a completion adds and removes nothing");
        require(after.reminders[index].completed, "a completed reminder is completed");
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    static ZoneCatalogue zones;
    const std::string text{fuzz::textOf(bytes, size)};
    const auto file = readCalendarFile(text, "file.ics", zones);
    expand(file);
    complete(text, file, zones);
    return 0;
}
