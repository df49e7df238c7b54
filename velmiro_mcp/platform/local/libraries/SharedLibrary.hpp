#pragma once

#include <string>

// Loading libical and ICU takes four milliseconds and four megabytes, more than the rest of the
// server, and many conversations need neither. So nothing is linked against them: the first call
// that needs a library loads it. A missing library fails that call, not the start of the server.
//
// A struct describes a library: a SharedLibrary first, then the functions used, declared with the
// macro below. Their types come from the library's own header, so the compiler checks every call. A
// function-local static of such a struct loads the library once, on whichever thread gets there
// first. If loading throws, the next call tries again.

namespace velmiro::local {

/// A library loaded into the process. It stays loaded after this object is destroyed.
class SharedLibrary {
public:
    /// Loads a library from where the dynamic linker finds it. `soname` is its name with the
    /// version of its interface: a literal, which packages read from the program to learn what it
    /// depends on. Throws PlatformError, which calls the library `title`, if it cannot be loaded
    /// completely.
    SharedLibrary(std::string title, const char* soname);

    /// Returns the function of that name. Throws PlatformError if the library has none.
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

/// Declares a member with the name and type of one of the library's functions, in a struct with a
/// SharedLibrary called `library`. If a header renames its functions with macros, as ICU's do to
/// add their version, both the member and the name looked up are renamed.
// NOLINTBEGIN(bugprone-macro-parentheses): a member is declared without them
#define VELMIRO_LIBRARY_FUNCTION(name)                                                             \
    decltype(&::name) name {                                                                       \
        library.function<decltype(::name)>(VELMIRO_TEXT_OF(name))                                  \
    }
// NOLINTEND(bugprone-macro-parentheses)
#define VELMIRO_TEXT_OF(name) #name
