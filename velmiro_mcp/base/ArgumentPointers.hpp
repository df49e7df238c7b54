#pragma once

#include <string>
#include <vector>

namespace velmiro {

/// Returns pointers to the texts and a null after them, as `exec` takes arguments and environments.
/// They are valid as long as the texts are.
inline std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

} // namespace velmiro
