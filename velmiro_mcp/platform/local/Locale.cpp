#include "velmiro_mcp/platform/local/Locale.hpp"

#include <cstdlib>
#include <string_view>

namespace velmiro::local {

std::string userLocale() {
    for (const char* const name : {"LC_ALL", "LC_TIME", "LANG"}) {
        const char* const value = std::getenv(name);
        if (value == nullptr || *value == '\0') {
            continue;
        }
        // de_DE.UTF-8@euro: language and region are all that counts here.
        const std::string_view text = value;
        const auto locale = text.substr(0, text.find_first_of(".@"));
        if (locale == "C" || locale == "POSIX") {
            break;
        }
        return std::string{locale};
    }
    return "en_GB"; // a month by its name, and 24 hours
}

} // namespace velmiro::local
