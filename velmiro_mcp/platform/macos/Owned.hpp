#pragma once

/// Ownership of Objective-C objects, for code that is compiled in two ways: with automatic
/// reference counting (ARC) for macOS, without it for the tests. Code that is right under both
/// follows five rules:
///
/// - An object from `alloc` goes straight into an `Owned`. All others belong to somebody else, and
///   are valid until the autorelease pool of the port's method is drained.
/// - One of those that must outlive the method is retained by `Owned::keep`.
/// - Only an `Owned` outlives the method; no C++ member or container holds a bare object.
/// - A block captures values, never an `Owned` or a bare object.
/// - Nothing else retains or releases.
namespace velmiro::macos {

template <typename Object>
class Owned {
public:
    Owned() = default;
    /// Takes over the reference from `alloc`.
    explicit Owned(Object* made) : object_{made} {}
    /// Retains somebody else's object, or nil, instead of the object owned before.
    void keep(Object* other) {
#if !__has_feature(objc_arc)
        [other retain];
        [object_ release];
#endif
        object_ = other;
    }
    Owned(const Owned&) = delete;
    Owned& operator=(const Owned&) = delete;
    Owned(Owned&&) = delete;
    Owned& operator=(Owned&& other) noexcept {
        Object* const mine = object_;
        object_ = other.object_;
        other.object_ = mine;
        return *this;
    }
    ~Owned() {
#if !__has_feature(objc_arc)
        [object_ release];
#endif
    }

    /// Returns nil if there is none.
    [[nodiscard]] Object* get() const noexcept { return object_; }

private:
    Object* object_ = nil;
};

} // namespace velmiro::macos
