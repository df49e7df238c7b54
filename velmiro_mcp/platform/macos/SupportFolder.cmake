# The one port that the approval host needs as well, and what it stands on.
set(SUPPORT_FOLDER_FILES platform/macos/Conversions.mm platform/macos/SupportFolder.mm)
set(SUPPORT_FOLDER_LIBRARIES ${FOUNDATION})
