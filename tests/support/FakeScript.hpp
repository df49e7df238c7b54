#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

namespace velmiro::test {

/// Returns a script for fake_osascript from its steps, each a word and, after a space, its text.
inline std::string steps(std::initializer_list<std::string_view> list) {
    std::string script;
    for (const std::string_view step : list) {
        script += script.empty() ? "" : "\x1e";
        script += step;
    }
    return script;
}

} // namespace velmiro::test
