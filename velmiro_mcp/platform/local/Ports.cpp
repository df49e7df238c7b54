#include "velmiro_mcp/ports/ContactStore.hpp"
#include "velmiro_mcp/ports/EventDatabase.hpp"

#include "velmiro_mcp/platform/local/LocalStores.hpp"

// The ports that this platform implements over the user's folders. They are apart from that
// implementation, so that the tests of another platform can use it in their stand-ins for a
// system's databases.

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
