# embed_texts(OUTPUT HEADER NAMESPACE FILE...)
#
# Makes a C++ source of files, byte for byte, and makes it anew when one of them changes. For
# note_list.js it defines `const std::string_view noteList`, which HEADER declares. The bytes are
# written as numbers: string literals have a longest length, which differs between compilers, and
# raw ones can be ended by what they hold.

if(CMAKE_SCRIPT_MODE_FILE)
    # At build time, as `cmake -D … -P` this file.
    set(source "// Made by the build; see cmake/EmbedTexts.cmake.\n\n#include \"${HEADER}\"\n\n")
    string(APPEND source "namespace ${NAMESPACE} {\n")
    foreach(file IN LISTS FILES)
        get_filename_component(words "${file}" NAME_WE)
        string(REPLACE "_" ";" words "${words}")
        list(POP_FRONT words name)
        foreach(word IN LISTS words)
            string(SUBSTRING "${word}" 0 1 first)
            string(SUBSTRING "${word}" 1 -1 rest)
            string(TOUPPER "${first}" first)
            string(APPEND name "${first}${rest}")
        endforeach()
        file(READ "${file}" bytes HEX)
        string(REGEX REPLACE "(..)" "'\\\\x\\1'," bytes "${bytes}")
        string(APPEND source "\nstatic constexpr char ${name}Bytes[] = {${bytes}};\n"
               "constinit const std::string_view ${name}{${name}Bytes, sizeof ${name}Bytes};\n")
    endforeach()
    string(APPEND source "\n} // namespace ${NAMESPACE}\n")
    file(WRITE "${OUTPUT}" "${source}")
    return()
endif()

set(EMBED_TEXTS_SCRIPT "${CMAKE_CURRENT_LIST_FILE}")

function(embed_texts output header namespace)
    list(TRANSFORM ARGN PREPEND "${CMAKE_CURRENT_SOURCE_DIR}/")
    add_custom_command(
        OUTPUT "${output}"
        COMMAND "${CMAKE_COMMAND}" -D "OUTPUT=${output}" -D "HEADER=${header}"
                -D "NAMESPACE=${namespace}" -D "FILES=${ARGN}" -P "${EMBED_TEXTS_SCRIPT}"
        DEPENDS ${ARGN} "${EMBED_TEXTS_SCRIPT}"
        VERBATIM)
endfunction()
