#include "velmiro_mcp/ports/ContactStore.hpp"
#include "velmiro_mcp/ports/EventDatabase.hpp"

#include "velmiro_mcp/platform/local/LocalStores.hpp"

// The ports that this platform serves from the user's folders. They stand apart from what serves
// them, so that the tests of another platform can lay that under their stand-ins for a system's
// databases.

namespace velmiro {

std::unique_ptr<EventDatabase> openEventDatabase() {
    return local::openCalendarFolders();
}

std::unique_ptr<ContactStore> openContactStore() {
    return local::openCardFolders();
}

ContactsAuthorizationStatus contactsAuthorizationStatus() {
    return local::cardFoldersStatus();
}

} // namespace velmiro
