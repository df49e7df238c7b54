#pragma once

#include "velmiro_mcp/base/Instant.hpp"
#include "velmiro_mcp/ports/EventDatabase.hpp"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

/// Looks at the frameworks where the ports do not: what they do with things that are not saved, and
/// how to get rid of what was.
namespace velmiro::check {

/// The end that an all-day event has once it was given these, before it is saved.
std::optional<Instant> endOfUnsavedAllDayEvent(Instant start, Instant end);

/// The number of calendars that a store made now holds, before and after it is reset. The store is
/// made before `meanwhile` is called and asked after that.
struct StoreView {
    std::size_t before = 0;
    std::size_t after = 0;
};
StoreView viewOfStoreMadeBefore(EntityType type, const std::function<void()>& meanwhile);

/// A calendar that can be written, one for each kind of account.
struct Account {
    std::string kind; ///< the number that the framework has for it, in words
    Calendar calendar;
};
std::vector<Account> accounts();

/// Empty when it was removed, else why not.
std::string removeEvent(const std::string& identifier);
std::string removeReminder(const std::string& identifier);

/// What is left of an NSException that is raised below a sorting of a C++ container: its reason,
/// and whether an object of C++ on the way was destroyed.
struct Unwound {
    std::string reason;
    bool destroyed = false;
};
Unwound exceptionThroughCpp();

} // namespace velmiro::check
