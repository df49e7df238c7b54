# Installs the framework: for find_package in CMake, and for pkg-config. The folder may be moved later.
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

set(package "${CMAKE_INSTALL_LIBDIR}/cmake/MCPStdio")
write_basic_package_version_file(MCPStdioConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(TARGETS MCPStdio EXPORT MCPStdioTargets
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT MCPStdio
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY . DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/MCPStdio COMPONENT MCPStdio
        FILES_MATCHING PATTERN "*.hpp")
install(EXPORT MCPStdioTargets NAMESPACE MCPStdio:: DESTINATION ${package} COMPONENT MCPStdio)
install(FILES MCPStdioConfig.cmake "${CMAKE_CURRENT_BINARY_DIR}/MCPStdioConfigVersion.cmake"
        DESTINATION ${package} COMPONENT MCPStdio)

# pkg-config knows where it found the file; the other folders are named from there.
file(RELATIVE_PATH up "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
set(prefix "\${pcfiledir}/${up}")
cmake_path(APPEND prefix "${CMAKE_INSTALL_LIBDIR}" OUTPUT_VARIABLE libraries)
cmake_path(APPEND prefix "${CMAKE_INSTALL_INCLUDEDIR}" OUTPUT_VARIABLE headers)
configure_file(mcpstdio.pc.in mcpstdio.pc @ONLY)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/mcpstdio.pc"
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT MCPStdio)
