# The local platform: folders of calendar files and of vCards. libical parses durations, ICU handles
# text; only their headers are needed here, as the program loads both libraries on first use.
find_package(PkgConfig REQUIRED)
pkg_check_modules(ICAL REQUIRED libical>=3.0.16)
pkg_check_modules(ICU REQUIRED icu-uc icu-i18n)

# The implementation of each port.
set(PLATFORM_FILES
    platform/local/LocalDateText.cpp
    platform/local/LocalText.cpp
    platform/local/MainQueue.cpp
    platform/local/OSAScriptPath.cpp
    platform/local/Ports.cpp
    platform/local/ProgramStart.cpp)

# The port that the approval host also needs.
set(SUPPORT_FOLDER_FILES platform/local/SupportFolder.cpp platform/local/files/LocalFolders.cpp)
set(SUPPORT_FOLDER_LIBRARIES)

# The parts that they use.
set(PLATFORM_PARTS
    platform/local/CalendarErrors.cpp
    platform/local/CalendarFolders.cpp
    platform/local/FoundReminder.cpp
    platform/local/LocalContactStore.cpp
    platform/local/LocalEventDatabase.cpp
    platform/local/calendars/CalendarFile.cpp
    platform/local/calendars/CalendarFiles.cpp
    platform/local/calendars/Exclusions.cpp
    platform/local/calendars/OccurrenceList.cpp
    platform/local/calendars/Occurrences.cpp
    platform/local/calendars/Series.cpp
    platform/local/calendars/Span.cpp
    platform/local/calendars/StoredEvent.cpp
    platform/local/calendars/StoredReminder.cpp
    platform/local/calendars/Versions.cpp
    platform/local/contacts/ContactFolders.cpp
    platform/local/contacts/NameQuery.cpp
    platform/local/contacts/VCard.cpp
    platform/local/contacts/VCardLines.cpp
    platform/local/contacts/VCards.cpp
    platform/local/editing/ComponentEdits.cpp
    platform/local/editing/ContentLineWriter.cpp
    platform/local/editing/EventText.cpp
    platform/local/editing/LineEdits.cpp
    platform/local/editing/NewItemText.cpp
    platform/local/editing/NextReminder.cpp
    platform/local/editing/ReminderCompletion.cpp
    platform/local/editing/ReminderText.cpp
    platform/local/editing/RuleEdits.cpp
    platform/local/files/FileCreation.cpp
    platform/local/files/FileReplacement.cpp
    platform/local/files/FileVersion.cpp
    platform/local/files/Files.cpp
    platform/local/files/HiddenFiles.cpp
    platform/local/files/Random.cpp
    platform/local/files/ReadLease.cpp
    platform/local/files/RootCreation.cpp
    platform/local/files/Vdir.cpp
    platform/local/icalendar/CalendarValues.cpp
    platform/local/icalendar/Components.cpp
    platform/local/icalendar/ContentLine.cpp
    platform/local/icalendar/Libical.cpp
    platform/local/icalendar/RuleText.cpp
    platform/local/libraries/ICU.cpp
    platform/local/libraries/Locale.cpp
    platform/local/libraries/SharedLibrary.cpp
    platform/local/libraries/UTF16.cpp
    platform/local/libraries/UnicodeText.cpp
    platform/local/recurrence/Recurrence.cpp
    platform/local/recurrence/RecurrenceDays.cpp
    platform/local/time/UserClock.cpp
    platform/local/time/Zone.cpp
    platform/local/zones/FileZones.cpp
    platform/local/zones/ICUZones.cpp
    platform/local/zones/SystemZone.cpp
    platform/local/zones/TZString.cpp
    platform/local/zones/VTimeZone.cpp
    platform/local/zones/ZoneCatalogue.cpp)
set(PLATFORM_HEADERS ${ICAL_INCLUDE_DIRS} ${ICU_INCLUDE_DIRS})
set(PLATFORM_LIBRARIES ${CMAKE_DL_LIBS})
