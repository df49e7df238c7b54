# How every target of this project is built. Included once, by the top folder.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_OBJCXX_STANDARD 20)
set(CMAKE_OBJCXX_STANDARD_REQUIRED ON)
set(CMAKE_OBJCXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(THREADS_PREFER_PTHREAD_FLAG ON)
find_package(Threads REQUIRED)

# The folder of velmiro_mcp/platform to build. On Linux `macos` is for its tests.
if(APPLE)
    set(platform macos)
else()
    set(platform local)
endif()
set(VELMIRO_PLATFORM ${platform} CACHE STRING "The platform: local or macos")
if(VELMIRO_PLATFORM STREQUAL macos)
    include("${CMAKE_SOURCE_DIR}/velmiro_mcp/platform/macos/ObjectiveC.cmake")
endif()

set(VELMIRO_SANITIZE "" CACHE STRING "Sanitizers to build with: address, thread or empty")
if(VELMIRO_SANITIZE STREQUAL "address")
    # Fuzz targets share the objects. What they count is of no use to other programs, and costs little.
    # The check of virtual tables opens a pipe to see whether an address may be read: where a test has
    # left no descriptor, it would find fault with every object.
    add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize=vptr
                        -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=address,undefined)
elseif(VELMIRO_SANITIZE STREQUAL "thread")
    add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
    add_link_options(-fsanitize=thread)
elseif(VELMIRO_SANITIZE)
    message(FATAL_ERROR "VELMIRO_SANITIZE is address, thread or empty, not "
                        "${VELMIRO_SANITIZE}")
endif()

option(VELMIRO_STATIC_RUNTIME "Link the C++ runtime into each program: it starts faster" OFF)
if(VELMIRO_STATIC_RUNTIME)
    # Most of the runtime is for streams and locales, which nothing here uses: without them programs
    # are half as large. Relocations are packed, or each start would read 80 KB of records.
    add_link_options(-static-libstdc++ -static-libgcc LINKER:--gc-sections
                     LINKER:-z,pack-relative-relocs)
endif()

# Precompiled headers save half of the compiler's time, but they hide a missing include. The release
# and the builds with the address sanitizer, which together parse every file, go without them.
option(VELMIRO_PRECOMPILE "Precompile the standard headers that many files include" OFF)
set(VELMIRO_PRECOMPILED "") # the target whose headers the folder's targets share
function(velmiro_precompile name)
    file(CONFIGURE OUTPUT "${CMAKE_BINARY_DIR}/${name}.cpp" CONTENT "")
    add_library(${name} OBJECT "${CMAKE_BINARY_DIR}/${name}.cpp")
    velmiro_strict(${name})
    target_precompile_headers(
        ${name} PRIVATE <algorithm> <array> <atomic> <chrono> <cstdint> <filesystem> <functional>
                        <map> <memory> <optional> <string> <string_view> <utility> <variant> <vector>
                        ${ARGN})
endfunction()

# A compiler newer than ours may warn of more. That must not keep a user from building, only us.
option(VELMIRO_WERROR "Treat warnings as errors" OFF)

# Compiles a target under the project's warnings.
function(velmiro_strict target)
    target_compile_options(
        ${target}
        PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wnon-virtual-dtor
                -Woverloaded-virtual -Wold-style-cast -Wcast-align -Wimplicit-fallthrough
                $<$<BOOL:${VELMIRO_WERROR}>:-Werror>
                # libstdc++ 12's own stable_sort calls what it declares deprecated; g++ still warns.
                $<$<CXX_COMPILER_ID:Clang,AppleClang>:-Wthread-safety -Wextra-semi
                -Wno-deprecated-declarations>)
    if(VELMIRO_PRECOMPILED)
        target_precompile_headers(${target} REUSE_FROM ${VELMIRO_PRECOMPILED})
        # g++ 12 forgets that a precompiled header was the system's, and no longer holds back its false
        # positives within std::string. The release build keeps these warnings.
        target_compile_options(
            ${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-array-bounds -Wno-restrict
                              -Wno-stringop-overflow>)
    endif()
endfunction()

if(VELMIRO_PRECOMPILE)
    velmiro_precompile(standard_headers)
    set(VELMIRO_PRECOMPILED standard_headers)
endif()

# A library of the project's own programs, whose headers are included by their whole paths.
function(velmiro_library name)
    add_library(${name} STATIC ${ARGN})
    velmiro_strict(${name})
    target_include_directories(${name} PUBLIC "${CMAKE_SOURCE_DIR}")
endfunction()
