#pragma once

#include <gmime/gmime.h>
#include <memory>

namespace velmiro::osascript {

struct ReleaseGObject {
    void operator()(gpointer object) const noexcept { g_object_unref(object); }
};

/// Owns a reference to an object of GMime.
template <typename T>
using Owned = std::unique_ptr<T, ReleaseGObject>;

} // namespace velmiro::osascript
