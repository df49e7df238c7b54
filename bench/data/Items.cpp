#include "bench/data/Items.hpp"

#include <array>
#include <cstdint>
#include <cstdio>

namespace velmiro::bench {
namespace {

std::string dateText(const char* form, std::chrono::sys_days day) {
    const std::chrono::year_month_day date{day};
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), form, int{date.year()}, unsigned{date.month()},
                  unsigned{date.day()});
    return text.data();
}

} // namespace

std::string itemName(int number) {
    constexpr std::uint32_t scatter = 2'654'435'761U; // the order of names is not that of creation
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "%08x-7a3c-4d21-9b5e-%012x",
                  static_cast<std::uint32_t>(number) * scatter, static_cast<unsigned>(number));
    return text.data();
}

std::string counted(int number) {
    std::string digits = std::to_string(number);
    for (std::size_t place = digits.size(); place > 3;) {
        place -= 3;
        digits.insert(place, 1, ',');
    }
    return digits;
}

std::string basicDate(std::chrono::sys_days day) {
    return dateText("%04d%02u%02u", day);
}

std::string isoDate(std::chrono::sys_days day) {
    return dateText("%04d-%02u-%02u", day);
}

} // namespace velmiro::bench
