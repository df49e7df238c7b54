#pragma once

#include "velmiro_mcp/ports/EventDatabase.hpp"
#include "velmiro_mcp/ports/PlatformError.hpp"

#include <string>
#include <system_error>

/// The errors that the agent receives if calendars or reminder lists cannot be read or written.
namespace velmiro::local {

/// Returns how errors name all calendars, or all lists.
std::string nameOf(EntityType type);

/// Returns how errors name one calendar or list: the calendar ‘Work’.
std::string nameOf(EntityType type, const std::string& title);

PlatformError cannotRead(const std::string& what, const std::error_code& error);
PlatformError cannotWrite(const std::string& what, const std::error_code& error);

/// Calls `read`, which reads `what`. Throws PlatformError if it throws std::system_error.
template <typename Read>
auto reading(const std::string& what, const Read& read) {
    try {
        return read();
    } catch (const std::system_error& error) {
        throw cannotRead(what, error.code());
    }
}

} // namespace velmiro::local
