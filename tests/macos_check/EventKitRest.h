/// What the check alone uses of EventKit, where that is declared in part (see the header of that
/// name), from its public documentation.

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
