#include "velmiro_mcp/platform/local/libraries/SharedLibrary.hpp"

#include "velmiro_mcp/ports/PlatformError.hpp"

#include <dlfcn.h>
#include <utility>

namespace velmiro::local {
namespace {

/// Returns an error with the dynamic linker's reason for the last failure on this thread.
PlatformError cannotLoad(const std::string& title) {
    const char* const why = ::dlerror(); // NOLINT(concurrency-mt-unsafe): each thread has its own
    return PlatformError{title +
                         " could not be loaded: " + (why != nullptr ? why : "no reason is known")};
}

} // namespace

SharedLibrary::SharedLibrary(std::string title, const char* soname)
    : title_{std::move(title)},
      // Bound now: lazily, an unresolved symbol would end the process in the middle of a call.
      handle_{::dlopen(soname, RTLD_NOW | RTLD_LOCAL)} {
    if (handle_ == nullptr) {
        throw cannotLoad(title_);
    }
}

void* SharedLibrary::address(const char* name) const {
    void* const found = ::dlsym(handle_, name);
    if (found == nullptr) {
        throw cannotLoad(title_);
    }
    return found;
}

} // namespace velmiro::local
