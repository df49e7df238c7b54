# Run by CPack on the folder that it packs: Debian wants manuals and changes compressed.
if(CPACK_GENERATOR STREQUAL DEB)
    set(share "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/usr/share")
    file(RENAME "${share}/doc/velmiro-mcp/CHANGELOG.md" "${share}/doc/velmiro-mcp/changelog")
    file(GLOB texts "${share}/man/man1/*.1" "${share}/doc/velmiro-mcp/changelog")
    execute_process(COMMAND gzip -9n ${texts} COMMAND_ERROR_IS_FATAL ANY)
endif()
