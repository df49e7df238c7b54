/// The part of EventKit that this program uses, declared from its public documentation for machines
/// without Apple's SDK. The tests compile the macOS platform against this header and implement it;
/// the link check compiles against it and links Apple's names. On a Mac the SDK is used instead.
///
/// The one instance variable of each class is not Apple's. The Objective-C runtime of the tests
/// lays objects out as declared, so the room for an implementation must be declared here.

#import <Foundation/Foundation.h>

#define EVENTKIT_IN_PART 1 // not the SDK's

NS_ASSUME_NONNULL_BEGIN

@class EKEventStore;

typedef NS_ENUM(NSUInteger, EKEntityType) {
    EKEntityTypeEvent = 0,
    EKEntityTypeReminder = 1,
};

typedef NS_ENUM(NSInteger, EKAuthorizationStatus) {
    EKAuthorizationStatusNotDetermined = 0,
    EKAuthorizationStatusRestricted = 1,
    EKAuthorizationStatusDenied = 2,
    EKAuthorizationStatusFullAccess = 3,
    EKAuthorizationStatusWriteOnly = 4,
};

typedef NS_ENUM(NSInteger, EKSpan) {
    EKSpanThisEvent = 0,
    EKSpanFutureEvents = 1,
};

@interface EKCalendar : NSObject {
@package
    void* _implementation;
}
@property(nonatomic, readonly) NSString* calendarIdentifier;
@property(nonatomic, copy) NSString* title;
@end

@interface EKCalendarItem : NSObject {
@package
    void* _implementation;
}
@property(nonatomic, strong, nullable) EKCalendar* calendar;
@property(nonatomic, readonly) NSString* calendarItemIdentifier;
@property(nonatomic, copy, null_unspecified) NSString* title;
@property(nonatomic, copy, nullable) NSString* location;
@property(nonatomic, copy, nullable) NSString* notes;
@end

@interface EKEvent : EKCalendarItem
+ (EKEvent*)eventWithEventStore:(EKEventStore*)eventStore;
@property(nonatomic, getter=isAllDay) BOOL allDay;
@property(nonatomic, copy, null_unspecified) NSDate* startDate;
@property(nonatomic, copy, null_unspecified) NSDate* endDate;
@end

@interface EKReminder : EKCalendarItem
+ (EKReminder*)reminderWithEventStore:(EKEventStore*)eventStore;
@property(nonatomic, copy, nullable) NSDateComponents* dueDateComponents;
@property(nonatomic, getter=isCompleted) BOOL completed;
@property(nonatomic) NSUInteger priority;
@end

@interface EKEventStore : NSObject {
@package
    void* _implementation;
}
+ (EKAuthorizationStatus)authorizationStatusForEntityType:(EKEntityType)entityType;

- (NSArray<EKCalendar*>*)calendarsForEntityType:(EKEntityType)entityType;
@property(nullable, nonatomic, readonly) EKCalendar* defaultCalendarForNewEvents;
- (nullable EKCalendar*)defaultCalendarForNewReminders;

- (NSPredicate*)predicateForEventsWithStartDate:(NSDate*)startDate
                                        endDate:(NSDate*)endDate
                                      calendars:(nullable NSArray<EKCalendar*>*)calendars;
- (NSArray<EKEvent*>*)eventsMatchingPredicate:(NSPredicate*)predicate;

- (NSPredicate*)predicateForRemindersInCalendars:(nullable NSArray<EKCalendar*>*)calendars;
- (NSPredicate*)predicateForIncompleteRemindersWithDueDateStarting:(nullable NSDate*)startDate
                                                            ending:(nullable NSDate*)endDate
                                                         calendars:(nullable NSArray<EKCalendar*>*)
                                                                       calendars;
- (id)fetchRemindersMatchingPredicate:(NSPredicate*)predicate
                           completion:
                               (void (^)(NSArray<EKReminder*>* _Nullable reminders))completion;
/// The completion is no longer called.
- (void)cancelFetchRequest:(id)fetchIdentifier;

- (nullable EKCalendarItem*)calendarItemWithIdentifier:(NSString*)identifier;

- (BOOL)saveEvent:(EKEvent*)event
             span:(EKSpan)span
           commit:(BOOL)commit
            error:(NSError* _Nullable* _Nullable)error;
- (BOOL)saveReminder:(EKReminder*)reminder
              commit:(BOOL)commit
               error:(NSError* _Nullable* _Nullable)error;

/// Discards all unsaved changes.
- (void)reset;
@end

NS_ASSUME_NONNULL_END
