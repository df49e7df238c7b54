# The target `reference`: pages about the public headers, by Doxygen. A warning is an error.
find_program(DOXYGEN doxygen)
mark_as_advanced(DOXYGEN)
if(DOXYGEN)
    set(main_page "${CMAKE_CURRENT_SOURCE_DIR}/../docs/first-server.md")
    if(NOT EXISTS "${main_page}") # the framework's folder was copied alone
        set(main_page)
    endif()
    configure_file(Doxyfile.in Doxyfile @ONLY)
    add_custom_target(
        reference
        COMMAND "${DOXYGEN}" Doxyfile
        WORKING_DIRECTORY "${CMAKE_CURRENT_BINARY_DIR}"
        COMMENT "The reference is at ${CMAKE_CURRENT_BINARY_DIR}/reference/index.html"
        VERBATIM)
endif()
