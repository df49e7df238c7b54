#pragma once

/// Ownership of Objective-C objects, for code that is compiled in two ways: for macOS the compiler
/// counts references itself (ARC), for the tests it does not. Code that is right under both follows
/// five rules:
///
/// - An object that `alloc` gave goes into an `Owned` at once. All others are somebody else's, and
///   are good until the pool that the port's method opened is emptied.
/// - One of those that is to outlive the method is kept by `Owned::keep`.
/// - Only an `Owned` outlives the method; no member and no container of C++ holds a bare object.
/// - A block captures values, `Owned` and bare objects never.
/// - Nothing else retains or releases.
namespace velmiro::macos {

template <typename Object>
class Owned {
public:
    Owned() = default;
    /// Takes over the reference that `alloc` gave.
    explicit Owned(Object* made) : object_{made} {}
    /// In place of the object that was owned, if any, somebody else's, or nil.
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

    /// Nil where there is none.
    [[nodiscard]] Object* get() const noexcept { return object_; }

private:
    Object* object_ = nil;
};

} // namespace velmiro::macos
