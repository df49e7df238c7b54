/// The parts of Foundation that this program uses, declared from its public documentation, to
/// compile the macOS platform without Apple's SDK. The base class and the runtime come with the
/// toolchain. On a Mac the SDK is used instead.

#pragma once

#include <objc/NSObject.h>
#include <objc/objc.h>

#define NS_ASSUME_NONNULL_BEGIN _Pragma("clang assume_nonnull begin")
#define NS_ASSUME_NONNULL_END _Pragma("clang assume_nonnull end")
#define NS_ENUM(type, name) \
    enum __attribute__((enum_extensibility(open))) name : type name; \
    enum name : type
#define NS_OPTIONS(type, name) \
    type name; \
    enum __attribute__((flag_enum, enum_extensibility(open))) : name

NS_ASSUME_NONNULL_BEGIN

@class NSArray<__covariant ObjectType>;
@class NSTimeZone;

typedef unsigned short unichar;
typedef double NSTimeInterval;
typedef NSString *NSCalendarIdentifier;
typedef NSString *NSExceptionName;
typedef NSString *NSRunLoopMode;

// MARK: Ranges and comparison

typedef struct _NSRange {
    NSUInteger location;
    NSUInteger length;
} NSRange;

static inline NSRange NSMakeRange(NSUInteger location, NSUInteger length) {
    return NSRange{location, length};
}

static inline NSUInteger NSMaxRange(NSRange range) {
    return range.location + range.length;
}

typedef NS_ENUM(NSInteger, NSComparisonResult) {
    NSOrderedAscending = -1,
    NSOrderedSame = 0,
    NSOrderedDescending = 1,
};

// MARK: Text and collections

@interface NSString : NSObject
@property (readonly) NSUInteger length;
+ (instancetype)stringWithCharacters:(const unichar *)characters length:(NSUInteger)length;
- (unichar)characterAtIndex:(NSUInteger)index;
- (void)getCharacters:(unichar *)buffer range:(NSRange)range;
- (BOOL)isEqualToString:(NSString *)other;
- (NSComparisonResult)localizedCaseInsensitiveCompare:(NSString *)other;
- (NSRange)rangeOfComposedCharacterSequenceAtIndex:(NSUInteger)index;
@end

typedef struct {
    unsigned long state;
    id __unsafe_unretained _Nullable *_Nullable itemsPtr;
    unsigned long *_Nullable mutationsPtr;
    unsigned long extra[5];
} NSFastEnumerationState;

@protocol NSFastEnumeration
- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState *)state
                                  objects:(id __unsafe_unretained _Nullable[_Nonnull])buffer
                                    count:(NSUInteger)length;
@end

@interface NSArray<__covariant ObjectType> : NSObject <NSFastEnumeration>
@property (readonly) NSUInteger count;
+ (instancetype)arrayWithObjects:(const ObjectType _Nonnull[_Nonnull])objects
                           count:(NSUInteger)count;
- (ObjectType)objectAtIndex:(NSUInteger)index;
@end

@interface NSPredicate : NSObject
@end

// MARK: Failures

@interface NSError : NSObject
@property (readonly, copy) NSString *localizedDescription;
@end

__attribute__((objc_exception))
@interface NSException : NSObject
@property (readonly, copy) NSExceptionName name;
@property (nullable, readonly, copy) NSString *reason;
@end

// MARK: Dates

@interface NSDate : NSObject
@property (class, readonly, copy) NSDate *distantFuture;
@property (readonly) NSTimeInterval timeIntervalSince1970;
+ (instancetype)dateWithTimeIntervalSince1970:(NSTimeInterval)seconds;
+ (instancetype)dateWithTimeIntervalSinceNow:(NSTimeInterval)seconds;
@end

@interface NSTimeZone : NSObject
@property (class, readonly, copy) NSTimeZone *systemTimeZone;
+ (void)resetSystemTimeZone;
@end

typedef NS_OPTIONS(NSUInteger, NSCalendarUnit) {
    NSCalendarUnitYear = 1UL << 2,
    NSCalendarUnitMonth = 1UL << 3,
    NSCalendarUnitDay = 1UL << 4,
    NSCalendarUnitHour = 1UL << 5,
    NSCalendarUnitMinute = 1UL << 6,
};

extern "C" NSCalendarIdentifier const NSCalendarIdentifierGregorian;

@class NSDateComponents;

@interface NSCalendar : NSObject
@property (class, readonly, copy) NSCalendar *currentCalendar;
@property (readonly, copy) NSCalendarIdentifier calendarIdentifier;
@property (copy) NSTimeZone *timeZone;
+ (nullable NSCalendar *)calendarWithIdentifier:(NSCalendarIdentifier)identifier;
- (NSDateComponents *)components:(NSCalendarUnit)units fromDate:(NSDate *)date;
- (nullable NSDate *)dateFromComponents:(NSDateComponents *)components;
@end

@interface NSDateComponents : NSObject
@property (nullable, copy) NSCalendar *calendar;
@property (nullable, readonly, copy) NSDate *date;
@end

typedef NS_ENUM(NSUInteger, NSDateFormatterStyle) {
    NSDateFormatterNoStyle = 0,
    NSDateFormatterShortStyle = 1,
    NSDateFormatterMediumStyle = 2,
};

@interface NSDateFormatter : NSObject
@property (null_resettable, copy) NSTimeZone *timeZone;
@property NSDateFormatterStyle dateStyle;
@property NSDateFormatterStyle timeStyle;
- (NSString *)stringFromDate:(NSDate *)date;
@end

// MARK: Threads

@interface NSThread : NSObject
+ (BOOL)isMultiThreaded;
+ (void)detachNewThreadSelector:(SEL)selector
                       toTarget:(id)target
                     withObject:(nullable id)argument;
@end

@interface NSObject (NSThreadPerformAdditions)
- (void)performSelectorOnMainThread:(SEL)selector
                         withObject:(nullable id)argument
                      waitUntilDone:(BOOL)wait;
@end

@interface NSTimer : NSObject
- (instancetype)initWithFireDate:(NSDate *)date
                        interval:(NSTimeInterval)interval
                          target:(id)target
                        selector:(SEL)selector
                        userInfo:(nullable id)userInfo
                         repeats:(BOOL)repeats;
- (void)invalidate;
@end

extern "C" NSRunLoopMode const NSDefaultRunLoopMode;

@interface NSRunLoop : NSObject
@property (class, readonly, strong) NSRunLoop *currentRunLoop;
- (void)addTimer:(NSTimer *)timer forMode:(NSRunLoopMode)mode;
- (BOOL)runMode:(NSRunLoopMode)mode beforeDate:(NSDate *)limit;
@end

// MARK: Folders

typedef NS_ENUM(NSUInteger, NSSearchPathDirectory) {
    NSApplicationSupportDirectory = 14,
};

typedef NS_OPTIONS(NSUInteger, NSSearchPathDomainMask) {
    NSUserDomainMask = 1,
};

extern "C" NSArray<NSString *> *NSSearchPathForDirectoriesInDomains(
    NSSearchPathDirectory directory, NSSearchPathDomainMask domains, BOOL expandTilde);

NS_ASSUME_NONNULL_END
