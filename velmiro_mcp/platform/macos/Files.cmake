# The macOS platform: EventKit, Contacts and Foundation, in Objective-C++.
set(PLATFORM_FILES
    platform/macos/ContactsStore.mm
    platform/macos/EventKitDatabase.mm
    platform/macos/Items.mm
    platform/macos/LocalizedDates.mm
    platform/macos/LocalizedText.mm
    platform/macos/MainQueue.mm
    platform/macos/OSAScriptPath.cpp
    platform/macos/UserCalendar.mm)
set(PLATFORM_PARTS)

# The port that the approval host needs as well.
set(SUPPORT_FOLDER_FILES platform/macos/Conversions.mm platform/macos/SupportFolder.mm)
set(SUPPORT_FOLDER_LIBRARIES ${FOUNDATION})

if(APPLE)
    list(APPEND PLATFORM_FILES platform/macos/ProgramStart.cpp)
    set(PLATFORM_LIBRARIES ${FOUNDATION} "-framework EventKit" "-framework Contacts")
else()
    # For the tests. This kernel is another one, so programs start as on the local platform.
    list(APPEND PLATFORM_FILES platform/local/ProgramStart.cpp)
    set(PLATFORM_LIBRARIES framework_stand_ins)
endif()
