// The part of EventKit that macos_check uses and the program does not.

#include "tests/macos/standin/Objects.hpp"

#include <cstdlib>
#include <filesystem>

#import "tests/macos_check/EventKitRest.h"

using namespace velmiro::test;

namespace {

/// Removes an item's file, which is named after its identifier.
BOOL removeFile(const char* folder, const std::string& identifier, NSError** error) {
    namespace fs = std::filesystem;
    const fs::path root =
        fs::path{std::getenv("HOME")} / "Library/Application Support/Velmiro" / folder;
    for (const auto& calendar : fs::directory_iterator{root}) {
        if (fs::remove(calendar.path() / (identifier + ".ics"))) {
            return YES;
        }
    }
    *error = errorWith("The item is not there any more.");
    return NO;
}

} // namespace

@implementation EKSource
- (NSInteger)sourceType {
    return 0; // on this machine
}
@end

@implementation EKCalendar (Rest)
- (EKSource*)source {
    return [[[EKSource alloc] init] autorelease];
}
- (BOOL)allowsContentModifications {
    return YES;
}
@end

@implementation EKEventStore (Rest)
- (BOOL)removeEvent:(EKEvent*)event span:(EKSpan)span commit:(BOOL)commit error:(NSError**)error {
    begin("removeEvent:span:commit:error:", std::to_string(span) + (commit ? " YES" : " NO"));
    return removeFile("Calendars", textOf(event.calendarItemIdentifier), error);
}
- (BOOL)removeReminder:(EKReminder*)reminder commit:(BOOL)commit error:(NSError**)error {
    begin("removeReminder:commit:error:", commit ? "YES" : "NO");
    return removeFile("Reminders", textOf(reminder.calendarItemIdentifier), error);
}
@end
