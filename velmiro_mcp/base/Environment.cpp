#include "velmiro_mcp/base/Environment.hpp"

#include <string_view>

extern "C" char** environ; // POSIX leaves its declaration to the program

namespace velmiro {

std::map<std::string, std::string> processEnvironment() {
    std::map<std::string, std::string> environment;
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
        const std::string_view text{*entry};
        const std::size_t equals = text.find('=');
        if (equals != std::string_view::npos) {
            environment.emplace(text.substr(0, equals), text.substr(equals + 1));
        }
    }
    return environment;
}

} // namespace velmiro
