/// The part of Contacts that this program uses, declared from its public documentation for machines
/// without Apple's SDK; see EventKit.h next to this folder. Here too, the one instance variable of
/// each class is not Apple's.

#import <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

typedef NS_ENUM(NSInteger, CNEntityType) {
    CNEntityTypeContacts = 0,
};

typedef NS_ENUM(NSInteger, CNAuthorizationStatus) {
    CNAuthorizationStatusNotDetermined = 0,
    CNAuthorizationStatusRestricted = 1,
    CNAuthorizationStatusDenied = 2,
    CNAuthorizationStatusAuthorized = 3,
};

@protocol CNKeyDescriptor <NSObject>
@end

@interface NSString (Contacts) <CNKeyDescriptor>
@end

extern "C" NSString* const CNContactGivenNameKey;
extern "C" NSString* const CNContactFamilyNameKey;
extern "C" NSString* const CNContactOrganizationNameKey;
extern "C" NSString* const CNContactEmailAddressesKey;
extern "C" NSString* const CNContactPhoneNumbersKey;

@interface CNPhoneNumber : NSObject {
@package
    void* _implementation;
}
@property(nonatomic, readonly, copy) NSString* stringValue;
@end

@interface CNLabeledValue<__covariant ValueType> : NSObject {
@package
    void* _implementation;
}
@property(nonatomic, readonly, copy) ValueType value;
@end

@interface CNContact : NSObject {
@package
    void* _implementation;
}
+ (NSPredicate*)predicateForContactsMatchingName:(NSString*)name;
@property(nonatomic, readonly, copy) NSString* identifier;
@property(nonatomic, readonly, copy) NSString* givenName;
@property(nonatomic, readonly, copy) NSString* familyName;
@property(nonatomic, readonly, copy) NSString* organizationName;
@property(nonatomic, readonly, copy) NSArray<CNLabeledValue<NSString*>*>* emailAddresses;
@property(nonatomic, readonly, copy) NSArray<CNLabeledValue<CNPhoneNumber*>*>* phoneNumbers;
@end

@interface CNContactStore : NSObject
+ (CNAuthorizationStatus)authorizationStatusForEntityType:(CNEntityType)entityType;
- (nullable NSArray<CNContact*>*)
    unifiedContactsMatchingPredicate:(NSPredicate*)predicate
                         keysToFetch:(NSArray<id<CNKeyDescriptor>>*)keys
                               error:(NSError* _Nullable* _Nullable)error;
@end

NS_ASSUME_NONNULL_END
