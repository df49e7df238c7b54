// Conversions between Foundation's values and ours.

#include "velmiro_mcp/platform/macos/Conversions.hpp"

#include "tests/macos/Failure.hpp"
#include "velmiro_mcp/platform/macos/Guard.hpp"
#include "velmiro_mcp/platform/macos/Owned.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace velmiro;
using namespace velmiro::macos;

namespace {

/// Wraps each test in an autorelease pool.
class ConversionsTest : public testing::Test {
protected:
    ~ConversionsTest() override { [pool release]; }

    static std::string unitsOf(NSString* string) {
        std::string units;
        for (NSUInteger index = 0; index < string.length; ++index) {
            units += (units.empty() ? "" : " ") + std::to_string([string characterAtIndex:index]);
        }
        return units;
    }
    static NSString* stringOfUnit(unichar unit) {
        return [NSMutableString stringWithFormat:@"a%Cb", unit];
    }

    NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
};

/// The number of living Counted objects.
int living = 0;

} // namespace

@interface Counted : NSObject
@end

@implementation Counted
- (instancetype)init {
    ++living;
    return [super init];
}
- (void)dealloc {
    --living;
    [super dealloc];
}
@end

/// A date that GNUstep would not create.
@interface OddDate : NSDate {
@public
    double seconds;
}
@end

@implementation OddDate
- (instancetype)initWithTimeIntervalSinceReferenceDate:(NSTimeInterval)given {
    seconds = given;
    return self;
}
- (NSTimeInterval)timeIntervalSince1970 {
    return seconds;
}
- (NSTimeInterval)timeIntervalSinceReferenceDate {
    return seconds;
}
@end

TEST_F(ConversionsTest, TextIsUnchangedAfterARoundTrip) {
    for (const std::string& text :
         {std::string{}, std::string{"abc"}, std::string{"äöü €"},
          std::string{"👩‍👩‍👧‍👦"},
          std::string{"\u07FF\u0800\uD7FF\uE000\uFFFF\U00010000\U0010FFFF"},
          std::string{"\0a\0", 3}, std::string(100'000, 'x')}) {
        EXPECT_EQ(textOf(stringOf(text)), text);
        EXPECT_EQ(textOrEmpty(stringOf(text)), text);
    }
}

TEST_F(ConversionsTest, AStringHasTheCharactersOfTheText) {
    EXPECT_EQ(unitsOf(stringOf("a\u00E9\u20AC\U0001F600")), "97 233 8364 55357 56832");
    EXPECT_EQ(unitsOf(stringOf(std::string_view{"a\0b", 3})), "97 0 98");
    EXPECT_EQ(textOf(@"Grüße"), "Grüße");
}

TEST_F(ConversionsTest, NilBecomesNoTextAndNoTextBecomesNil) {
    EXPECT_FALSE(textOf(nil));
    EXPECT_EQ(textOrEmpty(nil), "");
    EXPECT_TRUE(stringOrNil(std::nullopt) == nil);
    EXPECT_EQ(textOf(stringOrNil("")), "");
    EXPECT_EQ(textOf(stringOrNil("x")), "x");
}

TEST_F(ConversionsTest, AnUnpairedSurrogateIsReplaced) {
    EXPECT_EQ(textOf(stringOfUnit(0xD800)), "a\uFFFDb");
    EXPECT_EQ(textOf(stringOfUnit(0xDBFF)), "a\uFFFDb");
    EXPECT_EQ(textOf(stringOfUnit(0xDC00)), "a\uFFFDb");
    EXPECT_EQ(textOf(stringOfUnit(0xDFFF)), "a\uFFFDb");
    EXPECT_EQ(textOf([stringOfUnit(0xD83D) substringToIndex:2]), "a\uFFFD");
}

TEST_F(ConversionsTest, DatesAreExactToTheMillisecond) {
    for (const std::int64_t milliseconds :
         {0LL, 1LL, -1LL, 1'791'928'800'123LL, -62'135'596'800'000LL, 253'402'300'799'999LL}) {
        const Instant instant{std::chrono::milliseconds{milliseconds}};
        EXPECT_EQ(instantOf(dateOf(instant)), instant) << milliseconds;
    }
    EXPECT_EQ(dateOf(Instant{std::chrono::milliseconds{1500}}).timeIntervalSince1970, 1.5);
}

TEST_F(ConversionsTest, AnInvalidDateBecomesNone) {
    EXPECT_FALSE(instantOf(nil));
    OddDate* const date = [[[OddDate alloc] init] autorelease];
    for (const double seconds : {std::nan(""), std::numeric_limits<double>::infinity(),
                                 -std::numeric_limits<double>::infinity(), 1e300, 1e12, -1e12}) {
        date->seconds = seconds;
        EXPECT_FALSE(instantOf(date)) << seconds;
    }
    EXPECT_TRUE(instantOf([NSDate distantFuture]));
    EXPECT_TRUE(instantOf([NSDate distantPast]));
}

TEST_F(ConversionsTest, AnErrorSaysItsLocalizedDescription) {
    NSDictionary* const information = [NSDictionary dictionaryWithObject:@"Schreibgeschützt."
                                                                  forKey:NSLocalizedDescriptionKey];
    NSError* error = [NSError errorWithDomain:@"D" code:6 userInfo:information];
    EXPECT_EQ(descriptionOf(error), "Schreibgeschützt.");
    error = [NSError errorWithDomain:@"D" code:6 userInfo:nil];
    EXPECT_NE(descriptionOf(error), "");
    error = nil;
    EXPECT_NE(descriptionOf(error), "");
}

TEST_F(ConversionsTest, AnExceptionSaysItsReasonElseItsName) {
    const auto exception = [](NSString* reason) -> NSException* {
        return [NSException exceptionWithName:@"Name" reason:reason userInfo:nil];
    };
    EXPECT_EQ(descriptionOf(exception(@"the reason")), "the reason");
    EXPECT_EQ(descriptionOf(exception(@"")), "Name");
    EXPECT_NE(descriptionOf(static_cast<NSException*>(nil)), "");
}

TEST_F(ConversionsTest, AnExceptionInAGuardedCallIsThrownAsAnError) {
    const auto raising = [](Problem&) -> int {
        const Owned<Counted> counted{[[Counted alloc] init]};
        [NSException raise:@"Name" format:@"reason %d", 7];
        return 1;
    };
    EXPECT_EQ(test::failureOf([&] { guarded(raising); }), "reason 7");
    EXPECT_EQ(living, 0); // objects owned by C++ were released on the way
}

TEST_F(ConversionsTest, ObjectsOfAGuardedCallAreReleasedAfterIt) {
    const int seen = guarded([](Problem&) {
        [[[Counted alloc] init] autorelease];
        return living;
    });
    EXPECT_EQ(seen, 1);
    EXPECT_EQ(living, 0);
}

TEST_F(ConversionsTest, AProblemThatACallReportsIsThrownToo) {
    const auto reporting = [](Problem& problem) {
        problem = "no";
        return 1;
    };
    EXPECT_EQ(test::failureOf([&] { guarded(reporting); }), "no");
    EXPECT_EQ(guarded([](Problem&) { return 5; }), 5);
}

TEST_F(ConversionsTest, AnOwnedObjectLivesAsLongAsItsOwner) {
    {
        Owned<Counted> first;
        EXPECT_TRUE(first.get() == nil);
        first = Owned{[[Counted alloc] init]};
        EXPECT_EQ(living, 1);
        first = Owned{[[Counted alloc] init]};
        EXPECT_EQ(living, 1);
    }
    EXPECT_EQ(living, 0);
}
