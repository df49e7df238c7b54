/// The part of EventKit that only the check uses, from its public documentation, for machines where
/// our own EventKit.h declares the rest.

#import <EventKit/EventKit.h>

#ifdef EVENTKIT_IN_PART

NS_ASSUME_NONNULL_BEGIN

@interface EKSource : NSObject {
@package
    void* _implementation;
}
@property(nonatomic, readonly) NSInteger sourceType;
@end

@interface EKCalendar (Rest)
@property(nonatomic, readonly, null_unspecified) EKSource* source;
@property(nonatomic, readonly) BOOL allowsContentModifications;
@end

@interface EKEventStore (Rest)
- (BOOL)removeEvent:(EKEvent*)event
               span:(EKSpan)span
             commit:(BOOL)commit
              error:(NSError* _Nullable* _Nullable)error;
- (BOOL)removeReminder:(EKReminder*)reminder
                commit:(BOOL)commit
                 error:(NSError* _Nullable* _Nullable)error;
@end

NS_ASSUME_NONNULL_END

#endif
