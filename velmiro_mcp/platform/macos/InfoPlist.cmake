# Configures Info.plist and generates INFO_PLIST_SOURCE from its bytes. A linker option would do,
# but not every linker has it.
configure_file("${CMAKE_CURRENT_LIST_DIR}/Info.plist.in" Info.plist @ONLY)
file(READ "${CMAKE_CURRENT_BINARY_DIR}/Info.plist" INFO_PLIST_BYTES HEX)
string(REGEX REPLACE "(..)" "0x\\1," INFO_PLIST_BYTES "${INFO_PLIST_BYTES}")
string(REGEX REPLACE ",$" "" INFO_PLIST_BYTES "${INFO_PLIST_BYTES}")
set(INFO_PLIST_SOURCE "${CMAKE_CURRENT_BINARY_DIR}/InfoPlist.cpp")
configure_file("${CMAKE_CURRENT_LIST_DIR}/InfoPlist.cpp.in" "${INFO_PLIST_SOURCE}" @ONLY)
