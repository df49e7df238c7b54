#pragma once

#include "velmiro_mcp/base/Instant.hpp"
#include "velmiro_mcp/ports/EventDatabase.hpp"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

/// Uses of the frameworks beyond the ports: observing items that are not saved, and removing those
/// that were.
namespace velmiro::check {

/// Returns the end of an all-day event with this start and end, before it is saved.
std::optional<Instant> endOfUnsavedAllDayEvent(Instant start, Instant end);

/// The numbers of calendars that a store holds before and after it is reset.
struct StoreView {
    std::size_t before = 0;
    std::size_t after = 0;
};
/// Creates a store, calls `meanwhile`, and then examines the store.
StoreView viewOfStoreMadeBefore(EntityType type, const std::function<void()>& meanwhile);

/// A writable calendar, one for each kind of account.
struct Account {
    std::string kind; ///< the framework's number for it, in words
    Calendar calendar;
};
std::vector<Account> accounts();

/// Removes an item. Returns an empty text, or else why it was not removed.
std::string removeEvent(const std::string& identifier);
std::string removeReminder(const std::string& identifier);

/// The effects of an NSException that is raised while a C++ container is sorted: its reason, and
/// whether a C++ object on the way was destroyed.
struct Unwound {
    std::string reason;
    bool destroyed = false;
};
Unwound exceptionThroughCpp();

} // namespace velmiro::check
