#pragma once

#include "velmiro_mcp/ports/ContactStore.hpp"
#include "velmiro_mcp/ports/EventDatabase.hpp"

#include <memory>
#include <string>

/// The stores of this platform: the user's own folders.
namespace velmiro::local {

std::unique_ptr<EventDatabase> openCalendarFolders();
std::unique_ptr<ContactStore> openCardFolders();
ContactsAuthorizationStatus cardFoldersStatus();

} // namespace velmiro::local
