# The one port that the approval host needs as well, and what it stands on.
set(SUPPORT_FOLDER_FILES platform/local/files/LocalFolders.cpp platform/local/SupportFolder.cpp)
set(SUPPORT_FOLDER_LIBRARIES)
