# The local platform: calendar folders on disk, whose durations libical reads, and cards; text with ICU.
# Of both libraries only the headers are needed here: the program loads them when it needs them.
find_package(PkgConfig REQUIRED)
pkg_check_modules(ICAL REQUIRED libical>=3.0.16)
pkg_check_modules(ICU REQUIRED icu-uc icu-i18n)

# What serves each port.
set(PLATFORM_FILES
    platform/local/LocalDateText.cpp
    platform/local/LocalText.cpp
    platform/local/MainQueue.cpp
    platform/local/OSAScriptPath.cpp
    platform/local/Ports.cpp
    platform/local/ProgramStart.cpp
    platform/local/SupportFolder.cpp)

# What they stand on.
set(PLATFORM_PARTS
    platform/local/CalendarFile.cpp
    platform/local/CalendarFiles.cpp
    platform/local/CalendarValues.cpp
    platform/local/ComponentLines.cpp
    platform/local/Components.cpp
    platform/local/ContactFolders.cpp
    platform/local/ContentLines.cpp
    platform/local/DescribedZone.cpp
    platform/local/EventText.cpp
    platform/local/Exclusions.cpp
    platform/local/FileCreation.cpp
    platform/local/FileLines.cpp
    platform/local/FileReplacement.cpp
    platform/local/FileVersion.cpp
    platform/local/FileZones.cpp
    platform/local/Files.cpp
    platform/local/HiddenFiles.cpp
    platform/local/ICU.cpp
    platform/local/ICUZones.cpp
    platform/local/Libical.cpp
    platform/local/LocalContactStore.cpp
    platform/local/LocalEventDatabase.cpp
    platform/local/LocalFolders.cpp
    platform/local/Locale.cpp
    platform/local/NameQuery.cpp
    platform/local/NewItemText.cpp
    platform/local/NextReminder.cpp
    platform/local/OccurrenceList.cpp
    platform/local/Occurrences.cpp
    platform/local/Random.cpp
    platform/local/ReadLease.cpp
    platform/local/Recurrence.cpp
    platform/local/RecurrenceDays.cpp
    platform/local/ReminderCompletion.cpp
    platform/local/ReminderText.cpp
    platform/local/RuleText.cpp
    platform/local/Series.cpp
    platform/local/SharedLibrary.cpp
    platform/local/StoredEvent.cpp
    platform/local/StoredReminder.cpp
    platform/local/SystemZone.cpp
    platform/local/TextLines.cpp
    platform/local/UTF16.cpp
    platform/local/UnicodeText.cpp
    platform/local/UserClock.cpp
    platform/local/VCard.cpp
    platform/local/VCardLines.cpp
    platform/local/VCards.cpp
    platform/local/Vdir.cpp
    platform/local/Versions.cpp
    platform/local/Zone.cpp
    platform/local/ZoneCatalogue.cpp
    platform/local/ZoneRule.cpp)
set(PLATFORM_HEADERS ${ICAL_INCLUDE_DIRS} ${ICU_INCLUDE_DIRS})
set(PLATFORM_LIBRARIES ${CMAKE_DL_LIBS})
