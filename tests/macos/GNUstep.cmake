# Objective-C++ on a machine that is not a Mac: clang, GNUstep's Foundation, and the runtime library
# of gcc, which has no automatic reference counting (ARC).
if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    message(FATAL_ERROR "blocks take clang: use --preset gnustep")
endif()
set(CMAKE_OBJCXX_COMPILER "${CMAKE_CXX_COMPILER}")
enable_language(OBJCXX)

# The runtime's headers are in gcc's folder, which must not be searched before clang's.
file(GLOB runtime_headers /usr/lib/gcc/*/12/include/objc/objc.h)
cmake_path(GET runtime_headers PARENT_PATH runtime_headers)
cmake_path(GET runtime_headers PARENT_PATH runtime_headers)

add_library(gnustep_foundation INTERFACE)
target_compile_options(
    gnustep_foundation
    INTERFACE $<$<COMPILE_LANGUAGE:OBJCXX>:-fobjc-runtime=gcc
              -fobjc-exceptions
              -fblocks
              -fconstant-string-class=NSConstantString
              -idirafter
              ${runtime_headers}>)
target_compile_definitions(
    gnustep_foundation INTERFACE GNUSTEP GNUSTEP_BASE_LIBRARY=1 GNU_RUNTIME=1
                                 _NATIVE_OBJC_EXCEPTIONS)
target_include_directories(
    gnustep_foundation SYSTEM INTERFACE "${CMAKE_SOURCE_DIR}/tests/macos/gnustep"
                                        /usr/include/GNUstep)
# In this order: GNUstep has its own functions for blocks, which do not copy a block's C++ objects.
target_link_libraries(gnustep_foundation INTERFACE BlocksRuntime gnustep-base objc)
