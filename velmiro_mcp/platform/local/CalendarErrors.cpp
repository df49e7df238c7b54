#include "velmiro_mcp/platform/local/CalendarErrors.hpp"

namespace velmiro::local {

std::string nameOf(EntityType type) {
    return type == EntityType::event ? "the calendars" : "the reminders";
}

std::string nameOf(EntityType type, const std::string& title) {
    return (type == EntityType::event ? "the calendar ‘" : "the list ‘") + title + "’";
}

PlatformError cannotRead(const std::string& what, const std::error_code& error) {
    return PlatformError{what + " cannot be read: " + error.message()};
}

PlatformError cannotWrite(const std::string& what, const std::error_code& error) {
    return PlatformError{what + " cannot be written: " + error.message()};
}

} // namespace velmiro::local
