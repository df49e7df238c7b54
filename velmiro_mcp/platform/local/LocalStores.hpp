#pragma once

#include "velmiro_mcp/ports/ContactStore.hpp"
#include "velmiro_mcp/ports/EventDatabase.hpp"

#include <memory>
#include <string>

/// What this platform has behind the ports: the user's own folders.
namespace velmiro::local {

std::unique_ptr<EventDatabase> openCalendarFolders();
std::unique_ptr<ContactStore> openCardFolders();
ContactsAuthorizationStatus cardFoldersStatus();

} // namespace velmiro::local
