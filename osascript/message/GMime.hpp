#pragma once

#include <memory>

#include <gmime/gmime.h>

/// Owners of what GLib and GMime return.
namespace velmiro::osascript {

struct Release {
    void operator()(gpointer object) const noexcept { g_object_unref(object); }
    void operator()(char* text) const noexcept { g_free(text); }
    void operator()(GDateTime* time) const noexcept { g_date_time_unref(time); }
    void operator()(GMimeParserOptions* options) const noexcept {
        g_mime_parser_options_free(options);
    }
};

/// Owns a text, or one reference to an object.
template <typename Type>
using Owned = std::unique_ptr<Type, Release>;

} // namespace velmiro::osascript
