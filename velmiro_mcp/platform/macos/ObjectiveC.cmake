# How Objective-C++ is compiled, and what FOUNDATION is to be linked: with references counted by the
# compiler against the system's frameworks; for the tests, without that, against what stands in.
if(APPLE)
    enable_language(OBJCXX)
    set(CMAKE_OBJCXX_FLAGS "${CMAKE_OBJCXX_FLAGS} -fobjc-arc")
    set(FOUNDATION "-framework Foundation")
else()
    include("${CMAKE_SOURCE_DIR}/tests/macos/GNUstep.cmake")
    set(FOUNDATION gnustep_foundation)
endif()
