#include "tests/macos/standin/Objects.hpp"

#import <Contacts/Contacts.h>

using namespace velmiro;
using namespace velmiro::test;

NSString* const CNContactGivenNameKey = @"givenName";
NSString* const CNContactFamilyNameKey = @"familyName";
NSString* const CNContactOrganizationNameKey = @"organizationName";
NSString* const CNContactEmailAddressesKey = @"emailAddresses";
NSString* const CNContactPhoneNumbersKey = @"phoneNumbers";

@implementation NSString (Contacts)
@end

namespace {

/// A contact, of which only the fetched properties may be read.
struct Fetched {
    Contact contact;
    std::set<std::string> keys;
};

const Contact& contactOf(void* implementation) {
    return static_cast<Fetched*>(implementation)->contact;
}

/// Returns whether a property must be nil. Raises if it was not fetched.
bool isNilProperty(void* implementation, const std::string& property) {
    const Fetched& fetched = *static_cast<Fetched*>(implementation);
    if (!fetched.keys.contains(property)) {
        raise("a property was not requested when the contact was fetched: " + property);
    }
    return isNil("contact." + property, fetched.contact.identifier);
}

NSString* textIn(void* implementation, const std::string& property, const std::string& text) {
    return isNilProperty(implementation, property) ? nil : stringOf(text);
}

CNContact* contactObject(const Contact& contact, const std::set<std::string>& keys) {
    CNContact* const made = [[[CNContact alloc] init] autorelease];
    made->_implementation = new Fetched{contact, keys};
    return made;
}

/// Returns a labeled entry with this value.
CNLabeledValue* labeled(id value) {
    CNLabeledValue* const made = [[[CNLabeledValue alloc] init] autorelease];
    made->_implementation = [value retain];
    return made;
}

CNPhoneNumber* phoneNumber(const std::string& digits) {
    CNPhoneNumber* const made = [[[CNPhoneNumber alloc] init] autorelease];
    made->_implementation = new std::string{digits};
    return made;
}

std::set<std::string> namesOf(NSArray<id<CNKeyDescriptor>>* keys) {
    std::set<std::string> names;
    for (NSString* key in keys) {
        names.insert(test::textOf(key));
    }
    return names;
}

std::string joined(NSArray<id<CNKeyDescriptor>>* keys) {
    std::string names;
    for (NSString* key in keys) {
        names += (names.empty() ? "" : ", ") + test::textOf(key);
    }
    return names;
}

} // namespace

@interface NamePredicate : NSPredicate {
@public
    std::string* name;
}
@end

@implementation NamePredicate
- (void)dealloc {
    delete name;
    [super dealloc];
}
@end

@implementation CNPhoneNumber
- (void)dealloc {
    delete static_cast<std::string*>(_implementation);
    [super dealloc];
}
- (NSString*)stringValue {
    const std::string& digits = *static_cast<std::string*>(_implementation);
    return isNil("phone.stringValue", digits) ? nil : stringOf(digits);
}
@end

@implementation CNLabeledValue
- (void)dealloc {
    [static_cast<id>(_implementation) release];
    [super dealloc];
}
- (id)value {
    return isNil("labeled.value", "") ? nil : static_cast<id>(_implementation);
}
@end

@implementation CNContact
+ (NSPredicate*)predicateForContactsMatchingName:(NSString*)name {
    begin("predicateForContactsMatchingName:", test::textOf(name));
    NamePredicate* const made = [[[NamePredicate alloc] init] autorelease];
    made->name = new std::string{test::textOf(name)};
    return made;
}
- (void)dealloc {
    delete static_cast<Fetched*>(_implementation);
    [super dealloc];
}
- (NSString*)identifier {
    const std::string& identifier = contactOf(_implementation).identifier;
    return isNil("contact.identifier", identifier) ? nil : stringOf(identifier);
}
- (NSString*)givenName {
    return textIn(_implementation, "givenName", contactOf(_implementation).givenName);
}
- (NSString*)familyName {
    return textIn(_implementation, "familyName", contactOf(_implementation).familyName);
}
- (NSString*)organizationName {
    return textIn(_implementation, "organizationName", contactOf(_implementation).organization);
}
- (NSArray<CNLabeledValue<NSString*>*>*)emailAddresses {
    if (isNilProperty(_implementation, "emailAddresses")) {
        return nil;
    }
    NSMutableArray* const entries = [NSMutableArray array];
    for (const std::string& email : contactOf(_implementation).emails) {
        [entries addObject:labeled(stringOf(email))];
    }
    return entries;
}
- (NSArray<CNLabeledValue<CNPhoneNumber*>*>*)phoneNumbers {
    if (isNilProperty(_implementation, "phoneNumbers")) {
        return nil;
    }
    NSMutableArray* const entries = [NSMutableArray array];
    for (const std::string& phone : contactOf(_implementation).phones) {
        [entries addObject:labeled(phoneNumber(phone))];
    }
    return entries;
}
@end

@implementation CNContactStore
+ (CNAuthorizationStatus)authorizationStatusForEntityType:(CNEntityType)entityType {
    begin("contacts.authorizationStatusForEntityType:", std::to_string(entityType));
    const auto& status = StandIn::shared().contactsStatus;
    return static_cast<CNAuthorizationStatus>(status ? *status : StandIn::filesContactsStatus());
}

- (instancetype)init {
    begin("CNContactStore init", "");
    return [super init];
}

- (NSArray<CNContact*>*)unifiedContactsMatchingPredicate:(NSPredicate*)predicate
                                             keysToFetch:(NSArray<id<CNKeyDescriptor>>*)keys
                                                   error:(NSError**)error {
    constexpr const char* call = "unifiedContactsMatchingPredicate:keysToFetch:error:";
    begin(call, joined(keys));
    if (isRefused(call, error)) {
        return nil;
    }
    if (![predicate isKindOfClass:[NamePredicate class]]) {
        raise("this predicate does not match contacts");
    }
    const std::string& name = *static_cast<NamePredicate*>(predicate)->name;
    NSMutableArray<CNContact*>* const found = [NSMutableArray array];
    for (const Contact& contact : StandIn::shared().openContacts()->contactsMatchingName(name)) {
        [found addObject:contactObject(contact, namesOf(keys))];
    }
    return found;
}
@end
