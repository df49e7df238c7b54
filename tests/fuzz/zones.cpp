// Values of TZ and of the variables that name a language.

#include "tests/fuzz/Fuzz.hpp"
#include "velmiro_mcp/base/Dates.hpp"
#include "velmiro_mcp/base/ZoneVariable.hpp"
#include "velmiro_mcp/platform/local/libraries/Locale.hpp"

#include <cctype>
#include <cstdlib>
#include <string>

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    using namespace velmiro;
    const auto given = fuzz::textOf(bytes, size).substr(0, 300);
    const std::string value{given.substr(0, given.find('\0'))};
    if (isTimeZone(value)) {
        ::setenv("TZ", value.c_str(), 1);
        const Instant instant{std::chrono::milliseconds{1'792'000'000'000}};
        fuzz::require(isValid(wallTime(instant)), "the clock shows a time that exists");
        static_cast<void>(dateText(instant));
        ::setenv("TZ", "UTC", 1);
    }
    ::setenv("LC_ALL", value.c_str(), 1);
    const std::string locale = local::userLocale();
    fuzz::require(!locale.empty() && locale.size() < 64, "a language has a name");
    for (const char character : locale) {
        fuzz::require(std::isalnum(static_cast<unsigned char>(character)) != 0 ||
                          character == '_' || character == '-' || character == '@' ||
                          character == '=' || character == ';',
                      "which is a language tag");
    }
    return 0;
}
