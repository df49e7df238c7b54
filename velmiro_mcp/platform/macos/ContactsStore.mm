#include "velmiro_mcp/ports/ContactStore.hpp"

#include "velmiro_mcp/platform/macos/Guard.hpp"
#include "velmiro_mcp/platform/macos/Owned.hpp"

#import <Contacts/Contacts.h>

namespace velmiro {
namespace {

using namespace macos;

/// Returns the keys that a Contact is made of, and no others. Reading a property that was not
/// fetched raises an exception.
NSArray<id<CNKeyDescriptor>>* keysToFetch() {
    return @[
        CNContactGivenNameKey, CNContactFamilyNameKey, CNContactOrganizationNameKey,
        CNContactEmailAddressesKey, CNContactPhoneNumbersKey
    ];
}

Contact contactOf(CNContact* contact) {
    Contact record{textOrEmpty(contact.identifier),
                   textOrEmpty(contact.givenName),
                   textOrEmpty(contact.familyName),
                   textOrEmpty(contact.organizationName),
                   {},
                   {}};
    for (CNLabeledValue<NSString*>* email in contact.emailAddresses) {
        record.emails.push_back(textOrEmpty(email.value));
    }
    for (CNLabeledValue<CNPhoneNumber*>* phone in contact.phoneNumbers) {
        record.phones.push_back(textOrEmpty(phone.value.stringValue));
    }
    return record;
}

class ContactsStore final : public ContactStore {
public:
    std::vector<Contact> contactsMatchingName(const std::string& query) override {
        return guarded([&](Problem& problem) {
            const Owned<CNContactStore> store{[[CNContactStore alloc] init]};
            NSPredicate* const matching =
                [CNContact predicateForContactsMatchingName:stringOf(query)];
            NSError* error = nil;
            NSArray<CNContact*>* const found =
                [store.get() unifiedContactsMatchingPredicate:matching
                                                  keysToFetch:keysToFetch()
                                                        error:&error];
            std::vector<Contact> contacts;
            if (found == nil && error != nil) {
                problem = descriptionOf(error);
            }
            for (CNContact* contact in found) {
                contacts.push_back(contactOf(contact));
            }
            return contacts;
        });
    }
};

} // namespace

ContactsAuthorizationStatus contactsAuthorizationStatus() {
    return guarded([](Problem&) {
        return static_cast<ContactsAuthorizationStatus>(
            [CNContactStore authorizationStatusForEntityType:CNEntityTypeContacts]);
    });
}

std::unique_ptr<ContactStore> openContactStore() {
    return std::make_unique<ContactsStore>();
}

} // namespace velmiro
