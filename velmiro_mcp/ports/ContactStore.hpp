#pragma once

#include <memory>
#include <string>
#include <vector>

/// The port to the user's address book.
namespace velmiro {

/// How much access the user has granted to the contacts. The values are the platform's own numbers.
enum class ContactsAuthorizationStatus {
    notDetermined = 0,
    restricted = 1,
    denied = 2,
    authorized = 3,
    limited = 4,
};

/// A person or a company of the address book. A missing text is empty.
struct Contact {
    std::string identifier;
    std::string givenName;
    std::string familyName;
    std::string organization;
    std::vector<std::string> emails; ///< in the contact's order, like the numbers
    std::vector<std::string> phones;
};

/// The user's address book. Each tool call opens its own store and uses it on one thread at a time;
/// an operation may block that thread. All text is valid UTF-8 in both directions.
class ContactStore {
public:
    ContactStore() = default;
    ContactStore(const ContactStore&) = delete;
    ContactStore& operator=(const ContactStore&) = delete;
    virtual ~ContactStore() = default;

    /// Returns the contacts whose name matches `query` by the platform's own rules, in the store's
    /// order, each person once. Throws PlatformError if the address book cannot be read.
    virtual std::vector<Contact> contactsMatchingName(const std::string& query) = 0;
};

/// Asks the platform, never the user. May block the thread.
ContactsAuthorizationStatus contactsAuthorizationStatus();

/// Returns the address book of the user who runs the program. Opening it does not access it yet.
std::unique_ptr<ContactStore> openContactStore();

} // namespace velmiro
