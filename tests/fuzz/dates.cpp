// Dates as an agent writes them, in zones with gaps, overlaps and odd offsets.

#include "velmiro_mcp/base/Dates.hpp"
#include "tests/fuzz/Fuzz.hpp"

#include <array>
#include <chrono>
#include <cstdlib>
#include <string>

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    using namespace velmiro;
    constexpr std::array zones{"UTC", "Europe/Berlin", "America/St_Johns", "Pacific/Apia",
                               "Africa/Cairo"};
    if (size == 0) {
        return 0;
    }
    ::setenv("TZ", zones[*bytes % zones.size()], 1);
    const auto date = parseDate(fuzz::textOf(bytes + 1, size - 1));
    if (!date) {
        return 0;
    }
    const std::string text = dateText(*date);
    if (text.find('-') != 4) {
        return 0; // the offset led out of the years 0000 to 9999, beyond which nothing is read
    }
    const auto again = parseDate(text);
    fuzz::require(again.has_value(), "a date that was written can be read");
    fuzz::require(std::chrono::floor<std::chrono::seconds>(*again) ==
                      std::chrono::floor<std::chrono::seconds>(*date),
                  "and is the same second");
    fuzz::require(isValid(wallTime(*date)), "the wall clock shows a time that exists");
    return 0;
}
