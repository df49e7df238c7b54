#pragma once

#include <string>

// libical and ICU take four milliseconds and four megabytes to load, more than all the rest of the
// server, and many a conversation needs neither. So nothing is linked against them: each is loaded
// by the first call that needs it, and one that is missing fails that call instead of the start.
//
// A library is described by a struct: first a SharedLibrary, then the functions used, declared by
// the macro below. Their types come from the library's own header, so the compiler checks every
// call. A function-local static of such a struct is loaded once, by whichever thread comes first;
// when that throws, the next call tries again.

namespace velmiro::local {

/// A library as it lies in the process; it stays there when this object goes.
class SharedLibrary {
public:
    /// Loads a library the way the dynamic linker finds it, `soname` being its name with the
    /// version of its interface. Throws PlatformError, which speaks of the library as `title`, when
    /// it cannot be loaded as a whole.
    SharedLibrary(std::string title, const std::string& soname);

    /// The function of that name; throws PlatformError when the library has none.
    template <typename Function>
    [[nodiscard]] Function* function(const char* name) const {
        return reinterpret_cast<Function*>(address(name));
    }

private:
    [[nodiscard]] void* address(const char* name) const;

    std::string title_;
    void* handle_;
};

} // namespace velmiro::local

/// Declares, in a struct with a SharedLibrary called `library`, a member of the name and the type
/// of one of its functions. Where a header renames its functions by macros, as ICU's do to add
/// their version, that holds for the member and for the name looked up, too.
// NOLINTBEGIN(bugprone-macro-parentheses): a member is declared without
#define VELMIRO_LIBRARY_FUNCTION(name)                                                             \
    decltype(&::name) name {                                                                       \
        library.function<decltype(::name)>(VELMIRO_TEXT_OF(name))                                  \
    }
// NOLINTEND(bugprone-macro-parentheses)
#define VELMIRO_TEXT_OF(name) #name
